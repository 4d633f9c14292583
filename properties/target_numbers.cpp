// Number parsing and float conversion with the results of the 32-bit ARM
// target on every host.
#include "properties/target_numbers.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace {

// Parses like strtoll in base 10. `ok` is false when no digits were read;
// `range_error` is true when the number does not fit 64 bits.
int64_t parse_long_long(const std::string& text, bool* ok, bool* range_error) {
  const char* start = text.c_str();
  char* end = nullptr;
  const int saved_errno = errno;
  errno = 0;
  const long long value = std::strtoll(start, &end, 10);
  *ok = end != start;
  *range_error = errno == ERANGE;
  errno = saved_errno;
  return static_cast<int64_t>(value);
}

int32_t parse_int32_or_throw(const std::string& text, const char* name) {
  bool ok = false;
  bool range_error = false;
  const int64_t value = parse_long_long(text, &ok, &range_error);
  if (!ok) throw std::invalid_argument(name);
  if (range_error || value < std::numeric_limits<int32_t>::min() ||
      value > std::numeric_limits<int32_t>::max()) {
    throw std::out_of_range(name);
  }
  return static_cast<int32_t>(value);
}

}  // namespace

int32_t stoi32(const std::string& text) { return parse_int32_or_throw(text, "stoi"); }

int32_t stol32(const std::string& text) { return parse_int32_or_throw(text, "stol"); }

int32_t strtol32(const std::string& text) {
  bool ok = false;
  bool range_error = false;
  const int64_t value = parse_long_long(text, &ok, &range_error);
  if (!ok) return 0;
  if (value < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  if (value > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(value);
}

float stof32(const std::string& text) {
  const char* start = text.c_str();
  char* end = nullptr;
  const int saved_errno = errno;
  errno = 0;
  const float value = std::strtof(start, &end);
  const bool range_error = errno == ERANGE;
  errno = saved_errno;
  if (end == start) throw std::invalid_argument("stof");
  if (range_error) throw std::out_of_range("stof");
  return value;
}

uint32_t float_to_uint32(float value) {
  if (std::isnan(value) || value <= 0.0f) return 0;
  // 4294967296 is exactly representable as a float.
  if (value >= 4294967296.0f) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(value);
}

uint64_t float_to_uint64(float value) {
  if (std::isnan(value) || value <= 0.0f) return 0;
  if (value >= 18446744073709551616.0f) return std::numeric_limits<uint64_t>::max();
  return static_cast<uint64_t>(value);
}
