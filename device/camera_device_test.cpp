// Tests of the command gate, the device callbacks and property reporting,
// against the simulated SDK.
#include "device/camera_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CameraRemote_SDK.h"
#include "device/device_test_support.h"
#include "sim/sim_control.h"
#include "tests/support/stdout_capture.h"

namespace {

TEST(CameraModels, ExactNamesOnlyAndUnknownIsZero) {
  EXPECT_EQ(10u, camera_model_number("ILME-FX6"));
  EXPECT_EQ(23u, camera_model_number("ILME-FX3A"));
  EXPECT_EQ(8u, camera_model_number("ILME-FX3"));
  for (const char* name : {"", "*", "ilme-fx6", "ILME-FX6 ", "ILME-FX"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(0u, camera_model_number(name));
  }
  for (uint32_t number = 0; number <= 23; ++number) {
    SCOPED_TRACE(number);
    const std::string name = camera_model_name(number);
    if (number == 19 || number == 22) {
      EXPECT_EQ("", name);
    } else {
      EXPECT_EQ(number, camera_model_number(name));
    }
  }
}

TEST(ConfirmTimeout, PositiveDecimalOrTheDefault) {
  const struct {
    const char* text;  // nullptr: unset
    int ms;
  } cases[] = {
      {nullptr, 3000}, {"250", 250},  {"1", 1},     {"", 3000},     {"0", 3000},
      {"-5", 3000},    {"12x", 3000}, {" 7", 3000}, {"0x10", 3000}, {"99999999999999999999", INT32_MAX}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text != nullptr ? c.text : "(unset)");
    if (c.text != nullptr) {
      setenv("VK_SONY_CONFIRM_TIMEOUT_MS", c.text, 1);
    } else {
      unsetenv("VK_SONY_CONFIRM_TIMEOUT_MS");
    }
    EXPECT_EQ(c.ms, confirm_timeout_from_environment());
  }
  unsetenv("VK_SONY_CONFIRM_TIMEOUT_MS");
}

TEST(CachedProperty, AnyDifferingFieldOrByteCounts) {
  CrInt8u values[] = {1, 0, 2, 0};
  CrInt16u text[] = {3, 0x6261, 0x0063};  // length 3, "abc"
  auto record = [&] {
    SCRSDK::CrDeviceProperty r;
    r.SetCode(0x104);
    r.SetValueType(SCRSDK::CrDataType_UInt16Array);
    r.SetPropertyEnableFlag(SCRSDK::CrEnableValue_True);
    r.SetPropertyVariableFlag(SCRSDK::CrEnableValue_Variable);
    r.SetCurrentValue(2);
    r.SetCurrentStr(text);
    r.SetValueSize(4);
    r.SetValues(values);
    r.SetSetValueSize(4);
    r.SetSetValues(values);
    return r;
  };
  CrInt8u other_values[] = {1, 0, 3, 0};
  CrInt16u other_text[] = {3, 0x6261, 0x0064};
  using R = SCRSDK::CrDeviceProperty;
  const std::pair<const char*, std::function<void(R&)>> cases[] = {
      {"code", [](R& r) { r.SetCode(0x105); }},
      {"type", [](R& r) { r.SetValueType(SCRSDK::CrDataType_UInt32Array); }},
      {"enable flag", [](R& r) { r.SetPropertyEnableFlag(SCRSDK::CrEnableValue_DisplayOnly); }},
      {"variable flag", [](R& r) { r.SetPropertyVariableFlag(SCRSDK::CrEnableValue_Invariable); }},
      {"current value", [](R& r) { r.SetCurrentValue(3); }},
      {"current string text", [&](R& r) { r.SetCurrentStr(other_text); }},
      {"no current string", [](R& r) { r.SetCurrentStr(nullptr); }},
      {"candidate bytes", [&](R& r) { r.SetValues(other_values); }},
      {"candidate size", [](R& r) { r.SetValueSize(2); }},
      {"no candidates", [](R& r) { r.SetValues(nullptr); }},
      {"settable bytes", [&](R& r) { r.SetSetValues(other_values); }},
      {"settable size", [](R& r) { r.SetSetValueSize(2); }},
  };
  // `fresh` against a cache entry holding `cached`.
  const auto same = [](const SCRSDK::CrDeviceProperty& cached, const SCRSDK::CrDeviceProperty& fresh) {
    CachedProperty entry;
    entry.store(cached);
    return entry.same_as(fresh);
  };
  const SCRSDK::CrDeviceProperty base = record();
  EXPECT_TRUE(same(base, record()));
  for (const auto& [change, apply] : cases) {
    SCRSDK::CrDeviceProperty changed = record();
    apply(changed);
    EXPECT_FALSE(same(base, changed)) << change;
    EXPECT_FALSE(same(changed, base)) << change;
    EXPECT_TRUE(same(changed, SCRSDK::CrDeviceProperty(changed))) << change;
  }
  EXPECT_FALSE(same(SCRSDK::CrDeviceProperty(), base));
  EXPECT_TRUE(CachedProperty().same_as(SCRSDK::CrDeviceProperty()));

  // A copied or assigned entry compares its own buffers, not the source's.
  auto original = std::make_unique<CachedProperty>();
  original->store(base);
  const CachedProperty copy(*original);
  CachedProperty assigned;
  assigned = *original;
  original.reset();
  EXPECT_TRUE(copy.same_as(base));
  EXPECT_TRUE(assigned.same_as(base));
  EXPECT_EQ(copy.record().GetValueSize(), 4u);
}

TEST(CommandGate, HandsOverBetweenThreadsAndToleratesDoubleRelease) {
  CommandGate gate(false);
  std::atomic<bool> passed{false};
  std::thread waiter([&] {
    gate.acquire();
    passed = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(passed.load()) << "a closed gate let a taker through";
  gate.release();
  waiter.join();
  EXPECT_TRUE(passed.load());

  // The taker closed it again; two releases leave it open exactly once.
  gate.release();
  gate.release();
  gate.acquire();
  std::atomic<bool> second{false};
  std::thread again([&] {
    gate.acquire();
    second = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(second.load()) << "a double release opened the gate twice";
  gate.release();
  again.join();
  EXPECT_TRUE(second.load());

  // Abort wakes a waiting taker and refuses later ones, without taking.
  std::atomic<bool> taken{true};
  std::thread aborted([&] { taken = gate.acquire(); });
  gate.abort();
  aborted.join();
  EXPECT_FALSE(taken.load());
  gate.release();
  EXPECT_FALSE(gate.acquire());
}

TEST_F(CameraDeviceTest, AbortWakesEveryWaitAndLaterOnesReturnAtOnce) {
  ASSERT_TRUE(sim::load_scenario(kUsbFx6Scenario));
  device_ = std::make_unique<CameraDeviceUSB>();
  // Blocked at the closed gate of a camera that never connects.
  auto blocked = std::async(std::launch::async, [&] { device_->send_command(1, 1); });
  EXPECT_EQ(std::future_status::timeout, blocked.wait_for(std::chrono::milliseconds(30)));
  device_->abort_operations();
  ASSERT_EQ(std::future_status::ready, blocked.wait_for(std::chrono::seconds(5)));
  device_->abort_operations();  // idempotent
  EXPECT_EQ(std::vector<std::string>{"NACK"}, capture_->lines());
  EXPECT_EQ(0, count_prefix(sim::trace(), "SendCommand"));
  // A later hold of a minute returns at once.
  auto hold = std::async(std::launch::async, [&] { device_->press_button(0, 60000); });
  EXPECT_EQ(std::future_status::ready, hold.wait_for(std::chrono::seconds(5)));
}

TEST_F(CameraDeviceTest, NoReadyAfterFailedFetch) {
  connect_usb(std::string(kUsbFx6Scenario) + "fail get-properties\n");
  flush_raw_lines();
  const std::vector<std::string> lines = capture_->lines();
  EXPECT_EQ(1, count_line(lines, "get prop failed"));
  EXPECT_EQ(0, count_line(lines, "READY"));
  EXPECT_EQ(0, count_prefix(sim::trace(), "ReleaseDeviceProperties"));
}

TEST_F(CameraDeviceTest, BlackLevelAliasOnlyOnItsModels) {
  const std::string scenario =
      "camera IP PXW-Z200 192.168.1.30 00:11:22:33:44:55 no-ssh\n"
      "property 0x2AC Int16 3 rw\n";
  connect_ip(scenario, 20);
  ASSERT_TRUE(sim::fire("notify 0x2AC"));  // independent of the first batch
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_GE(count_prefix(capture_->lines(), "status PP_BLACK_LEVEL 3 "), 1);
  EXPECT_EQ(0, count_prefix(capture_->lines(), "status PAINTLOOK_MASTER_BLACK "));

  device_->model = 10;
  device_->report_property(0x2AC);
  EXPECT_EQ(1, count_prefix(capture_->lines(), "status PAINTLOOK_MASTER_BLACK 3 "));
  EXPECT_EQ("status PAINTLOOK_MASTER_BLACK 3 {3} RW", capture_->lines().back());
}

TEST_F(CameraDeviceTest, UnknownAndNeverSeenCodes) {
  connect_usb(kUsbFx6Scenario);
  const size_t before = capture_->lines().size();
  device_->report_property(0xFFFE);  // not a supported property: log only
  EXPECT_EQ(before, capture_->lines().size());
  device_->report_property(0x161);  // supported but never reported
  EXPECT_EQ(1, count_prefix(capture_->lines(), "status SHUTTER_ECS_NUMBER "));
}

// A record reported again unchanged gives the same line again, and a
// record whose line needs a diagnostic gives the diagnostic again with it.
TEST_F(CameraDeviceTest, UnchangedReportsRepeatLinesAndDiagnostics) {
  connect_usb(std::string(kUsbFx6Scenario) + "property 0x115 UInt16 5600 rw 1 2 type=0x6001\n");
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(sim::fire("notify 0x104 0x115"));
  ASSERT_TRUE(sim::wait_idle());
  ASSERT_TRUE(sim::fire("change 0x104 800"));
  ASSERT_TRUE(sim::fire("notify 0x104"));
  ASSERT_TRUE(sim::wait_idle());
  const std::vector<std::string> lines = capture_->lines();
  EXPECT_EQ(3, count_line(lines, "status ISO 400 [100 200 400 800] RW"));
  EXPECT_EQ(2, count_line(lines, "status ISO 800 [100 200 400 800] RW"));
  const int wb_lines = count_prefix(lines, "status WB ");
  EXPECT_EQ(3, wb_lines);
  EXPECT_EQ(wb_lines, count_line(lines, "unhandled unit"));
}

TEST_F(CameraDeviceTest, FatalEventsAreToldThreeWays) {
  connect_usb(kUsbFx6Scenario);
  struct Case {
    const char* event;
    const char* message;
  };
  const Case cases[] = {
      {"error 0x8201",
       "OnError requests shutdown: camera already handled by another program, status: 0x8201 (33281) "},
      {"error 0x8216",
       "OnError requests shutdown: connection failed (invalid login/password), status: 0x8216 (33302) "},
      {"error 0x8202", "OnError requests shutdown, status: 0x8202 (33282) "},
      {"warning 0x20002", "OnWarning requests shutdown, status: 0x20002 (131074) "},
      {"warning 0x20007", "OnWarning requests shutdown, status: 0x20007 (131079) "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.event);
    running = true;
    const size_t before = capture_->lines().size();
    testing::internal::CaptureStderr();
    ASSERT_TRUE(sim::fire(c.event));
    ASSERT_TRUE(sim::wait_idle());
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find(c.message));
    const std::vector<std::string> lines = capture_->lines();
    ASSERT_EQ(before + 1, lines.size());
    EXPECT_EQ("DISCONNECTED", lines.back());
    EXPECT_FALSE(running.load());
  }
  // Error 0 is no error.
  running = true;
  testing::internal::CaptureStderr();
  ASSERT_TRUE(sim::fire("error 0"));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_TRUE(running.load());
}

TEST_F(CameraDeviceTest, DownloadReportsDone) {
  connect_usb(kUsbFx6Scenario);
  ASSERT_TRUE(sim::fire("download clip.mxf"));
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ("status DOWNLOAD done", capture_->lines().back());
}

}  // namespace
