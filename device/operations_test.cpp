// Tests of the camera operations against the simulated SDK: the no-change
// rule, refusals, stepping adjustments, recording, menu, LUT and time code.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "device/camera_device.h"
#include "device/device_test_support.h"
#include "sim/sim_control.h"

namespace {

constexpr char kFx6IpHead[] = "camera IP ILME-FX6 192.168.1.30 00:11:22:33:44:55 no-ssh\n";

std::string set_line(const char* code, const std::string& value) {
  return std::string("SetDeviceProperty code=") + code + " value=" + value + " ";
}

TEST_F(CameraDeviceTest, AlwaysSendPropertyIsWrittenEvenWhenUnchanged) {
  connect_usb(kUsbFx6Scenario);
  sim::clear_trace();
  SCRSDK::CrDeviceProperty zoom;
  {
    std::lock_guard<std::mutex> lock(device_->cache_mutex);
    zoom = device_->properties[0x126].record();
  }
  device_->set_property(zoom, 0);
  EXPECT_EQ(1, count_prefix(sim::trace(), set_line("0x126", "0")));
}

// What the camera could not carry out, or would take without confirming, is
// refused with one "NACK" and never sent; a step of 0 changes nothing.
TEST_F(CameraDeviceTest, WritesTheCameraCannotTakeAreRefusedWithoutSending) {
  connect_usb(std::string(kUsbFx6Scenario) +
              "property 0x729 UInt32 800 ro 400 800\n"
              "property 0x765 STR \"FE 24-70mm\" rw\n"
              "property 0x161 UInt16Range 10 rw 0 10 1\n");
  ASSERT_TRUE(sim::fire("notify 0x729 0x765 0x161"));  // the handle is surely set now
  ASSERT_TRUE(sim::wait_idle());
  struct Case {
    const char* what;
    std::function<void()> run;
    const char* answer;
  };
  const Case cases[] = {
      {"read-only", [&] { device_->set_property_from_text(0x729, "400"); }, "NACK"},
      {"text", [&] { device_->set_property_from_text(0x765, "1"); }, "NACK"},
      {"unknown map word", [&] { device_->set_property_from_text(0x104, "AUTO\r"); }, "NACK"},
      {"step past the range", [&] { device_->step_property(0x162, 1); }, "NACK"},
      {"step beyond 16 bits", [&] { device_->step_property(0x15E, -32769); }, "NACK"},
      {"generic step beyond 16 bits", [&] { device_->set_property_from_text(0x15E, "-2147483648"); }, "NACK"},
      {"absolute target outside the range", [&] { device_->set_absolute_by_steps(0x161, 11); }, "NACK"},
      {"step of 0", [&] { device_->step_property(0x15E, 0); }, "ACK"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    sim::clear_trace();
    const size_t before = capture_->lines().size();
    c.run();
    const std::vector<std::string> lines = capture_->lines();
    EXPECT_EQ(std::vector<std::string>(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end()),
              std::vector<std::string>{c.answer});
    EXPECT_TRUE(traced("SetDeviceProperty").empty());
  }
}

// The deadline answers "NACK" once; the late confirmation then updates the
// status but answers nothing, and the gate is open again.
TEST_F(CameraDeviceTest, DeadlineAnswersNackAndALateConfirmationNothing) {
  connect_usb(std::string(kUsbFx6Scenario) + "confirm 300\n");
  device_->confirm_timeout_ms = 30;
  device_->set_property_from_text(0x104, "800");
  EXPECT_EQ("NACK", capture_->lines().back());
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (count_prefix(capture_->lines(), "status ISO 800 ") == 0 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ASSERT_EQ(1, count_prefix(capture_->lines(), "status ISO 800 "));
  EXPECT_EQ(0, count_line(capture_->lines(), "ACK"));
  device_->confirm_timeout_ms = 3000;
  device_->set_property_from_text(0x104, "200");
  EXPECT_EQ(1, count_line(capture_->lines(), "ACK"));
  EXPECT_EQ(1, count_line(capture_->lines(), "NACK"));
}

// Normal mode: the batch that reports the written code is cached, then
// answered, then reported. Quick mode: the "ACK" precedes the status line
// the write caused, however fast the camera reports.
TEST_F(CameraDeviceTest, AckPrecedesTheStatusLineTheWriteCaused) {
  for (bool quick : {false, true}) {
    SCOPED_TRACE(quick ? "quick" : "normal");
    disconnect_all();
    connect_usb(std::string(kUsbFx6Scenario) + "confirm 0\n", 10, quick);
    const size_t first = capture_->lines().size();
    for (int i = 0; i < 20; ++i) device_->set_property_from_text(0x104, i % 2 == 0 ? "800" : "400");
    ASSERT_TRUE(sim::wait_idle());
    int acks = 0;
    int reports = 0;
    const std::vector<std::string> lines = capture_->lines();
    for (size_t i = first; i < lines.size(); ++i) {
      const std::string& line = lines[i];
      acks += line == "ACK" ? 1 : 0;
      if (line.rfind("status ISO ", 0) == 0) {
        ++reports;
        EXPECT_LE(reports, acks) << "a status line came before the ACK of its write";
      }
    }
    EXPECT_EQ(20, acks);
    EXPECT_EQ(20, reports);
  }
}

TEST_F(CameraDeviceTest, PropertyButtonPressesAndReleases) {
  connect_usb(std::string(kUsbFx6Scenario) + "property 0x183 UInt16Array 1 rw\n");
  sim::clear_trace();
  const auto start = std::chrono::steady_clock::now();
  device_->property_button(0x183);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
  const std::vector<std::string> writes = traced("SetDeviceProperty");
  ASSERT_EQ(2u, writes.size());
  EXPECT_EQ(0u, writes[0].rfind(set_line("0x183", "1") + "type=0x2002", 0));
  EXPECT_EQ(0u, writes[1].rfind(set_line("0x183", "2") + "type=0x2002", 0));
  // The camera's reports of the button's state add no answer of their own.
  ASSERT_TRUE(sim::wait_idle());
  EXPECT_EQ(1, count_line(capture_->lines(), "ACK"));
}

TEST_F(CameraDeviceTest, WbStepsOnSteppingIpModel) {
  struct Case {
    const char* wb_property;
    uint64_t kelvin;
    std::vector<std::string> steps;
  };
  const Case cases[] = {
      // A range with a 100 K step: 66 steps.
      {"property 0x115 UInt16Range 3200 rw 2000 15000 100\n", 9800, {"30", "30", "6"}},
      // Linear scale below 5641 K: 0.05 x (5000 - 3200) = 90 steps.
      {"property 0x115 UInt16 3200 rw 3200 5600\n", 5000, {"30", "30", "30"}},
      // Downwards, sign-extended: -66 steps.
      {"property 0x115 UInt16Range 9800 rw 2000 15000 100\n",
       3200,
       {"18446744073709551586", "18446744073709551586", "18446744073709551610"}},
      // Nothing to step still waits once; a final step of 0 is not sent.
      {"property 0x115 UInt16Range 3200 rw 2000 15000 100\n", 3250, {}},
      // A target past the range is clamped to it: 118 steps to 15000 K.
      {"property 0x115 UInt16Range 3200 rw 2000 15000 100\n", 2147483647, {"30", "30", "30", "28"}},
      // Without a range the number of steps is capped (33 rounds of 30).
      {"property 0x115 UInt16 3200 rw\n", 18446744073709551615ull, std::vector<std::string>(33, "30")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kelvin);
    disconnect_all();
    connect_ip(std::string(kFx6IpHead) + c.wb_property + "property 0x15B Int16Range 0 rw\n", 10, true);
    // Fetch the WB range again with the handle surely set: the first batch may
    // race with Connect storing the handle.
    ASSERT_TRUE(sim::fire("notify 0x115"));
    ASSERT_TRUE(sim::wait_idle());
    sim::clear_trace();
    const int acks = count_line(capture_->lines(), "ACK");
    const auto start = std::chrono::steady_clock::now();
    device_->set_wb(c.kelvin);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    const std::vector<std::string> writes = traced("SetDeviceProperty");
    ASSERT_EQ(c.steps.size(), writes.size()) << ::testing::PrintToString(writes);
    for (size_t i = 0; i < writes.size(); ++i) {
      EXPECT_EQ(0u, writes[i].rfind(set_line("0x15b", c.steps[i]) + "type=0x5002", 0)) << writes[i];
    }
    const size_t sleeps = c.steps.size() > 1 ? c.steps.size() - 1 : 1;
    EXPECT_GE(elapsed, std::chrono::milliseconds(100 * sleeps));
    EXPECT_EQ(acks + 1, count_line(capture_->lines(), "ACK"));
  }
}

TEST_F(CameraDeviceTest, AbsoluteTargetsStepFromRecentTargetOrCache) {
  connect_usb(kUsbFx6Scenario, 10, /*quick=*/true);
  sim::clear_trace();
  device_->set_absolute_by_steps(0x15D, 10);  // first: from the cached 0
  fake_now_ns = 1'000'000'000;
  device_->set_absolute_by_steps(0x15D, 15);  // 1 s later: from the target 10
  fake_now_ns = 1'500'000'000;
  device_->set_absolute_by_steps(0x15D, 12);  // from 15: a negative step
  ASSERT_TRUE(sim::fire("change 0x15D 20"));
  ASSERT_TRUE(sim::wait_idle());
  fake_now_ns = 4'000'000'000;
  device_->set_absolute_by_steps(0x15D, 25);  // 2.5 s later: from the cache
  const std::vector<std::string> writes = traced("SetDeviceProperty");
  const std::vector<std::string> expected = {"10", "5", "18446744073709551613", "5"};
  ASSERT_EQ(expected.size(), writes.size());
  for (size_t i = 0; i < writes.size(); ++i) {
    EXPECT_EQ(0u, writes[i].rfind(set_line("0x15e", expected[i]), 0)) << writes[i];
  }
  EXPECT_EQ(4, count_line(capture_->lines(), "ACK"));
}

TEST_F(CameraDeviceTest, RecordingToggleOnIpModels) {
  for (uint32_t model : {10u, 17u, 20u, 21u}) {
    SCOPED_TRACE(model);
    disconnect_all();
    connect_ip(std::string("camera IP ") + camera_model_name(model) + " 192.168.1.30 00:11:22:33:44:55 ssh\n",
               model);
    sim::clear_trace();
    const int acks = count_line(capture_->lines(), "ACK");
    const auto start = std::chrono::steady_clock::now();
    device_->set_recording(0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    const std::vector<std::string> commands = traced("SendCommand");
    ASSERT_EQ(2u, commands.size());
    EXPECT_EQ("SendCommand id=11 param=0", commands[0]);
    EXPECT_EQ("SendCommand id=11 param=1", commands[1]);
    EXPECT_EQ(acks + 1, count_line(capture_->lines(), "ACK"));
  }
  // Other models record with command 1 and refuse other values.
  disconnect_all();
  connect_ip("camera IP ILCE-7SM3 192.168.1.10 00:11:22:33:44:55 no-ssh\n", 3);
  sim::clear_trace();
  const int acks = count_line(capture_->lines(), "ACK");
  device_->set_recording(1);
  device_->set_recording(2);
  EXPECT_EQ(std::vector<std::string>{"SendCommand id=1 param=1"}, traced("SendCommand"));
  EXPECT_EQ(acks + 1, count_line(capture_->lines(), "ACK"));
  EXPECT_EQ(1, count_line(capture_->lines(), "NACK"));
}

// The camera's menu results are the model test's.
TEST_F(CameraDeviceTest, FailedMenuRequestAnswersNack) {
  connect_usb(std::string(kUsbFx6Scenario) + "fail menu\n");
  device_->request_menu();
  ASSERT_TRUE(wait_for_line("NACK", 1));
  ASSERT_TRUE(sim::wait_idle());
  device_->set_property_from_text(0x104, "400");  // the gate is open again
  EXPECT_EQ("ACK", capture_->lines().back());
}

TEST_F(CameraDeviceTest, LutSlotComesOnlyFromExactTexts) {
  connect_usb(kUsbFx6Scenario);
  const std::pair<const char*, const char*> cases[] = {{"1", "1"}, {"16", "16"}, {"17", "0"}, {"01", "0"},
                                                       {"0", "0"}, {"", "0"},    {" 3", "0"}};
  for (const auto& [text, slot] : cases) {
    SCOPED_TRACE(text);
    sim::clear_trace();
    device_->import_lut("looks/a.cube", text);
    const std::vector<std::string> calls = traced("ImportLUTFile");
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(0u, calls[0].rfind(std::string("ImportLUTFile file=looks/a.cube slot=") + slot + " ", 0))
        << calls[0];
    EXPECT_EQ("ACK", capture_->lines().back());
  }
}

TEST_F(CameraDeviceTest, LutFailureAnswersNack) {
  connect_usb(std::string(kUsbFx6Scenario) + "fail lut\n");
  device_->import_lut("a.cube", "2");
  EXPECT_EQ("NACK", capture_->lines().back());
}

TEST_F(CameraDeviceTest, TimecodeLineIsWrittenRaw) {
  connect_usb(kUsbFx6Scenario);
  const int acks = count_line(capture_->lines(), "ACK");
  device_->read_timecode();
  // No flush of its own: it leaves with the next flushed line.
  EXPECT_EQ(0, count_prefix(capture_->lines(), "status TC"));
  flush_raw_lines();
  EXPECT_EQ("status TC 1234 [1234] RO", capture_->lines().back());
  EXPECT_EQ(acks, count_line(capture_->lines(), "ACK"));
}

}  // namespace
