// Number parsing and float conversion with the results of the 32-bit ARM
// target on every host.
#ifndef VK_SONY_PROPERTIES_TARGET_NUMBERS_H
#define VK_SONY_PROPERTIES_TARGET_NUMBERS_H

#include <cstdint>
#include <string>

// The target's std::stoi: base 10, leading white space and a sign allowed,
// trailing text ignored. Raises std::invalid_argument("stoi") when the text
// does not start with a number and std::out_of_range("stoi") outside int32.
int32_t stoi32(const std::string& text);

// The target's std::stol (long is 32 bits there): as stoi32, but the errors
// name "stol".
int32_t stol32(const std::string& text);

// The target's strtol(text, nullptr, 10): never fails; no digits give 0 and
// out-of-range numbers clamp to the int32 limits.
int32_t strtol32(const std::string& text);

// std::stof: raises std::invalid_argument("stof") / std::out_of_range("stof").
float stof32(const std::string& text);

// Float to unsigned conversions as the target's hardware does them:
// truncation toward zero, negative numbers and NaN give 0, numbers too large
// give the type's maximum.
uint32_t float_to_uint32(float value);
uint64_t float_to_uint64(float value);

#endif  // VK_SONY_PROPERTIES_TARGET_NUMBERS_H
