// Tests of the run loop: the key-name index it builds, the stream probe and
// the teardown order.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "device/camera_device.h"
#include "protocol/protocol.h"
#include "sim/sim_control.h"
#include "tests/support/stdout_capture.h"

namespace {

// SDK calls of the teardown, in trace order.
std::vector<std::string> teardown_calls() {
  std::vector<std::string> calls;
  for (const std::string& line : sim::trace()) {
    for (const char* name : {"Disconnect ", "ReleaseDevice ", "Release"}) {
      if (line.rfind(name, 0) == 0 && line.rfind("ReleaseDeviceProperties", 0) != 0 &&
          line.rfind("ReleaseLiveViewProperties", 0) != 0) {
        calls.push_back(line.substr(0, line.find(' ')));
        break;
      }
    }
  }
  return calls;
}

class RunLoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    // With the flag already cleared both threads end at once and the run
    // goes straight to its teardown.
    request_shutdown();
  }
  void TearDown() override {
    sim::reset();
    reset_run_flag();
  }
  StdoutCapture capture_;
};

TEST_F(RunLoopTest, BuildsKeyIndexAndReleasesWithoutDevice) {
  ASSERT_TRUE(SCRSDK::Init());
  property_codes["LEFT_OVER"] = 1;
  EXPECT_TRUE(run_bridge(nullptr));

  EXPECT_EQ(property_codes.count("LEFT_OVER"), 0u);
  EXPECT_EQ(property_codes.size(), 161u);
  EXPECT_EQ(property_codes.at("ISO_SENSITIVITY"), 0x729u);
  EXPECT_EQ(property_codes.at("PP_BLACK_LEVEL"), 0x1ABu);
  // Shares its code with FOCUS_POSITION, which keeps it.
  EXPECT_EQ(property_codes.count("FOCUS_POSITION_SETTING"), 0u);
  for (const auto& [name, code] : property_codes) {
    SCOPED_TRACE(name);
    const PropertyInfo* row = find_property(code);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->name, name);
  }

  EXPECT_EQ(teardown_calls(), std::vector<std::string>{"Release"});
  const std::vector<std::string> lines = capture_.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "CLOSED"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "END - elixir_handler_stdin"), 1);
}

TEST_F(RunLoopTest, BlackLevelRemapOnlyForTwoModels) {
  for (uint32_t model : {19u, 20u, 21u, 22u}) {
    SCOPED_TRACE(model);
    ASSERT_TRUE(SCRSDK::Init());
    sim::clear_trace();
    CameraDeviceIP device;
    device.model = model;
    (void)run_bridge(&device);
    const bool remapped = model == 20 || model == 21;
    EXPECT_EQ(property_codes.at("PP_BLACK_LEVEL"), remapped ? 684u : 0x1ABu);
    // Never connected: no Disconnect, but the handle is still released.
    EXPECT_EQ(teardown_calls(), (std::vector<std::string>{"ReleaseDevice", "Release"}));
  }
}

// Points standard input at a pipe for one probe of check_streams().
bool probe_with_stdin_pipe(bool hang_up) {
  int fds[2];
  if (pipe(fds) != 0) return false;
  const int saved = dup(STDIN_FILENO);
  dup2(fds[0], STDIN_FILENO);
  if (hang_up) close(fds[1]);
  const bool seen = check_streams();
  dup2(saved, STDIN_FILENO);
  close(saved);
  close(fds[0]);
  if (!hang_up) close(fds[1]);
  return seen;
}

TEST(CheckStreams, SeesHangUpOfStdinOnly) {
  EXPECT_TRUE(probe_with_stdin_pipe(true));
  EXPECT_FALSE(probe_with_stdin_pipe(false));
}

}  // namespace
