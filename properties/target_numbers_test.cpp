// Tests of the 32-bit target number semantics.
#include "properties/target_numbers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

enum class Outcome { kValue, kInvalid, kOutOfRange };

struct IntCase {
  std::string text;
  Outcome outcome;
  int32_t value;
};

template <typename Fn>
void check_int_cases(Fn parse, const char* name, const IntCase* begin, const IntCase* end) {
  for (const IntCase* c = begin; c != end; ++c) {
    SCOPED_TRACE("text \"" + c->text + "\"");
    switch (c->outcome) {
      case Outcome::kValue:
        EXPECT_EQ(parse(c->text), c->value);
        break;
      case Outcome::kInvalid:
        try {
          (void)parse(c->text);
          ADD_FAILURE() << "no exception";
        } catch (const std::invalid_argument& e) {
          EXPECT_STREQ(e.what(), name);
        }
        break;
      case Outcome::kOutOfRange:
        try {
          (void)parse(c->text);
          ADD_FAILURE() << "no exception";
        } catch (const std::out_of_range& e) {
          EXPECT_STREQ(e.what(), name);
        }
        break;
    }
  }
}

const IntCase kThrowingCases[] = {
    {"0", Outcome::kValue, 0},
    {"  -3", Outcome::kValue, -3},
    {"+12abc", Outcome::kValue, 12},
    {"2147483647", Outcome::kValue, 2147483647},
    {"-2147483648", Outcome::kValue, std::numeric_limits<int32_t>::min()},
    {"2147483648", Outcome::kOutOfRange, 0},
    {"-2147483649", Outcome::kOutOfRange, 0},
    {"99999999999999999999999", Outcome::kOutOfRange, 0},
    {"", Outcome::kInvalid, 0},
    {"abc", Outcome::kInvalid, 0},
    {"-", Outcome::kInvalid, 0},
    {"0x10", Outcome::kValue, 0},  // base 10: stops at the x
};

TEST(TargetNumbers, StoiAndStolBehaveAsOnTheTarget) {
  check_int_cases(stoi32, "stoi", std::begin(kThrowingCases), std::end(kThrowingCases));
  // long is 32 bits on the target, so stol fails where stoi does.
  check_int_cases(stol32, "stol", std::begin(kThrowingCases), std::end(kThrowingCases));
}

TEST(TargetNumbers, StrtolClampsAndNeverFails) {
  const struct {
    std::string text;
    int32_t value;
  } cases[] = {
      {"42", 42},
      {"-7xyz", -7},
      {"none", 0},
      {"", 0},
      {"2147483648", std::numeric_limits<int32_t>::max()},
      {"-99999999999999999999", std::numeric_limits<int32_t>::min()},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("text \"" + c.text + "\"");
    EXPECT_EQ(strtol32(c.text), c.value);
  }
}

TEST(TargetNumbers, FloatConversionsTruncateAndSaturate) {
  const struct {
    float value;
    uint32_t u32;
    uint64_t u64;
  } cases[] = {
      {0.0f, 0, 0},
      {2.99f, 2, 2},
      {-0.5f, 0, 0},
      {-300.0f, 0, 0},
      {4294967040.0f, 4294967040u, 4294967040u},
      {5e9f, UINT32_MAX, 5000000000u},
      {1e20f, UINT32_MAX, UINT64_MAX},
      {std::numeric_limits<float>::quiet_NaN(), 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("value " + std::to_string(c.value));
    EXPECT_EQ(float_to_uint32(c.value), c.u32);
    EXPECT_EQ(float_to_uint64(c.value), c.u64);
  }
}

}  // namespace
