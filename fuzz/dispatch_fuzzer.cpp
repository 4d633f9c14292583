// Fuzzes the command dispatch against a connected simulated camera, in
// process. Each input is a few lines: command lines for the bridge, and
// lines starting with "!" that the camera plays as control events (its own
// changes, errors, warnings) while the commands run. After each input the
// camera settles and the acknowledgement gate must be open again: a command
// that leaves it shut stops the bridge for good.
//
// Hold times of button presses are the parent's to choose and are waited
// for real; here any number above 20 in an "action" line is made 20, so that
// inputs stay fast. Writes that the camera never confirms end at a short
// deadline (30 ms).
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "protocol/command_reader.h"
#include "sim/sim_control.h"
#include "sim/sim_internal.h"

namespace {

// The default camera, confirming at once, and a few malformed records.
std::string scenario_text() {
  return std::string(sim::kDefaultScenario) +
         "\nconfirm 0\n"
         "property 0x765 UInt32 12345 ro\n"
         "property 0x100 UInt16 280 rw bytes=01020304050607\n";
}

CameraDevice* device = nullptr;
PropertyCodes codes;

// Ends the process with `what` when an input runs longer than the deadline.
class Watchdog {
 public:
  Watchdog() : thread_([this] { run(); }) { thread_.detach(); }
  void arm(const std::string& what, std::chrono::milliseconds limit) {
    std::lock_guard<std::mutex> lock(mutex_);
    what_ = what;
    deadline_ = std::chrono::steady_clock::now() + limit;
    armed_ = true;
    changed_.notify_all();
  }
  void disarm() {
    std::lock_guard<std::mutex> lock(mutex_);
    armed_ = false;
  }

 private:
  void run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      if (!armed_) {
        changed_.wait(lock);
        continue;
      }
      if (changed_.wait_until(lock, deadline_) == std::cv_status::timeout && armed_ &&
          std::chrono::steady_clock::now() >= deadline_) {
        std::fprintf(stderr, "dispatch fuzzer: %s\n", what_.c_str());
        std::abort();
      }
    }
  }
  std::mutex mutex_;
  std::condition_variable changed_;
  bool armed_ = false;                              // GUARDED_BY(mutex_)
  std::string what_;                                // GUARDED_BY(mutex_)
  std::chrono::steady_clock::time_point deadline_;  // GUARDED_BY(mutex_)
  std::thread thread_;
};

Watchdog& watchdog() {
  static auto* dog = new Watchdog;
  return *dog;
}

// Caps the numbers of an "action" line at 20 (see the file comment).
std::string capped(const std::string& line) {
  const CommandWords words = split_command(line);
  if (words.verb != "action") return line;
  std::string out = words.verb + " " + words.name;
  for (const std::string* word : {&words.value, &words.extra}) {
    std::string w = *word;
    char* end = nullptr;
    const long long number = std::strtoll(w.c_str(), &end, 10);
    if (end != w.c_str() && number > 20) w = "20";
    out += " " + w;
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  sim::reset();
  std::string error;
  if (!sim::load_scenario(scenario_text(), &error)) {
    std::fprintf(stderr, "scenario: %s\n", error.c_str());
    std::abort();
  }
  if (!SCRSDK::Init(0)) std::abort();
  auto* usb = new CameraDeviceUSB();
  usb->model = 10;  // ILME-FX6 over USB: confirmation by the camera's report
  usb->confirm_timeout_ms = 30;
  SCRSDK::ICrCameraObjectInfo* info = nullptr;
  CrInt8u serial[] = "D10042";
  if (SCRSDK::CreateCameraObjectInfoUSBConnection(&info, static_cast<SCRSDK::CrCameraDeviceModelList>(10),
                                                  serial) != 0) {
    std::abort();
  }
  if (SCRSDK::Connect(info, usb, &usb->device_handle) != 0) std::abort();
  info->Release();
  if (!sim::wait_idle()) std::abort();
  for (const auto& [code, row] : propertyTable) codes[row.name] = code;
  device = usb;
  running = true;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A camera error or warning of an earlier input may have ended the run;
  // each input starts a run afresh.
  running = true;
  device->connected = true;
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size() && lines.size() < 16) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  for (const std::string& line : lines) {
    if (!line.empty() && line[0] == '!') {
      // Disconnection would end this camera for every later input.
      if (line.compare(1, 10, "disconnect") == 0) continue;
      (void)sim::fire(line.substr(1));
      continue;
    }
    const std::string command = capped(line);
    watchdog().arm("command did not return: " + command, std::chrono::seconds(5));
    dispatch_command(device, codes, command);  // never throws
    watchdog().disarm();
  }
  watchdog().arm("the camera did not settle", std::chrono::seconds(5));
  (void)sim::wait_idle();
  watchdog().arm("the acknowledgement gate stayed shut", std::chrono::seconds(2));
  if (device->command_gate->acquire()) device->command_gate->release();
  watchdog().disarm();
  sim::clear_trace();  // the simulator keeps its trace in memory for tests
  return 0;
}
