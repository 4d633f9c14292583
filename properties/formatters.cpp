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

void append_unsigned(uint64_t value, TextWriter* out) {
  if (value < 10) {
    // Most values of the camera's settings are small.
    out->push_back(static_cast<char>('0' + value));
    return;
  }
  size_t digits = 2;
  for (uint64_t bound = 100; digits < 20 && value >= bound; bound *= 10) ++digits;
  char* const first = out->room(digits);
  char* next = first + digits;
  while (value >= 100) {
    const uint64_t pair = value % 100;
    value /= 100;
    *--next = kDigitPairs[pair * 2 + 1];
    *--next = kDigitPairs[pair * 2];
  }
  if (value >= 10) {
    *--next = kDigitPairs[value * 2 + 1];
    *--next = kDigitPairs[value * 2];
  } else {
    *--next = static_cast<char>('0' + value);
  }
  out->commit(first + digits);
}

void append_signed(int64_t value, TextWriter* out) {
  if (value >= 0) {
    append_unsigned(static_cast<uint64_t>(value), out);
  } else {
    // Negate in unsigned arithmetic so that the minimum does not overflow.
    out->push_back('-');
    append_unsigned(0 - static_cast<uint64_t>(value), out);
  }
}

// Default stream formatting: six significant digits, no trailing zeros.
// printf's %g is what the stream does by default, without building a stream.
void append_double(double value, TextWriter* out) {
  char buffer[32];
  const int n = std::snprintf(buffer, sizeof buffer, "%g", value);
  out->append(std::string_view(buffer, n > 0 ? static_cast<size_t>(n) : 0));
}

// Rounds to one decimal, halves away from zero, and appends the result as
// append_double would. The sign of a negative number rounded to zero
// survives ("-0").
void append_one_decimal(double value, TextWriter* out) {
  const bool negative = value < 0;
  const int64_t tenths = static_cast<int64_t>((negative ? -value : value) * 10 + 0.5);
  if (tenths >= 1000000) {
    // Past six significant digits %g rounds away the decimal or switches to
    // an exponent: left to printf.
    const double rounded = static_cast<double>(tenths) / 10;
    append_double(negative ? -rounded : rounded, out);
    return;
  }
  // Below that %g shows the tenths exactly: "12.3", or "12" for "12.0".
  if (negative) out->push_back('-');
  append_unsigned(static_cast<uint64_t>(tenths / 10), out);
  if (tenths % 10 != 0) {
    out->push_back('.');
    out->push_back(static_cast<char>('0' + tenths % 10));
  }
}

// Appends value / 1000 as append_double would. Below a million the quotient
// has six significant digits at most, which %g shows exactly: the whole
// part, then the thousandths without trailing zeros ("172.8", "0.005").
void append_thousandths(uint64_t value, TextWriter* out) {
  if (value >= 1000000) {
    append_double(static_cast<double>(value) / 1000.0, out);
    return;
  }
  append_unsigned(value / 1000, out);
  const auto fraction = static_cast<unsigned>(value % 1000);
  if (fraction == 0) return;
  const char digits[] = {'.', static_cast<char>('0' + fraction / 100),
                         static_cast<char>('0' + fraction / 10 % 10), static_cast<char>('0' + fraction % 10)};
  size_t length = sizeof digits;
  while (digits[length - 1] == '0') --length;
  out->append(std::string_view(digits, length));
}

}  // namespace

void formatUnsigned(uint64_t value, TextWriter* out) { append_unsigned(value, out); }

void formatInt16(uint64_t value, TextWriter* out) {
  append_signed(static_cast<int16_t>(static_cast<uint16_t>(value & 0xFFFF)), out);
}

void formatInt8(uint64_t value, TextWriter* out) {
  append_signed(static_cast<int8_t>(static_cast<uint8_t>(value & 0xFF)), out);
}

void formatButtonState(uint64_t value, TextWriter* out) {
  out->append(value == 1 ? "UP" : value == 2 ? "DOWN" : "UNKOWN");
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

void exposureBiasToText(uint64_t value, TextWriter* out) {
  append_one_decimal(static_cast<int16_t>(static_cast<uint16_t>(value & 0xFFFF)) / 1000.0, out);
}

uint64_t exposureBiasFromText(const std::string& text) {
  // The parent sends the raw 16-bit code, not EV: no scaling here.
  return float_to_uint32(stof32(text)) & 0xFFFF;
}

void fNumberToText(uint64_t value, TextWriter* out) {
  if (value == 0 || value == 0xFFFD) {
    out->append("32");
  } else if (value == 0xFFFE || value == 0xFFFF) {
    out->push_back('-');
  } else if (value % 100 == 0) {
    append_unsigned(value / 100, out);
  } else {
    append_one_decimal(static_cast<double>(value) / 100.0, out);
  }
}

uint64_t fNumberFromText(const std::string& text) {
  const float scaled = stof32(text) * 100.0f;
  return float_to_uint32(scaled) & 0xFFFF;
}

void isoToText(uint64_t value, TextWriter* out) {
  if (value == 0xFFFFFF) {
    out->append("AUTO");
  } else if (value != 1 && value != 2) {
    append_unsigned(value & 0xFFFFFF, out);
  }
}

uint64_t isoFromText(const std::string& text) {
  if (text == "AUTO") return 0xFFFFFF;
  return static_cast<uint32_t>(stoi32(text));
}

void shutterSpeedToText(uint64_t value, TextWriter* out) {
  if (value == 0) {
    out->append("Bulb");
    return;
  }
  append_unsigned((value >> 16) & 0xFFFF, out);
  out->push_back('/');
  append_unsigned(value & 0xFFFF, out);
}

uint64_t shutterSpeedFromText(const std::string& text) {
  const size_t slash = text.find('/');
  const std::string denominator = slash == std::string::npos ? text : text.substr(slash + 1);
  return 0x10000 + (static_cast<uint32_t>(stoi32(denominator)) & 0xFFFF);
}

void shutterSpeed64ToText(uint64_t value, TextWriter* out) {
  if (value == 0) {
    out->append("Bulb");
    return;
  }
  append_unsigned(value >> 32, out);
  out->push_back('/');
  append_unsigned(value & 0xFFFF, out);
}

uint64_t fractionFromText(const std::string& text) {
  const size_t slash = text.find('/');
  const std::string first = slash == std::string::npos ? text : text.substr(0, slash);
  const std::string second = slash == std::string::npos ? text : text.substr(slash + 1);
  const uint32_t high = static_cast<uint32_t>(stol32(first));
  const uint32_t low = static_cast<uint32_t>(stol32(second));
  return (static_cast<uint64_t>(high) << 32) | low;
}

void ndFilterValueToText(uint64_t value, TextWriter* out) {
  if (value == UINT64_MAX) {
    out->append("Nothing");
    return;
  }
  append_unsigned(value >> 32, out);
  out->push_back('/');
  append_unsigned(value & 0xFFFFFFFF, out);
}

void shutterAngleToText(uint64_t value, TextWriter* out) { append_thousandths(value, out); }

uint64_t shutterAngleFromText(const std::string& text) {
  const float scaled = stof32(text) * 1000.0f;
  return float_to_uint64(scaled);
}

void formatUint8(uint64_t value, TextWriter* out) { append_unsigned(value & 0xFF, out); }

void formatInt32(uint64_t value, TextWriter* out) {
  append_signed(static_cast<int32_t>(static_cast<uint32_t>(value & 0xFFFFFFFF)), out);
}

void kneeAutoMaxPointToText(uint64_t value, TextWriter* out) {
  if (value == 0) {
    out->append("INVALID");
    return;
  }
  append_unsigned(value & 0xFFFF, out);
}

void kneeManualPointToText(uint64_t value, TextWriter* out) {
  if (value == 0) {
    out->append("INVALID");
    return;
  }
  append_unsigned(value, out);
}

uint64_t parseLong(const std::string& text) {
  return static_cast<uint64_t>(static_cast<int64_t>(strtol32(text)));
}

uint64_t parseLowByte(const std::string& text) { return static_cast<uint32_t>(strtol32(text)) & 0xFF; }

uint64_t parseSignedLowByte(const std::string& text) {
  const auto low = static_cast<int8_t>(static_cast<uint8_t>(static_cast<uint32_t>(strtol32(text)) & 0xFF));
  return static_cast<uint64_t>(static_cast<int64_t>(low));
}

void sdkStringToText(uint64_t value, TextWriter* out) {
  if (value == 0) {
    out->append("UNKNOWN");
    return;
  }
  append_unsigned(value, out);
}
