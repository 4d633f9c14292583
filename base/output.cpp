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

std::string compose_status_line(const std::string& key, const PropertyFields& fields, ToTextFn to_text,
                                SkipValueFn skip, bool list_values) {
  const size_t unit = element_width(fields.type);

  std::string line = "status " + key + " ";
  line += to_text(fields.type == kStringType ? fields.current_str : fields.current);
  line += list_values ? " [" : " {";

  size_t appended = 0;
  // A zero width would never advance; such a type has no candidates to show.
  if (fields.values != nullptr && unit != 0) {
    for (size_t offset = 0; offset < fields.size; offset += unit) {
      uint64_t value = 0;
      // Little-endian, zero-extended; a 16-byte element contributes its low 8.
      size_t bytes = unit < sizeof(value) ? unit : sizeof(value);
      if (bytes > fields.size - offset) bytes = fields.size - offset;
      std::memcpy(&value, fields.values + offset, bytes);
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
