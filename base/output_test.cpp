// Tests of the status-line writer and the property status line.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "properties/formatters.h"
#include "base/property_line.h"
#include "base/base.h"
#include "tests/support/stdout_capture.h"

namespace {

template <typename T>
std::vector<uint8_t> pack(std::initializer_list<T> values) {
  std::vector<uint8_t> bytes(values.size() * sizeof(T));
  size_t offset = 0;
  for (T value : values) {
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
    offset += sizeof(T);
  }
  return bytes;
}

bool skip_all(uint64_t) { return true; }

TEST(PropertyLine, Composition) {
  const std::vector<uint8_t> u16 = pack<uint16_t>({1, 2, 3});
  const std::vector<uint8_t> i8 = pack<int8_t>({-1, 5});
  const std::vector<uint8_t> i16_range = pack<int16_t>({-100, 100, 10});
  const std::vector<uint8_t> u64 = pack<uint64_t>({0x100000001ull, 7});
  const std::vector<uint8_t> shutter = pack<uint32_t>({0x0001000A, 0x000A0001, 0x00010019});

  const struct {
    const char* line;
    PropertyFields fields;
    ToTextFn to_text;
    SkipValueFn skip;
    bool list;
  } cases[] = {
      {"status K 3 [1 2 3] RW", {2, 3, 0, u16.data(), 6, true}, formatUnsigned, acceptAll, true},
      {"status K 3 {1 2 3} RO", {2, 3, 0, u16.data(), 6, false}, formatUnsigned, acceptAll, false},
      {"status K 9 {9} RO", {2, 9, 0, nullptr, 0, false}, formatUnsigned, acceptAll, false},
      {"status K 3 [3] RW", {2, 3, 0, u16.data(), 6, true}, formatUnsigned, skip_all, true},
      // Signed candidates are zero-extended; the formatter gives them their sign.
      {"status K 5 [-1 5] RW", {0x1001, 5, 0, i8.data(), 2, true}, formatInt8, acceptAll, true},
      {"status K 0 {-100 100 10} RW",
       {0x5002, 0, 0, i16_range.data(), 6, true},
       formatInt16,
       acceptAll,
       false},
      {"status K 7 [4294967297 7] RO", {4, 7, 0, u64.data(), 16, false}, formatUnsigned, acceptAll, true},
      {"status K 1/10 [1/10 1/25] RW",
       {3, 0x0001000A, 0, shutter.data(), 12, true},
       shutterSpeedToText,
       keepUnitNumerator,
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(compose_status_line("K", c.fields, c.to_text, c.skip, c.list), c.line);
  }
}

TEST(PropertyLine, StringTypeShowsTheCurrentString) {
  unsigned char text[8] = {};
  const uint16_t length = 4;
  std::memcpy(text, &length, sizeof(length));
  std::memcpy(text + 2, "1.02", 4);
  PropertyFields fields;
  fields.type = 0xFFFF;
  fields.current = 0;
  fields.current_str = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(text));
  // No candidates: the brackets show the raw current value, not the string.
  EXPECT_EQ(compose_status_line("SOFTWARE", fields, sdkStringToText, acceptAll, true),
            "status SOFTWARE 1.02 [UNKNOWN] RO");
}

TEST(Output, ElementWidths) {
  const struct {
    uint32_t type;
    size_t width;
  } cases[] = {
      {0, 0},      {1, 1},      {2, 2},       {3, 4},      {4, 8},      {5, 16},     {0x1000, 1},
      {0x1001, 1}, {0x1002, 2}, {0x1005, 16}, {0x2000, 1}, {0x2003, 4}, {0x3001, 1}, {0x3004, 8},
      {0x4000, 1}, {0x4001, 1}, {0x4002, 2},  {0x5001, 1}, {0x5003, 4}, {0xFFFF, 1},
  };
  StdoutCapture capture;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    EXPECT_EQ(element_width(c.type), c.width);
  }
  EXPECT_EQ(capture.text(), "");

  for (uint32_t type : {6u, 0xFFFu, 0x3000u, 0x5000u, 0x1006u, 0x6001u, 0x12002u}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(element_width(type), 4u);
  }
  EXPECT_EQ(capture.lines(), std::vector<std::string>(7, "unhandled unit"));
}

TEST(Output, StatusLines) {
  StdoutCapture capture;
  write_status_line("");
  EXPECT_EQ(capture.text(), "");
  write_raw_line("CONNECTED");
  write_status_line("READY");
  EXPECT_EQ(capture.text(), "CONNECTED\nREADY\n");
}

TEST(Output, ConcurrentStatusLinesStayWhole) {
  constexpr int kLines = 300;
  const std::string a = "status A " + std::string(200, 'a') + " [x] RW";
  const std::string b = "status B " + std::string(200, 'b') + " [y] RO";
  StdoutCapture capture;
  std::thread first([&] {
    for (int i = 0; i < kLines; ++i) write_status_line(a);
  });
  std::thread second([&] {
    for (int i = 0; i < kLines; ++i) write_status_line(b);
  });
  first.join();
  second.join();
  const std::vector<std::string> lines = capture.lines();
  ASSERT_EQ(lines.size(), 2u * kLines);
  int seen_a = 0;
  for (const std::string& line : lines) {
    if (line == a) {
      ++seen_a;
    } else {
      ASSERT_EQ(line, b);
    }
  }
  EXPECT_EQ(seen_a, kLines);
}

}  // namespace
