// Shared fixture of the device tests: a device connected to the simulated
// camera, with standard output captured and an injected step clock.
#ifndef VK_SONY_DEVICE_DEVICE_TEST_SUPPORT_H
#define VK_SONY_DEVICE_DEVICE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "sim/sim_control.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_dir.h"

inline constexpr char kUsbFx6Scenario[] =
    "camera USB ILME-FX6 D10042\n"
    "property 0x104 UInt32 400 rw 100 200 400 800\n"
    "property 0x126 Int8 0 rw\n"
    "property 0x15D Int8 0 rw\n"
    "property 0x15E Int16Range 0 rw\n"
    "lv-property 0x121 1234\n";

inline std::atomic<int64_t> fake_now_ns{0};
inline int64_t fake_clock() { return fake_now_ns.load(); }

inline int count_line(const std::vector<std::string>& lines, const std::string& line) {
  int n = 0;
  for (const std::string& l : lines) n += (l == line) ? 1 : 0;
  return n;
}

inline int count_prefix(const std::vector<std::string>& lines, const std::string& prefix) {
  int n = 0;
  for (const std::string& l : lines) n += (l.rfind(prefix, 0) == 0) ? 1 : 0;
  return n;
}

// Trace lines starting with `prefix`, in order.
inline std::vector<std::string> traced(const std::string& prefix) {
  std::vector<std::string> out;
  for (const std::string& l : sim::trace()) {
    if (l.rfind(prefix, 0) == 0) out.push_back(l);
  }
  return out;
}

class CameraDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sim::reset();
    reset_step_memory();
    fake_now_ns = 0;
    set_step_clock(&fake_clock);
    running = true;
    capture_ = std::make_unique<StdoutCapture>();
  }

  void TearDown() override {
    sim::reset();  // stops the simulator's threads before the device goes
    device_.reset();
    capture_.reset();
    set_step_clock(nullptr);
    reset_step_memory();
    running = true;
  }

  // Connects device_ (already built) and waits for the first reports.
  void connect_existing(uint32_t model, bool quick = false, bool ip = false) {
    ASSERT_TRUE(SCRSDK::Init(0));
    device_->model = model;
    device_->quick_ack = quick;
    SCRSDK::ICrCameraObjectInfo* info = nullptr;
    if (ip) {
      CrInt8u mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
      ASSERT_EQ(0, SCRSDK::CreateCameraObjectInfoEthernetConnection(
                       &info, static_cast<SCRSDK::CrCameraDeviceModelList>(model), 0x1E01A8C0u, mac, 0));
    } else {
      CrInt8u serial[] = "D10042";
      ASSERT_EQ(0, SCRSDK::CreateCameraObjectInfoUSBConnection(
                       &info, static_cast<SCRSDK::CrCameraDeviceModelList>(model), serial));
    }
    const SCRSDK::CrError connected = SCRSDK::Connect(info, device_.get(), &device_->device_handle);
    info->Release();
    ASSERT_EQ(0, connected);
    ASSERT_TRUE(sim::wait_idle());
  }

  void connect_usb(const std::string& scenario, uint32_t model = 10, bool quick = false) {
    ASSERT_TRUE(sim::load_scenario(scenario));
    device_ = std::make_unique<CameraDeviceUSB>();
    connect_existing(model, quick, false);
  }

  void connect_ip(const std::string& scenario, uint32_t model, bool quick = false) {
    ASSERT_TRUE(sim::load_scenario(scenario));
    device_ = std::make_unique<CameraDeviceIP>();
    connect_existing(model, quick, true);
  }

  // Drops the device and the simulated camera, as between two runs.
  void disconnect_all() {
    sim::reset();
    device_.reset();
    reset_step_memory();
  }

  // Waits until `line` has been written `n` times in all; false on timeout.
  bool wait_for_line(const std::string& line, int n = 1) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
      if (count_line(capture_->lines(), line) >= n) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
  }

  std::unique_ptr<StdoutCapture> capture_;
  std::unique_ptr<CameraDevice> device_;
};

#endif  // VK_SONY_DEVICE_DEVICE_TEST_SUPPORT_H
