// A camera that reports malformed property records (through the simulator's
// raw property attributes): every record is shown as far as it can be, the
// run goes on, and nothing is read outside a buffer (the AddressSanitizer
// configuration runs this too).
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/bridge_process.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr char kScenario[] = R"(camera USB ILME-FX6 D10042
# A text property reported with a numeric type.
property 0x765 UInt32 12345 ro
# A text with candidate bytes and a length field past its text.
property 0x751 STR "1.02" ro 1 2 3 str-length=300
# Candidates packed at 4 bytes, declared 2 bytes wide.
property 0x104 UInt32 800 rw 100 200 type=UInt16
# Seven bytes of 16-bit candidates: the last byte makes no element.
property 0x100 UInt16 280 rw bytes=01020304050607
# A million bytes of candidates, and a size without a buffer.
property 0x101 Int16 0 rw size=1000000
property 0x103 UInt32 0 rw size=0xFFFFFFFF values=null
# A type without an element width, and a number declared as text.
property 0x115 UInt16 5600 rw 1 2 type=0x6001
property 0x116 UInt8 1 rw type=STR
)";

TEST(HostileCamera, MalformedRecordsAreShownAndTheRunGoesOn) {
  TempDir dir;
  const std::string scenario = dir.write("hostile.scenario", kScenario);
  std::unique_ptr<BridgeProcess> bridge =
      start_until_ready({"USB|ILME-FX6|D10042"}, {{"VK_SONY_SIM_SCENARIO", scenario}});
  const std::vector<std::string> expected = {
      "status LENS_MODEL 12345 [12345] RO", "status SOFTWARE 1.02 [UNKNOWN] RO",
      "status ISO 800 [100 0 200 0] RW",    "status FSTOP 2.8 [5.1 10.3 15.4] RW",
      "status SHUTTER Bulb [Bulb] RW",      "unhandled unit",
      "status WB 5600 {131073} RW",         "status AB UNKNOWN {1} RW",
  };
  const std::vector<std::string>& lines = bridge->lines();
  for (const std::string& line : expected) {
    EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end()) << line;
  }
  const auto bias = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return line.rfind("status EXPOSURE_BIAS ", 0) == 0;
  });
  ASSERT_NE(bias, lines.end());
  EXPECT_EQ(std::count(bias->begin(), bias->end(), ' '), 3 + 4096) << "candidates listed";

  // The run ends as usual.
  bridge->close_stdin();
  EXPECT_EQ(bridge->wait_exit(), 1);
  const std::string err = bridge->stderr_text();
  EXPECT_EQ(err.find("Sanitizer"), std::string::npos) << err;
  EXPECT_EQ(err.find("runtime error"), std::string::npos) << err;
}

// SDK calls that fail during a run: each is told by its raw line, the
// command is still answered and the run ends as usual.
TEST(HostileCamera, FailingSdkCallsAreSurvived) {
  struct Case {
    const char* failure;
    const char* command;
    std::vector<std::string> seen;  // in this order among the lines
    const char* not_seen;
    // Also seen, in any place: the live-view report comes on the camera's
    // thread after READY, so it may come before or after the command's lines.
    const char* seen_anywhere = nullptr;
  };
  const Case cases[] = {
      {"fail release-properties", "set ISO 1600", {"release prop failed", "ACK"}, nullptr},
      {"fail get-lv-properties", "get TC", {"ACK"}, "status TC ", "get LV prop failed"},
      {"fail release-lv-properties",
       "get TC",
       {"status TC 3600 [3600] RO", "ACK"},
       nullptr,
       "release LV prop failed"},
      {"fail live-view", "get TC", {"ACK"}, "status TC "},
      // An absurd image buffer size: the image is not read, the time code is.
      {"live-view-buffer 0xFFFFFFFF", "get TC", {"status TC 3600 [3600] RO", "ACK"}, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failure);
    TempDir dir;
    const std::string scenario = dir.write(
        "s", std::string("camera USB ILME-FX6 D10042\nproperty 0x104 UInt32 800 rw\nlv-property 0x1 3600\n") +
                 c.failure + "\n");
    std::unique_ptr<BridgeProcess> bridge =
        start_until_ready({"USB|ILME-FX6|D10042"}, {{"VK_SONY_SIM_SCENARIO", scenario}});
    bridge->send(c.command);
    bridge->send("RESET");
    ASSERT_TRUE(bridge->expect_line("ACK"));
    bridge->close_stdin();
    EXPECT_EQ(bridge->wait_exit(), 1);
    const std::vector<std::string>& lines = bridge->read_all();
    auto at = lines.begin();
    for (const std::string& line : c.seen) {
      at = std::find(at, lines.end(), line);
      EXPECT_NE(at, lines.end()) << line;
    }
    if (c.seen_anywhere != nullptr) {
      EXPECT_NE(std::find(lines.begin(), lines.end(), c.seen_anywhere), lines.end()) << c.seen_anywhere;
    }
    if (c.not_seen != nullptr) {
      for (const std::string& line : lines) EXPECT_NE(line.rfind(c.not_seen, 0), 0u) << line;
    }
  }
}

}  // namespace
