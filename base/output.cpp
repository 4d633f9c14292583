// The writer of protocol lines on standard output and the composition of the
// property status line.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>

#include "base/property_line.h"
#include "base/base.h"

namespace {

// Serialises status lines; a leaf lock, never destroyed so that late writers
// during exit still find it.
std::mutex& output_mutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}

constexpr uint32_t kStringType = 0xFFFF;

}  // namespace

void write_status_line(std::string_view text) {
  if (text.empty()) return;
  std::lock_guard<std::mutex> lock(output_mutex());
  // std::cout stays synchronised with stdio, so this flush also carries out
  // raw lines written earlier with puts.
  std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
  std::cout << std::cout.widen('\n');
  std::cout.flush();
  std::cout.flush();
}

void write_raw_line(const char* text) { std::puts(text); }

size_t element_width(uint32_t type) {
  if (type == 0) return 0;
  if (type == kStringType) return 1;
  if (type >= 1 && type <= 5) {
    static constexpr size_t kBaseWidths[] = {1, 2, 4, 8, 16};
    return kBaseWidths[type - 1];
  }
  const uint32_t family = type & 0xF000;
  const uint32_t member = type & 0x0FFF;
  if ((type & 0xFFFF0000u) == 0 && family >= 0x1000 && family <= 0x5000) {
    switch (member) {
      case 2:
        return 2;
      case 3:
        return 4;
      case 4:
        return 8;
      case 5:
        return 16;
      case 1:
        return 1;
      case 0:
        // 0x3000 and 0x5000 have no width; the other bases count as bytes.
        if (family != 0x3000 && family != 0x5000) return 1;
        break;
      default:
        break;
    }
  }
  write_raw_line("unhandled unit");
  return 4;
}

namespace {

// The text of an SDK current string: a 16-bit length n, then n bytes. Reads
// only within those n bytes and stops at the first zero byte; a control
// character would break the line framing and is shown as "?". Null gives
// "UNKNOWN".
std::string current_string_text(const uint16_t* str) {
  if (str == nullptr) return "UNKNOWN";
  uint16_t length = 0;
  std::memcpy(&length, str, sizeof(length));
  const auto* bytes = reinterpret_cast<const char*>(str) + sizeof(length);
  const void* nul = std::memchr(bytes, '\0', length);
  const size_t size = nul == nullptr ? length : static_cast<size_t>(static_cast<const char*>(nul) - bytes);
  std::string text(bytes, size);
  for (char& c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) c = '?';
  }
  return text;
}

std::string hex_type(uint32_t type) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%X", static_cast<unsigned>(type));
  return buffer;
}

}  // namespace

std::string compose_status_line(const std::string& key, const PropertyFields& fields, ToTextFn to_text,
                                SkipValueFn skip, bool list_values) {
  const bool string_record = fields.type == kStringType;
  const bool text_row = is_text_converter(to_text);
  // The record's data type decides what its value is; a mismatch with the
  // row is shown as well as it can be and logged.
  if (text_row && !string_record) {
    log_message("Property " + key + ": text expected, data type " + hex_type(fields.type) +
                " reported; shown as a number");
  } else if (!text_row && string_record) {
    log_message("Property " + key + ": data type " + hex_type(fields.type) +
                " (text) reported; shown as text");
  }

  std::string line = "status " + key + " ";
  line += string_record ? current_string_text(fields.current_str) : to_text(fields.current);
  line += list_values ? " [" : " {";

  size_t appended = 0;
  if (string_record && fields.size > 0) {
    // A text has no candidate values; the bytes are not shown.
    log_message("Property " + key + ": " + std::to_string(fields.size) +
                " candidate bytes of a text property ignored");
  } else if (fields.values != nullptr && fields.size > 0) {
    const size_t unit = element_width(fields.type);
    // A zero width would never advance; such a type has no candidates to show.
    const size_t count = unit == 0 ? 0 : fields.size / unit;
    if (unit != 0 && fields.size % unit != 0) {
      log_message("Property " + key + ": " + std::to_string(fields.size % unit) +
                  " trailing candidate bytes that make no whole element of data type " +
                  hex_type(fields.type) + " ignored");
    }
    const size_t listed = count < kMaxListedCandidates ? count : kMaxListedCandidates;
    if (listed < count) {
      log_message("Property " + key + ": " + std::to_string(count) + " candidates, the first " +
                  std::to_string(listed) + " shown");
    }
    // Little-endian, zero-extended; a 16-byte element contributes its low 8.
    const size_t bytes = unit < sizeof(uint64_t) ? unit : sizeof(uint64_t);
    for (size_t i = 0; i < listed; ++i) {
      uint64_t value = 0;
      std::memcpy(&value, fields.values + i * unit, bytes);
      if (skip(value)) continue;
      line += to_text(value);
      line += ' ';
      ++appended;
    }
  }
  if (appended > 0) {
    line.pop_back();  // the closing bracket takes the place of the last space
  } else {
    // For a string-typed property this shows the raw current value on purpose.
    line += to_text(fields.current);
  }
  line += list_values ? "]" : "}";
  line += ' ';
  line += fields.writable ? "RW" : "RO";
  return line;
}
