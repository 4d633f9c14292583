// Tests of the status-line writer and the property status line.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "base/base.h"
#include "base/property_line.h"
#include "properties/formatters.h"
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
      {"status K 3 [1 2 3] RW", {2, 3, nullptr, u16.data(), 6, true}, formatUnsigned, acceptAll, true},
      {"status K 3 {1 2 3} RO", {2, 3, nullptr, u16.data(), 6, false}, formatUnsigned, acceptAll, false},
      {"status K 9 {9} RO", {2, 9, nullptr, nullptr, 0, false}, formatUnsigned, acceptAll, false},
      {"status K 3 [3] RW", {2, 3, nullptr, u16.data(), 6, true}, formatUnsigned, skip_all, true},
      // Signed candidates are zero-extended; the formatter gives them their sign.
      {"status K 5 [-1 5] RW", {0x1001, 5, nullptr, i8.data(), 2, true}, formatInt8, acceptAll, true},
      {"status K 0 {-100 100 10} RW",
       {0x5002, 0, nullptr, i16_range.data(), 6, true},
       formatInt16,
       acceptAll,
       false},
      {"status K 7 [4294967297 7] RO",
       {4, 7, nullptr, u64.data(), 16, false},
       formatUnsigned,
       acceptAll,
       true},
      {"status K 1/10 [1/10 1/25] RW",
       {3, 0x0001000A, nullptr, shutter.data(), 12, true},
       shutterSpeedToText,
       keepUnitNumerator,
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(compose_status_line("K", c.fields, c.to_text, c.skip, c.list), c.line);
  }
}

// A current string as the SDK lays it out: a 16-bit length, then the bytes,
// in a buffer of exactly that size (no terminator), so that AddressSanitizer
// sees any read past it.
std::vector<uint16_t> sdk_string(uint16_t length, const std::string& bytes) {
  std::vector<uint16_t> str(1 + (bytes.size() + 1) / 2, 0);
  str[0] = length;
  std::memcpy(str.data() + 1, bytes.data(), bytes.size());
  return str;
}

// Records that do not match their row, or are malformed, are shown as far as
// they can be: no read outside a buffer, no address taken as a value.
TEST(PropertyLine, MalformedRecords) {
  const std::vector<uint16_t> plain = sdk_string(4, "1.02");
  const std::vector<uint16_t> long_claim = sdk_string(9, std::string("FE\0\0\0\0\0\0\0", 9));
  const std::vector<uint16_t> control = sdk_string(5, "a\nb\rc");
  const std::vector<uint16_t> empty = sdk_string(0, "");
  const std::vector<uint8_t> bytes = {1, 2, 3};
  const std::vector<uint8_t> u16_odd = {1, 0, 2, 0, 3};
  const std::vector<uint8_t> u128 = {7, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9, 9, 9, 9, 9, 9,
                                     8, 0, 0, 0, 0, 0, 0, 1, 9, 9, 9, 9, 9, 9, 9, 9};

  const struct {
    const char* line;
    PropertyFields fields;
    ToTextFn to_text;
    bool quiet;  // nothing logged: the same fields may reuse the line
  } cases[] = {
      {"status K 1.02 [UNKNOWN] RO", {0xFFFF, 0, plain.data(), nullptr, 0, false}, sdkStringToText, true},
      // A length past the text: the text ends at its zero byte.
      {"status K FE [UNKNOWN] RO", {0xFFFF, 0, long_claim.data(), nullptr, 0, false}, sdkStringToText, true},
      {"status K a?b?c [UNKNOWN] RO", {0xFFFF, 0, control.data(), nullptr, 0, false}, sdkStringToText, true},
      {"status K  [UNKNOWN] RO", {0xFFFF, 0, empty.data(), nullptr, 0, false}, sdkStringToText, true},
      {"status K UNKNOWN [UNKNOWN] RO", {0xFFFF, 0, nullptr, nullptr, 0, false}, sdkStringToText, true},
      // A text row reported with a numeric type: the value is a number.
      {"status K 305419896 [305419896] RO",
       {3, 0x12345678, nullptr, nullptr, 0, false},
       sdkStringToText,
       false},
      {"status K 4 [1 2 3] RO", {1, 4, nullptr, bytes.data(), 3, false}, sdkStringToText, false},
      // A text with candidate bytes: they are not shown.
      {"status K 1.02 [UNKNOWN] RO",
       {0xFFFF, 0, plain.data(), bytes.data(), 3, false},
       sdkStringToText,
       false},
      // A numeric row reported as text shows the text.
      {"status K 1.02 [0] RW", {0xFFFF, 0, plain.data(), nullptr, 0, true}, formatUnsigned, false},
      // Trailing bytes that make no whole element are left out.
      {"status K 9 [1 2] RW", {2, 9, nullptr, u16_odd.data(), 5, true}, formatUnsigned, false},
      {"status K 9 [9] RW", {2, 9, nullptr, u16_odd.data(), 1, true}, formatUnsigned, false},
      // A size without a buffer, and a type without a width.
      {"status K 9 [9] RW", {2, 9, nullptr, nullptr, 4000, true}, formatUnsigned, true},
      {"status K 9 [9] RW", {0, 9, nullptr, bytes.data(), 3, true}, formatUnsigned, true},
      {"status K 9 [7] RW", {5, 9, nullptr, u128.data(), 16, true}, formatUnsigned, true},
      {"status K 9 [7 72057594037927944] RW", {5, 9, nullptr, u128.data(), 32, true}, formatUnsigned, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    TextWriter line;
    EXPECT_EQ(append_status_line("K", c.fields, c.to_text, acceptAll, true, &line), c.quiet);
    EXPECT_EQ(line.view(), c.line);
  }
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
  flush_raw_lines();
  EXPECT_EQ(capture.text(), "");

  for (uint32_t type : {6u, 0xFFFu, 0x3000u, 0x5000u, 0x1006u, 0x6001u, 0x12002u}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(element_width(type), 4u);
  }
  flush_raw_lines();
  EXPECT_EQ(capture.lines(), std::vector<std::string>(7, "unhandled unit"));
}

// Points standard output at one end of a packet socket while it lives, so
// that every write() on stdout arrives as one packet.
class WriteCapture {
 public:
  WriteCapture() {
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds_), 0);
    saved_ = dup(STDOUT_FILENO);
    dup2(fds_[0], STDOUT_FILENO);
  }
  ~WriteCapture() {
    dup2(saved_, STDOUT_FILENO);
    for (int fd : {saved_, fds_[0], fds_[1]}) close(fd);
  }
  // The writes made so far, one string each.
  std::vector<std::string> writes() {
    std::vector<std::string> result;
    char buffer[65536];
    ssize_t n;
    while ((n = recv(fds_[1], buffer, sizeof buffer, MSG_DONTWAIT)) > 0) result.emplace_back(buffer, n);
    return result;
  }

 private:
  int fds_[2] = {-1, -1};
  int saved_ = -1;
};

using Writes = std::vector<std::string>;

TEST(Output, RawLinesWaitForTheNextWrite) {
  WriteCapture capture;
  write_status_line("");
  write_raw_line("CONNECTED");
  EXPECT_EQ(capture.writes(), Writes{});
  write_status_line("READY");
  EXPECT_EQ(capture.writes(), Writes{"CONNECTED\nREADY\n"});

  write_raw_line("status TC 1 [1] RO");
  flush_raw_lines();
  flush_raw_lines();  // nothing left: no empty write
  EXPECT_EQ(capture.writes(), Writes{"status TC 1 [1] RO\n"});
}

TEST(Output, BatchLeavesInOneWrite) {
  WriteCapture capture;
  write_report_line("status A 1 {1} RW");  // no batch open: at once
  EXPECT_EQ(capture.writes(), Writes{"status A 1 {1} RW\n"});
  {
    OutputBatch batch;
    write_report_line("status A 2 {2} RW");
    write_raw_line("get prop failed");
    {
      OutputBatch inner;  // the innermost open batch collects
      write_report_line("status B 3 {3} RO");
    }
    write_report_line("status C 4 {4} RO");
    batch.add("READY");
    batch.add("");
    // Queued raw lines leave with the next write, here the inner batch's.
    EXPECT_EQ(capture.writes(), Writes{"get prop failed\nstatus B 3 {3} RO\n"});
  }
  // The batch leaves in the order it was filled.
  EXPECT_EQ(capture.writes(), Writes{"status A 2 {2} RW\nstatus C 4 {4} RO\nREADY\n"});
  { OutputBatch empty; }
  EXPECT_EQ(capture.writes(), Writes{});
}

TEST(Output, ConcurrentLinesStayWhole) {
  constexpr int kLines = 300;
  const std::string a = "status A " + std::string(200, 'a') + " [x] RW";
  const std::string b = "status B " + std::string(200, 'b') + " [y] RO";
  const std::string tc = "status TC 16909060 [16909060] RO";
  StdoutCapture capture;
  std::thread first([&] {
    for (int i = 0; i < kLines; ++i) write_status_line(a);
  });
  std::thread second([&] {
    for (int i = 0; i < kLines; ++i) {
      OutputBatch batch;
      write_report_line(b);
      write_report_line(b);
    }
  });
  std::thread raw([&] {
    for (int i = 0; i < kLines; ++i) write_raw_line(tc);
  });
  first.join();
  second.join();
  raw.join();
  flush_raw_lines();
  const std::vector<std::string> lines = capture.lines();
  ASSERT_EQ(lines.size(), 4u * kLines);
  int seen_a = 0;
  int seen_tc = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == a) {
      ++seen_a;
    } else if (lines[i] == tc) {
      ++seen_tc;
    } else {
      // A batch's two lines stay together.
      ASSERT_EQ(lines[i], b);
      ASSERT_LT(i + 1, lines.size());
      ASSERT_EQ(lines[++i], b);
    }
  }
  EXPECT_EQ(seen_a, kLines);
  EXPECT_EQ(seen_tc, kLines);
}

TEST(Output, ExitWritesQueuedRawLines) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dup2(fds[1], STDOUT_FILENO);
    write_raw_line("UNUSED");
    std::exit(0);
  }
  close(fds[1]);
  std::string out;
  char buffer[256];
  ssize_t n;
  while ((n = read(fds[0], buffer, sizeof buffer)) > 0) out.append(buffer, static_cast<size_t>(n));
  close(fds[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(out, "UNUSED\n");
}

}  // namespace
