// The writer of protocol lines on standard output and the composition of the
// property status line.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>

#include "base/base.h"
#include "base/property_line.h"

namespace {

// The output lock and the raw lines queued under it. Never destroyed, so
// that late writers during exit still find them.
struct Output {
  std::mutex mutex;    // a leaf lock
  std::string queued;  // GUARDED_BY(mutex): raw lines not yet written
};

Output& output() {
  static auto* state = new Output;
  return *state;
}

// Writes all of `text` to standard output. A closed or failing stdout drops
// the rest (EPIPE with SIGPIPE ignored): the monitor ends the run when it
// sees the pipe closed.
void write_out(std::string_view text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(STDOUT_FILENO, text.data() + done, text.size() - done);
    if (n > 0) {
      done += static_cast<size_t>(n);
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && errno == EAGAIN) {
      // A parent that made the pipe non-blocking: wait until it drains.
      pollfd out{STDOUT_FILENO, POLLOUT, 0};
      (void)::poll(&out, 1, -1);
    } else {
      return;
    }
  }
}

// Writes the queued raw lines and then `lines` (whole lines) in one write.
void write_with_queued(std::string_view lines) {
  Output& out = output();
  std::lock_guard<std::mutex> lock(out.mutex);
  if (out.queued.empty()) {
    write_out(lines);
    return;
  }
  out.queued.append(lines.data(), lines.size());
  write_out(out.queued);
  out.queued.clear();  // keeps its capacity: no allocation per line
}

thread_local OutputBatch* open_batch = nullptr;

// Writes the raw lines still queued when the process exits.
struct FlushAtExit {
  ~FlushAtExit() { flush_raw_lines(); }
} flush_at_exit;

constexpr uint32_t kStringType = 0xFFFF;

constexpr size_t kBatchReserve = 8192;

}  // namespace

void write_status_line(std::string_view text) {
  if (text.empty()) return;
  Output& out = output();
  std::lock_guard<std::mutex> lock(out.mutex);
  out.queued.append(text.data(), text.size());
  out.queued.push_back('\n');
  write_out(out.queued);
  out.queued.clear();
}

void write_raw_line(std::string_view text) {
  Output& out = output();
  std::lock_guard<std::mutex> lock(out.mutex);
  out.queued.append(text.data(), text.size());
  out.queued.push_back('\n');
}

void flush_raw_lines() {
  Output& out = output();
  // At exit a writer may be stuck on a full pipe; do not wait for it for ever.
  std::unique_lock<std::mutex> lock(out.mutex, std::try_to_lock);
  for (int tries = 0; !lock.owns_lock() && tries < 100; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    lock.try_lock();
  }
  if (!lock.owns_lock() || out.queued.empty()) return;
  write_out(out.queued);
  out.queued.clear();
}

OutputBatch::OutputBatch() : outer_(open_batch) { open_batch = this; }

OutputBatch::~OutputBatch() {
  flush();
  open_batch = outer_;
}

void OutputBatch::add(std::string_view line) {
  if (line.empty()) return;
  add_lines(line);
  text_.push_back('\n');
}

void OutputBatch::add_lines(std::string_view lines) {
  // Room for a report of every property at once, so that it is not copied
  // again and again as it grows.
  if (text_.empty()) text_.reserve(kBatchReserve);
  text_.append(lines.data(), lines.size());
}

void OutputBatch::flush() {
  if (text_.empty()) return;
  write_with_queued(text_);
  text_.clear();
}

void write_report_line(std::string_view text) {
  if (open_batch != nullptr) {
    open_batch->add(text);
  } else {
    write_status_line(text);
  }
}

void write_report_lines(std::string_view lines) {
  if (lines.empty()) return;
  if (open_batch != nullptr) {
    open_batch->add_lines(lines);
  } else {
    write_with_queued(lines);
  }
}

namespace {

// The element width of data type `type`, or kNoWidthRule for a type
// without a rule.
constexpr size_t kNoWidthRule = ~size_t{0};
size_t width_rule(uint32_t type) {
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
  return kNoWidthRule;
}

}  // namespace

size_t element_width(uint32_t type) {
  const size_t width = width_rule(type);
  if (width != kNoWidthRule) return width;
  write_raw_line("unhandled unit");
  return 4;
}

namespace {

// Appends the text of an SDK current string: a 16-bit length n, then n
// bytes. Reads only within those n bytes and stops at the first zero byte; a
// control character would break the line framing and is shown as "?". Null
// gives "UNKNOWN".
void append_current_string(const uint16_t* str, TextWriter* out) {
  if (str == nullptr) {
    out->append("UNKNOWN");
    return;
  }
  uint16_t length = 0;
  std::memcpy(&length, str, sizeof(length));
  const auto* bytes = reinterpret_cast<const char*>(str) + sizeof(length);
  for (size_t i = 0; i < length && bytes[i] != '\0'; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out->push_back(byte < 0x20 || byte == 0x7F ? '?' : bytes[i]);
  }
}

// The start of a log line about the property `key`.
std::string about(std::string_view key) { return "Property " + std::string(key); }

std::string hex_type(uint32_t type) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%X", static_cast<unsigned>(type));
  return buffer;
}

// The log lines of append_status_line, each a function of its own: a usual
// line logs nothing, and the composition stays small without their texts.
[[gnu::cold]] void log_type_mismatch(std::string_view key, uint32_t type, bool text_row) {
  if (text_row) {
    log_message(about(key) + ": text expected, data type " + hex_type(type) + " reported; shown as a number");
  } else {
    log_message(about(key) + ": data type " + hex_type(type) + " (text) reported; shown as text");
  }
}

[[gnu::cold]] void log_text_candidates(std::string_view key, size_t size) {
  log_message(about(key) + ": " + std::to_string(size) + " candidate bytes of a text property ignored");
}

[[gnu::cold]] void log_trailing_bytes(std::string_view key, size_t trailing, uint32_t type) {
  log_message(about(key) + ": " + std::to_string(trailing) +
              " trailing candidate bytes that make no whole element of data type " + hex_type(type) +
              " ignored");
}

[[gnu::cold]] void log_candidates_cut(std::string_view key, size_t count, size_t listed) {
  log_message(about(key) + ": " + std::to_string(count) + " candidates, the first " + std::to_string(listed) +
              " shown");
}

// Appends the candidates of `count` elements, `unit` bytes apart, each
// read as its low `bytes` bytes, little-endian and zero-extended; left out
// where `skip` says so. Returns how many were shown. `Bytes`, when not 0, is
// `bytes` known at compile time, so that the read is one load.
template <size_t Bytes>
size_t append_candidates(const uint8_t* values, size_t unit, size_t bytes, size_t count, ToTextFn to_text,
                         SkipValueFn skip, TextWriter* line) {
  const size_t width = Bytes != 0 ? Bytes : bytes;
  size_t appended = 0;
  for (size_t i = 0; i < count; ++i, values += unit) {
    uint64_t value = 0;
    for (size_t k = width; k-- > 0;) value = value << 8 | values[k];
    if (skip(value)) continue;
    to_text(value, line);
    line->push_back(' ');
    ++appended;
  }
  return appended;
}

}  // namespace

bool append_status_line(std::string_view key, const PropertyFields& fields, ToTextFn to_text,
                        SkipValueFn skip, bool list_values, TextWriter* line) {
  const bool string_record = fields.type == kStringType;
  const bool text_row = is_text_converter(to_text);
  bool quiet = true;
  // The record's data type decides what its value is; a mismatch with the
  // row is shown as well as it can be and logged.
  if (text_row != string_record) {
    log_type_mismatch(key, fields.type, text_row);
    quiet = false;
  }

  constexpr std::string_view kStatus = "status ";
  char* out = line->room(kStatus.size() + key.size() + 1);
  std::memcpy(out, kStatus.data(), kStatus.size());
  out += kStatus.size();
  std::memcpy(out, key.data(), key.size());
  out += key.size();
  *out++ = ' ';
  line->commit(out);
  if (string_record) {
    append_current_string(fields.current_str, line);
  } else {
    to_text(fields.current, line);
  }
  line->append(list_values ? " [" : " {");

  size_t appended = 0;
  if (string_record && fields.size > 0) {
    // A text has no candidate values; the bytes are not shown.
    log_text_candidates(key, fields.size);
    quiet = false;
  } else if (fields.values != nullptr && fields.size > 0) {
    size_t unit = width_rule(fields.type);
    if (unit == kNoWidthRule) {
      unit = element_width(fields.type);  // says so on a raw line
      quiet = false;
    }
    // A zero width would never advance; such a type has no candidates to show.
    const size_t count = unit == 0 ? 0 : fields.size / unit;
    if (unit != 0 && fields.size % unit != 0) {
      log_trailing_bytes(key, fields.size % unit, fields.type);
      quiet = false;
    }
    const size_t listed = count < kMaxListedCandidates ? count : kMaxListedCandidates;
    if (listed < count) {
      log_candidates_cut(key, count, listed);
      quiet = false;
    }
    // A 16-byte element contributes its low 8.
    const size_t bytes = unit < sizeof(uint64_t) ? unit : sizeof(uint64_t);
    switch (bytes) {
      case 1:
        appended = append_candidates<1>(fields.values, unit, bytes, listed, to_text, skip, line);
        break;
      case 2:
        appended = append_candidates<2>(fields.values, unit, bytes, listed, to_text, skip, line);
        break;
      case 4:
        appended = append_candidates<4>(fields.values, unit, bytes, listed, to_text, skip, line);
        break;
      case 8:
        appended = append_candidates<8>(fields.values, unit, bytes, listed, to_text, skip, line);
        break;
      default:
        appended = append_candidates<0>(fields.values, unit, bytes, listed, to_text, skip, line);
        break;
    }
  }
  if (appended > 0) {
    line->pop_back();  // the closing bracket takes the place of the last space
  } else {
    // For a string-typed property this shows the raw current value on purpose.
    to_text(fields.current, line);
  }
  line->push_back(list_values ? ']' : '}');
  line->append(fields.writable ? " RW" : " RO");
  return quiet;
}

std::string compose_status_line(std::string_view key, const PropertyFields& fields, ToTextFn to_text,
                                SkipValueFn skip, bool list_values) {
  TextWriter line;
  append_status_line(key, fields, to_text, skip, list_values, &line);
  return std::string(line.view());
}
