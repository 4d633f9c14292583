// Process-level tests of the parent's commands against the simulated camera:
// replies, confirmations, refusals, the menu and time-code requests, a
// malformed number, and a camera that never confirms.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/bridge_process.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr char kUsbId[] = "USB|ILME-FX6|D10042";

constexpr char kCamera[] = R"(camera USB ILME-FX6 D10042
property 0x729 UInt32 800 rw 400 800 1600
property 0x115 UInt16 5600 rw
lv-property 0x1 3600
)";

class BridgeCommandsTest : public ::testing::Test {
 protected:
  // Starts a bridge on kCamera plus `extra` scenario lines and waits for READY.
  void start(const std::string& extra = "") {
    bridge_ = start_until_ready(
        std::vector<std::string>{kUsbId},
        EnvChanges{{"VK_SONY_SIM_SCENARIO", dir_.write("camera.scenario", std::string(kCamera) + extra)},
                   {"VK_SONY_SIM_TRACE", dir_.file("trace")}});
    ASSERT_TRUE(bridge_);
  }

  std::vector<std::string> trace_with(const std::string& needle) {
    std::vector<std::string> found;
    for (const std::string& line : read_lines(dir_.file("trace"))) {
      if (line.find(needle) != std::string::npos) found.push_back(line);
    }
    return found;
  }

  TempDir dir_;
  std::unique_ptr<BridgeProcess> bridge_;
};

TEST_F(BridgeCommandsTest, SetIsAcknowledgedAfterConfirmationThenReported) {
  ASSERT_NO_FATAL_FAILURE(start());
  bridge_->send("set ISO_SENSITIVITY 1600");
  ASSERT_EQ(bridge_->read_line(), "ACK");
  EXPECT_EQ(bridge_->read_line(), "status ISO_SENSITIVITY 1600 [400 800 1600] RW");
  EXPECT_EQ(trace_with("SetDeviceProperty code=0x729 value=1600").size(), 1u);

  // Writing the current value is answered at once and reaches no camera.
  bridge_->send("set ISO_SENSITIVITY 1600");
  EXPECT_EQ(bridge_->read_line(), "ACK");
  EXPECT_EQ(trace_with("SetDeviceProperty code=0x729").size(), 1u);

  bridge_->send("get ISO_SENSITIVITY");
  EXPECT_EQ(bridge_->read_line(), "status ISO_SENSITIVITY 1600 [400 800 1600] RW");
}

TEST_F(BridgeCommandsTest, RefusedSetIsNacked) {
  ASSERT_NO_FATAL_FAILURE(start("fail set 0x729 0x8402\n"));
  bridge_->send("set ISO_SENSITIVITY 400");
  EXPECT_EQ(bridge_->read_line(), "NACK");
  // The gate is open again: the next command is answered.
  bridge_->send("RESET");
  EXPECT_EQ(bridge_->read_line(), "ACK");
}

TEST_F(BridgeCommandsTest, MenuRequestRepliesWithCameraResult) {
  for (const char* result : {"success", "error"}) {
    SCOPED_TRACE(result);
    ASSERT_NO_FATAL_FAILURE(start(std::string("menu-result ") + result + "\n"));
    bridge_->send("get MENU");
    EXPECT_EQ(bridge_->read_line(), std::string(result) == "success" ? "ACK" : "NACK");
    bridge_.reset();
  }
}

TEST_F(BridgeCommandsTest, TimecodeArrivesWithTheNextFlushedLine) {
  ASSERT_NO_FATAL_FAILURE(start());
  bridge_->send("get TC");
  // The time-code line is raw: a following RESET's ACK carries it out.
  bridge_->send("RESET");
  EXPECT_EQ(bridge_->read_line(), "status TC 3600 [3600] RO");
  EXPECT_EQ(bridge_->read_line(), "ACK");
}

TEST_F(BridgeCommandsTest, MalformedNumberAbortsTheProcess) {
  ASSERT_NO_FATAL_FAILURE(start());
  bridge_->send("action SHUTTER_PRESS soon");
  EXPECT_EQ(bridge_->wait_exit(5s), 128 + SIGABRT);
}

// With a camera that never confirms, the first write is never acknowledged,
// the next gated command waits at the gate, and a shutdown request writes
// "CLOSED" but cannot end the process while the reader waits.
TEST_F(BridgeCommandsTest, CameraThatNeverConfirmsBlocksTheReader) {
  ASSERT_NO_FATAL_FAILURE(start("confirm never\n"));
  bridge_->send("set ISO_SENSITIVITY 1600");
  bridge_->send("set ISO_SENSITIVITY 400");
  EXPECT_FALSE(bridge_->expect_line("ACK", 1500ms));
  EXPECT_EQ(trace_with("SetDeviceProperty").size(), 1u);

  bridge_->signal(SIGTERM);
  EXPECT_TRUE(bridge_->expect_line("CLOSED", 3s));
  EXPECT_FALSE(bridge_->wait_exit(1s).has_value());
  const std::vector<std::string>& lines = bridge_->lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "END - elixir_handler_stdin"), 0);
}

}  // namespace
