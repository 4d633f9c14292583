// Converters between SDK values and protocol text shared by many rows of the
// property table, and the converters of the measured quantities.
#include "properties/formatters.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "properties/target_numbers.h"

namespace {

// Digits are written two at a time from this table of "00" to "99".
constexpr char kDigitPairs[] =
    "00010203040506070809"
    "10111213141516171819"
    "20212223242526272829"
    "30313233343536373839"
    "40414243444546474849"
    "50515253545556575859"
    "60616263646566676869"
    "70717273747576777879"
    "80818283848586878889"
    "90919293949596979899";

std::string unsigned_decimal(uint64_t value) {
  char buffer[20];
  char* end = buffer + sizeof(buffer);
  char* out = end;
  while (value >= 100) {
    const uint64_t pair = value % 100;
    value /= 100;
    *--out = kDigitPairs[pair * 2 + 1];
    *--out = kDigitPairs[pair * 2];
  }
  if (value >= 10) {
    *--out = kDigitPairs[value * 2 + 1];
    *--out = kDigitPairs[value * 2];
  } else {
    *--out = static_cast<char>('0' + value);
  }
  return std::string(out, end);
}

std::string signed_decimal(int64_t value) {
  if (value >= 0) return unsigned_decimal(static_cast<uint64_t>(value));
  // Negate in unsigned arithmetic so that the minimum does not overflow.
  return "-" + unsigned_decimal(0 - static_cast<uint64_t>(value));
}

// Default stream formatting: six significant digits, no trailing zeros.
// printf's %g is what the stream does by default, without building a stream.
std::string print_double(double value) {
  char buffer[32];
  const int n = std::snprintf(buffer, sizeof buffer, "%g", value);
  return std::string(buffer, n > 0 ? static_cast<size_t>(n) : 0);
}

// Rounds to one decimal, halves away from zero; the sign of a negative number
// rounded to zero survives ("-0").
double round_one_decimal(double value) {
  if (value >= 0) return static_cast<double>(static_cast<int64_t>(value * 10 + 0.5)) / 10;
  return -(static_cast<double>(static_cast<int64_t>(-value * 10 + 0.5)) / 10);
}

}  // namespace

std::string formatUnsigned(uint64_t value) { return unsigned_decimal(value); }

std::string formatInt16(uint64_t value) {
  return signed_decimal(static_cast<int16_t>(static_cast<uint16_t>(value & 0xFFFF)));
}

std::string formatInt8(uint64_t value) {
  return signed_decimal(static_cast<int8_t>(static_cast<uint8_t>(value & 0xFF)));
}

std::string formatButtonState(uint64_t value) {
  if (value == 1) return "UP";
  if (value == 2) return "DOWN";
  return "UNKOWN";
}

uint64_t parseDecimal(const std::string& text) {
  return static_cast<uint64_t>(static_cast<int64_t>(stoi32(text)));
}

uint64_t parseButtonState(const std::string& text) {
  if (text == "UP") return 1;
  if (text == "DOWN") return 2;
  throw std::invalid_argument("not a word of the map");
}

bool acceptAll(uint64_t /*value*/) { return false; }

bool keepUnitNumerator(uint64_t value) { return ((value >> 16) & 0xFFFF) != 1; }

std::string exposureBiasToText(uint64_t value) {
  const double ev = static_cast<int16_t>(static_cast<uint16_t>(value & 0xFFFF)) / 1000.0;
  return print_double(round_one_decimal(ev));
}

uint64_t exposureBiasFromText(const std::string& text) {
  // The parent sends the raw 16-bit code, not EV: no scaling here.
  return float_to_uint32(stof32(text)) & 0xFFFF;
}

std::string fNumberToText(uint64_t value) {
  if (value == 0 || value == 0xFFFD) return "32";
  if (value == 0xFFFE || value == 0xFFFF) return "-";
  if (value % 100 == 0) return unsigned_decimal(value / 100);
  return print_double(round_one_decimal(static_cast<double>(value) / 100.0));
}

uint64_t fNumberFromText(const std::string& text) {
  const float scaled = stof32(text) * 100.0f;
  return float_to_uint32(scaled) & 0xFFFF;
}

std::string isoToText(uint64_t value) {
  if (value == 0xFFFFFF) return "AUTO";
  if (value == 1 || value == 2) return "";
  return unsigned_decimal(value & 0xFFFFFF);
}

uint64_t isoFromText(const std::string& text) {
  if (text == "AUTO") return 0xFFFFFF;
  return static_cast<uint32_t>(stoi32(text));
}

std::string shutterSpeedToText(uint64_t value) {
  if (value == 0) return "Bulb";
  return unsigned_decimal((value >> 16) & 0xFFFF) + "/" + unsigned_decimal(value & 0xFFFF);
}

uint64_t shutterSpeedFromText(const std::string& text) {
  const size_t slash = text.find('/');
  const std::string denominator = slash == std::string::npos ? text : text.substr(slash + 1);
  return 0x10000 + (static_cast<uint32_t>(stoi32(denominator)) & 0xFFFF);
}

std::string shutterSpeed64ToText(uint64_t value) {
  if (value == 0) return "Bulb";
  return unsigned_decimal(value >> 32) + "/" + unsigned_decimal(value & 0xFFFF);
}

uint64_t fractionFromText(const std::string& text) {
  const size_t slash = text.find('/');
  const std::string first = slash == std::string::npos ? text : text.substr(0, slash);
  const std::string second = slash == std::string::npos ? text : text.substr(slash + 1);
  const uint32_t high = static_cast<uint32_t>(stol32(first));
  const uint32_t low = static_cast<uint32_t>(stol32(second));
  return (static_cast<uint64_t>(high) << 32) | low;
}

std::string ndFilterValueToText(uint64_t value) {
  if (value == UINT64_MAX) return "Nothing";
  return unsigned_decimal(value >> 32) + "/" + unsigned_decimal(value & 0xFFFFFFFF);
}

std::string shutterAngleToText(uint64_t value) { return print_double(static_cast<double>(value) / 1000.0); }

uint64_t shutterAngleFromText(const std::string& text) {
  const float scaled = stof32(text) * 1000.0f;
  return float_to_uint64(scaled);
}

std::string formatUint8(uint64_t value) { return unsigned_decimal(value & 0xFF); }

std::string formatInt32(uint64_t value) {
  return signed_decimal(static_cast<int32_t>(static_cast<uint32_t>(value & 0xFFFFFFFF)));
}

std::string kneeAutoMaxPointToText(uint64_t value) {
  if (value == 0) return "INVALID";
  return unsigned_decimal(value & 0xFFFF);
}

std::string kneeManualPointToText(uint64_t value) {
  if (value == 0) return "INVALID";
  return unsigned_decimal(value);
}

uint64_t parseLong(const std::string& text) {
  return static_cast<uint64_t>(static_cast<int64_t>(strtol32(text)));
}

uint64_t parseLowByte(const std::string& text) { return static_cast<uint32_t>(strtol32(text)) & 0xFF; }

uint64_t parseSignedLowByte(const std::string& text) {
  const auto low = static_cast<int8_t>(static_cast<uint8_t>(static_cast<uint32_t>(strtol32(text)) & 0xFF));
  return static_cast<uint64_t>(static_cast<int64_t>(low));
}

std::string sdkStringToText(uint64_t value) {
  if (value == 0) return "UNKNOWN";
  return unsigned_decimal(value);
}
