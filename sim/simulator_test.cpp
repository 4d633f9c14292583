// Tests of the simulated camera through the SDK calls, for what the device and
// process tests do not reach: stepping, recording, injected failures and
// control lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "IDeviceCallback.h"
#include "sim/sim_control.h"
#include "tests/support/temp_dir.h"

namespace {

using namespace SCRSDK;

// On a property change it reads the properties back, as the bridge does, to
// prove that callbacks may call into the SDK.
class ReadingCallback : public IDeviceCallback {
 public:
  void OnPropertyChangedCodes(CrInt32u num, CrInt32u* codes) override {
    CrDeviceProperty* props = nullptr;
    CrInt32 count = 0;
    if (GetSelectDeviceProperties(handle, num, codes, &props, &count) == CrError_None) {
      EXPECT_EQ(ReleaseDeviceProperties(handle, props), CrError_None);
    }
  }
  CrDeviceHandle handle = 0;
};

constexpr char kScenario[] =
    "camera USB ILME-FX6 D10042\n"
    "camera IP ILCE-7SM3 192.168.1.10 00:1a:2b:3c:4d:5e no-ssh\n"
    "property 0x104 UInt32 800 rw 0xFFFFFF 100 800\n"
    "property 0x115 UInt16Range 5600 rw 2500 9900 100\n"
    "property 0x15D Int8Range 0 rw -99 99 1\n"
    "property 0x705 UInt8 0 ro 0 1\n"
    "property 0x765 STR \"FE 50mm\" ro\n"
    "lv-property 0x121 0x01020304\n"
    "confirm 1\n";

class SimulatorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    unsetenv("VK_SONY_SIM_CONTROL");
    unsetenv("VK_SONY_SIM_TRACE");
  }
  void TearDown() override { sim::reset(); }

  // Loads `text`, initialises and connects the first camera.
  void connect(const std::string& text = kScenario, bool clear = true) {
    std::string error;
    ASSERT_TRUE(sim::load_scenario(text, &error)) << error;
    ASSERT_TRUE(Init());
    ICrCameraObjectInfo* info = nullptr;
    CrInt8u serial[USB_SERIAL_LENGTH] = {'D', '1', '0', '0', '4', '2'};
    ASSERT_EQ(CreateCameraObjectInfoUSBConnection(&info, CrCameraDeviceModel_ILME_FX6, serial), CrError_None);
    ASSERT_EQ(Connect(info, &callback_, &callback_.handle), CrError_None);
    info->Release();
    ASSERT_TRUE(sim::wait_idle());
    if (clear) sim::clear_trace();
  }

  CrError set(CrInt32u code, CrInt64u value, CrDataType type = CrDataType_UInt32) {
    CrDeviceProperty p;
    p.SetCode(code);
    p.SetCurrentValue(value);
    p.SetValueType(type);
    return SetDeviceProperty(callback_.handle, &p);
  }

  // The trace lines naming callbacks.
  static std::vector<std::string> callbacks() {
    std::vector<std::string> out;
    for (const std::string& line : sim::trace()) {
      if (line.rfind("callback ", 0) == 0) out.push_back(line.substr(9));
    }
    return out;
  }

  ReadingCallback callback_;
};

TEST_F(SimulatorTest, StepPropertiesMoveTheirBase) {
  connect();
  const struct {
    CrInt32u step;
    CrInt64u value;
    CrInt32u base;
    long long expected;
  } cases[] = {
      {0x15B, 3, 0x115, 5900},       // colour temperature, 100 K a step
      {0x15B, 0xFFFE, 0x115, 5700},  // -2 steps, signed 16-bit
      {0x15E, 0xFFFB, 0x15D, -5},    // tint, one a step
      {0x15E, 200, 0x15D, 99},       // clamped to the range
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    sim::clear_trace();
    EXPECT_EQ(set(c.step, c.value, CrDataType_Int16), CrError_None);
    ASSERT_TRUE(sim::wait_idle());
    EXPECT_EQ(static_cast<long long>(sim::property_value(c.base)), c.expected);
    char codes[64];
    std::snprintf(codes, sizeof codes, "OnPropertyChangedCodes codes=0x%x", c.base);
    EXPECT_EQ(callbacks(), (std::vector<std::string>{"OnPropertyChanged", codes}));
  }
}

TEST_F(SimulatorTest, RecordingCommands) {
  connect();
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecord, CrCommandParam_Down), CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 1u);
  EXPECT_EQ(callbacks().size(), 2u);
  sim::clear_trace();
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecord, CrCommandParam_Down), CrError_None);
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecButtonToggle, CrCommandParam_Up), CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 1u);
  EXPECT_TRUE(callbacks().empty());
  ASSERT_EQ(SendCommand(callback_.handle, CrCommandId_MovieRecButtonToggle, CrCommandParam_Down),
            CrError_None);
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(sim::property_value(0x705), 0u);
  EXPECT_EQ(callbacks().back(), "OnPropertyChangedCodes codes=0x705");
}

// The failure the device and process tests do not reach.
TEST_F(SimulatorTest, FailDirectives) {
  ASSERT_TRUE(sim::load_scenario(std::string(kScenario) + "fail init\n"));
  EXPECT_FALSE(Init());
}

TEST_F(SimulatorTest, ControlLinesAndTimedEvents) {
  connect(std::string(kScenario) + "after 1 warning 0x20010\n", false);
  ASSERT_TRUE(sim::fire("change 0x104 100"));
  EXPECT_FALSE(sim::fire("explode"));
  // Three connection callbacks, the timed warning and the change's two.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (callbacks().size() < 6 && std::chrono::steady_clock::now() < deadline) {
    ASSERT_TRUE(sim::wait_idle());
  }
  const std::vector<std::string> seen = callbacks();
  EXPECT_NE(std::find(seen.begin(), seen.end(), "OnWarning warning=0x20010"), seen.end());
  EXPECT_NE(std::find(seen.begin(), seen.end(), "OnPropertyChangedCodes codes=0x104"), seen.end());
  EXPECT_EQ(sim::property_value(0x104), 100u);

  // A disconnect ends the connection: nothing after it is delivered.
  sim::clear_trace();
  ASSERT_TRUE(sim::fire("disconnect 0x8207"));
  ASSERT_TRUE(sim::fire("warning 0x1"));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(callbacks(), (std::vector<std::string>{"OnDisconnected error=0x8207"}));
}

// vk-sony -v asks for the version before any Init: it comes from the file's
// version line wherever that stands, even in a file Init would refuse.
TEST_F(SimulatorTest, VersionBeforeInitReadsTheWholeScenarioFile) {
  TempDir dir;
  std::string text;
  while (text.size() < 20000) text += "property 0x104 UInt32 800 rw 0xFFFFFF 100 800\n";
  const std::string good = dir.write("good", text + "# sdk-version 9.9.9\n \tsdk-version 3.4.5");
  const std::string bad = dir.write("bad", "sdk-version 1.2.3\nno-such-directive\n");
  setenv("VK_SONY_SIM_SCENARIO", good.c_str(), 1);
  EXPECT_EQ(GetSDKVersion(), 0x03040500u);
  setenv("VK_SONY_SIM_SCENARIO", bad.c_str(), 1);
  EXPECT_EQ(GetSDKVersion(), 0x01020300u);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Init());
  testing::internal::GetCapturedStderr();
  setenv("VK_SONY_SIM_SCENARIO", good.c_str(), 1);
  EXPECT_TRUE(Init());
  EXPECT_EQ(GetSDKVersion(), 0x03040500u);
  EXPECT_TRUE(Release());
  unsetenv("VK_SONY_SIM_SCENARIO");
}

// A bad line is covered by the process tests.
TEST_F(SimulatorTest, InitReportsMissingScenarioFile) {
  TempDir dir;
  setenv("VK_SONY_SIM_SCENARIO", dir.file("missing").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Init());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vk-sony simulator: " + dir.file("missing") + ": No such file or directory\n");
  unsetenv("VK_SONY_SIM_SCENARIO");
  EXPECT_TRUE(Init());  // the built-in default
  EXPECT_EQ(GetSDKVersion(), 0x02010000u);
  EXPECT_TRUE(Release());
}

}  // namespace
