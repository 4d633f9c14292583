// Camera operations driven by the parent's commands: property writes,
// buttons, stepping adjustments, recording, menu, time code and LUT import.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"

namespace {

constexpr uint32_t kWbCode = 0x115;
constexpr uint32_t kColorTempStepCode = 0x15B;
constexpr uint32_t kWbTintCode = 0x15D;
constexpr uint32_t kWbTintStepCode = 0x15E;
constexpr uint32_t kShutterEcsNumberCode = 0x161;
constexpr uint32_t kShutterEcsNumberStepCode = 0x162;
constexpr uint32_t kAwbCode = 0x183;
constexpr uint32_t kPushAutoFocusCode = 0x29C;
constexpr uint32_t kTypeInt8 = 0x1001;
constexpr uint32_t kTypeUInt16Array = 0x2002;
constexpr uint32_t kTypeInt16Range = 0x5002;
constexpr int64_t kMemoryRefreshNs = 2'000'000'000;
constexpr int32_t kMaxWbStep = 30;

int64_t wall_clock_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

struct StepMemory {
  uint64_t last = 0;
  int64_t stamp = 0;
};

std::mutex memory_mutex;
StepClockFn step_clock = wall_clock_ns;      // GUARDED_BY(memory_mutex)
std::map<uint32_t, StepMemory> step_memory;  // GUARDED_BY(memory_mutex)

// The value to step from: the previous target when it is at most 2 s old,
// else `cached` (also on the first call). Stamps the memory with now.
uint64_t step_base(uint32_t base_code, uint64_t cached) {
  std::lock_guard<std::mutex> lock(memory_mutex);
  const int64_t now = step_clock();
  auto found = step_memory.find(base_code);
  if (found == step_memory.end()) found = step_memory.emplace(base_code, StepMemory{cached, now}).first;
  StepMemory& memory = found->second;
  const uint64_t base = (now - memory.stamp > kMemoryRefreshNs) ? cached : memory.last;
  memory.stamp = now;
  return base;
}

void remember_target(uint32_t base_code, uint64_t target) {
  std::lock_guard<std::mutex> lock(memory_mutex);
  step_memory[base_code].last = target;
}

bool is_stepping_ip_model(uint32_t model) { return model == 10 || model == 17 || model == 20 || model == 21; }

// The camera's colour-temperature step scale.
int64_t wb_scale(double kelvin, uint32_t model) {
  if (kelvin < 5641 || model == 20 || model == 21) return static_cast<int64_t>(-100 + 0.05 * kelvin);
  const double t = kelvin;
  return static_cast<int64_t>(2.105649036292e-18 * t * t * t * t * t - 1.266816063287e-13 * t * t * t * t +
                              3.112499347491e-09 * t * t * t - 3.9940504e-05 * t * t + 0.2821455926701 * t -
                              580.9403643885);
}

}  // namespace

void set_step_clock(StepClockFn clock) {
  std::lock_guard<std::mutex> lock(memory_mutex);
  step_clock = clock != nullptr ? clock : wall_clock_ns;
}

void reset_step_memory() {
  std::lock_guard<std::mutex> lock(memory_mutex);
  step_memory.clear();
}

void CameraDevice::send_command(uint32_t id, uint32_t param) {
  if (!command_gate->acquire()) {
    ack_pending = true;
    nack();
    return;
  }
  ack_pending = true;
  (void)SCRSDK::SendCommand(device_handle, id, static_cast<SCRSDK::CrCommandParam>(param));
  ack();
  command_gate->release();
}

void CameraDevice::press_button(uint32_t id, int hold_ms) {
  (void)SCRSDK::SendCommand(device_handle, id, SCRSDK::CrCommandParam_Down);
  if (hold_ms != 0) pause_ms(hold_ms);
  (void)SCRSDK::SendCommand(device_handle, id, SCRSDK::CrCommandParam_Up);
  ack_if(true);
}

void CameraDevice::set_property(const SCRSDK::CrDeviceProperty& property, uint64_t value, uint32_t code,
                                uint32_t type) {
  if (!command_gate->acquire()) {
    ack_pending = true;
    nack();
    return;
  }
  ack_pending = true;
  const uint64_t current = property.GetCurrentValue();
  if (code == 0) {
    code = property.GetCode();
    type = property.GetValueType();
  }
  const PropertyInfo* row = find_property(code);
  const bool always_send = row != nullptr && row->alwaysSend;
  if (value == current && !always_send && !quick_ack.load()) {
    ack();
    command_gate->release();
    return;
  }
  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetCurrentValue(value);
  request.SetValueType(static_cast<SCRSDK::CrDataType>(type));
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    nack();
    command_gate->release();  // deliberately a second time; the gate tolerates it
    return;
  }
  if (quick_ack.load()) {
    ack();
    command_gate->release();
  }
  // Otherwise OnPropertyChanged acknowledges and opens the gate.
}

void CameraDevice::set_property_from_text(uint32_t code, const std::string& text) {
  const PropertyInfo* row = find_property(code);
  if (row == nullptr || row->fromText == nullptr) {
    log_message("setProperty: Unsupported property code: " + std::to_string(code));
    ack_pending = true;
    nack();
    return;
  }
  SCRSDK::CrDeviceProperty property;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    property = properties[code];
  }
  const uint64_t value = row->fromText(text);  // may throw: ends the process by design
  set_property(property, value, 0, 0);
}

void CameraDevice::set_operation(uint32_t code, int32_t amount) {
  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetCurrentValue(static_cast<uint64_t>(static_cast<int64_t>(amount)));
  request.SetValueType(static_cast<SCRSDK::CrDataType>(kTypeInt8));
  if (!command_gate->acquire()) {
    ack_pending = true;
    nack();
    return;
  }
  ack_pending = true;
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    nack();
    command_gate->release();
    return;
  }
  ack();
  command_gate->release();
}

void CameraDevice::property_button(uint32_t code) {
  int hold_ms = 0;
  if (code == kAwbCode) {
    hold_ms = 100;
  } else if (code == kPushAutoFocusCode) {
    hold_ms = 2000;
  } else {
    log_message("propertyButton: Unsupported property code: " + std::to_string(code));
    ack_pending = true;
    nack();
    return;
  }
  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetValueType(static_cast<SCRSDK::CrDataType>(kTypeUInt16Array));
  if (!command_gate->acquire()) {
    ack_pending = true;
    nack();
    return;
  }
  ack_pending = true;
  request.SetCurrentValue(1);
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    nack();
    command_gate->release();
    return;
  }
  pause_ms(hold_ms);
  request.SetCurrentValue(2);
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    nack();
    command_gate->release();
    return;
  }
  ack_if(true);
  command_gate->release();
}

void CameraDevice::step_property(uint32_t step_code, int32_t step) {
  SCRSDK::CrDeviceProperty property;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    property = properties[step_code];
  }
  set_property(property, static_cast<uint64_t>(static_cast<int64_t>(step)), step_code, kTypeInt16Range);
}

void CameraDevice::set_absolute_by_steps(uint32_t base_code, int32_t target) {
  uint32_t step_code = 0;
  if (base_code == kWbTintCode) {
    step_code = kWbTintStepCode;
  } else if (base_code == kShutterEcsNumberCode) {
    step_code = kShutterEcsNumberStepCode;
  } else {
    log_message("setAbsoluteBySteps: Unsupported property code: " + std::to_string(base_code));
    ack_pending = true;
    nack();
    return;
  }
  uint64_t cached = 0;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    cached = properties[base_code].GetCurrentValue();
  }
  const uint64_t base = step_base(base_code, cached);
  remember_target(base_code, static_cast<uint64_t>(static_cast<int64_t>(target)));
  step_property(step_code, static_cast<int32_t>(static_cast<int64_t>(target) - static_cast<int64_t>(base)));
}

void CameraDevice::request_menu() {
  ack_pending = true;
  if (!command_gate->acquire()) {
    nack();
    return;
  }
  if (SCRSDK::RequestDisplayStringList(device_handle, SCRSDK::CrDisplayStringType_AllList) != 0) nack();
  // On success OnWarning answers and opens the gate.
}

void CameraDevice::read_timecode() {
  SCRSDK::CrImageInfo info;
  if (SCRSDK::GetLiveViewImageInfo(device_handle, &info) != 0) return;
  std::vector<CrInt8u> buffer(info.GetBufferSize(), 0);
  SCRSDK::CrImageDataBlock block;
  block.SetSize(info.GetBufferSize());
  block.SetData(buffer.data());
  (void)SCRSDK::GetLiveViewImage(device_handle, &block);
  SCRSDK::CrLiveViewProperty* list = nullptr;
  CrInt32 count = 0;
  if (SCRSDK::GetLiveViewProperties(device_handle, &list, &count) != 0 || list == nullptr) return;
  if (count > 0) {
    const int tc = static_cast<int>(list[0].GetTimeCode());
    // A raw line: it leaves with the next status line.
    const std::string text = "status TC " + std::to_string(tc) + " [" + std::to_string(tc) + "] RO";
    write_raw_line(text);
  }
  (void)SCRSDK::ReleaseLiveViewProperties(device_handle, list);
}

void CameraDevice::import_lut(const std::string& path, const std::string& slot_text) {
  int slot = 0;
  for (int n = 1; n <= 16; ++n) {
    if (slot_text == std::to_string(n)) slot = n;
  }
  std::vector<CrChar> name(path.begin(), path.end());
  name.push_back(0);
  const auto result =
      SCRSDK::ImportLUTFile(device_handle, name.data(), static_cast<SCRSDK::CrBaseLookNumber>(slot));
  ack_pending = true;
  if (result != 0) {
    nack();
  } else {
    ack();
  }
}

void CameraDevice::plain_ack() { ack_if(true); }

void CameraDeviceUSB::set_wb(uint64_t kelvin) {
  SCRSDK::CrDeviceProperty property;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    property = properties[kWbCode];
  }
  set_property(property, kelvin, 0, 0);
}

void CameraDeviceUSB::set_recording(uint64_t value) {
  if (value == 1 || value == 0) {
    send_command(1, static_cast<uint32_t>(value));
  } else {
    ack_pending = true;
    nack();
  }
}

void CameraDeviceIP::set_wb(uint64_t kelvin) {
  SCRSDK::CrDeviceProperty property;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    property = properties[kWbCode];
  }
  if (!is_stepping_ip_model(model)) {
    set_property(property, kelvin, 0, 0);
    return;
  }
  const uint64_t base = step_base(kWbCode, property.GetCurrentValue());
  const size_t width = element_width(property.GetValueType());
  const CrInt8u* values = property.GetValues();
  const size_t size = property.GetValueSize();
  int64_t steps = 0;
  // A range lists minimum, maximum and step; a step of 100 K is linear.
  if (size > 2 && values != nullptr && 2 * width < size && values[2 * width] == 100) {
    steps = (static_cast<int64_t>(kelvin) - static_cast<int64_t>(base)) / 100;
  } else {
    steps = wb_scale(static_cast<double>(kelvin), model) - wb_scale(static_cast<double>(base), model);
  }
  // Only the last step is acknowledged to the parent.
  ack_suppressed = true;
  bool stepped = false;
  while (steps > kMaxWbStep || steps < -kMaxWbStep) {
    const int32_t step = steps > 0 ? kMaxWbStep : -kMaxWbStep;
    step_property(kColorTempStepCode, step);
    steps -= step;
    if (!pause_ms(100)) break;
    stepped = true;
  }
  if (!stepped) pause_ms(100);
  remember_target(kWbCode, kelvin);
  ack_suppressed = false;
  step_property(kColorTempStepCode, static_cast<int32_t>(steps));
}

void CameraDeviceIP::set_recording(uint64_t value) {
  if (!is_stepping_ip_model(model)) {
    if (value == 1 || value == 0) {
      send_command(1, static_cast<uint32_t>(value));
    } else {
      ack_pending = true;
      nack();
    }
    return;
  }
  // These models toggle recording with a press and release of one button.
  ack_suppressed = true;
  send_command(11, 0);
  pause_ms(100);
  send_command(11, 1);
  ack_suppressed = false;
  ack_if(true);
}
