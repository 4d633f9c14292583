// Camera operations driven by the parent's commands: property writes,
// buttons, stepping adjustments, recording, menu, time code and LUT import.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"

namespace {

// The largest live-view image buffer the bridge allocates (a camera reports
// a few hundred kilobytes).
constexpr CrInt32u kMaxLiveViewBufferBytes = 16u << 20;

constexpr uint32_t kWbCode = 0x115;
constexpr uint32_t kColorTempStepCode = 0x15B;
constexpr uint32_t kWbTintStepCode = 0x15E;
constexpr uint32_t kAwbCode = 0x183;
constexpr uint32_t kPushAutoFocusCode = 0x29C;
constexpr uint32_t kTypeInt8 = 0x1001;
constexpr uint32_t kTypeUInt16Array = 0x2002;
constexpr uint32_t kTypeInt16Range = 0x5002;
constexpr int64_t kMemoryRefreshNs = 2'000'000'000;
constexpr int32_t kMaxWbStep = 30;
// Colour-temperature steps of 30 sent for one WB target at most: more than
// any camera's range needs (a 100 K step over 1,000 to 100,000 K).
constexpr int64_t kMaxWbStepRounds = 33;
// Above this the step scale leaves the range where it means anything.
constexpr uint64_t kMaxKelvin = 100'000;
constexpr uint32_t kTypeStr = 0xFFFF;
constexpr uint32_t kRangeBit = 0x4000;
constexpr uint32_t kSignBit = 0x1000;

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

// The property whose value a step property moves, or 0.
uint32_t stepped_base(uint32_t step_code) {
  switch (step_code) {
    case kColorTempStepCode:
      return kWbCode;
    case kWbTintStepCode:
      return kWbTintCode;
    case kShutterEcsNumberStepCode:
      return kShutterEcsNumberCode;
    default:
      return 0;
  }
}

// `value` read as the signed or unsigned number of its data type.
int64_t typed_value(uint64_t value, uint32_t type) {
  const size_t width = element_width(type);
  if (width == 0 || width >= 8) return static_cast<int64_t>(value);
  const unsigned bits = static_cast<unsigned>(width * 8);
  const uint64_t mask = (uint64_t{1} << bits) - 1;
  const uint64_t low = value & mask;
  if ((type & kSignBit) != 0 && (low >> (bits - 1)) != 0) return static_cast<int64_t>(low | ~mask);
  return static_cast<int64_t>(low);
}

// The minimum and maximum of a property that reports a range; false when it
// reports none.
bool value_range(const SCRSDK::CrDeviceProperty& property, int64_t* low, int64_t* high) {
  const uint32_t type = property.GetValueType();
  if ((type & kRangeBit) == 0 || type == kTypeStr) return false;
  const size_t width = element_width(type);
  const CrInt8u* values = property.GetValues();
  if (width == 0 || width > 8 || values == nullptr || property.GetValueSize() < 2 * width) return false;
  uint64_t raw[2] = {0, 0};
  for (size_t n = 0; n < 2; ++n) {
    for (size_t b = 0; b < width; ++b) raw[n] |= static_cast<uint64_t>(values[n * width + b]) << (8 * b);
  }
  *low = typed_value(raw[0], type);
  *high = typed_value(raw[1], type);
  return *low <= *high;
}

// "set KEY VALUE" of a write, for log lines.
std::string write_text(uint32_t code, uint64_t value, bool step) {
  const PropertyInfo* row = find_property(code);
  const std::string name = row != nullptr ? row->name : std::to_string(code);
  const std::string number = step ? std::to_string(static_cast<int64_t>(value)) : std::to_string(value);
  return "set " + name + " " + number;
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

bool CameraDevice::await_answer(const char* what, uint32_t code) {
  std::unique_lock<std::mutex> lock(answer_mutex_);
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(confirm_timeout_ms.load());
  answer_changed_.wait_until(lock, deadline, [this] { return !ack_pending.load() || aborted_.load(); });
  if (!ack_pending.load()) return last_answer_ok_;
  const bool property = awaiting_ == Awaiting::kProperty;
  if (aborted_.load()) {
    log_message(std::string(what) + ": no answer from the camera before the run ended");
  } else {
    log_message(std::string(what) + ": the camera did not confirm within " +
                std::to_string(confirm_timeout_ms.load()) + " ms");
  }
  if (property) {
    // The camera may yet have taken the write: do not trust the cache.
    std::lock_guard<std::mutex> cache_lock(cache_mutex);
    stale_codes_.insert(code);
    const uint32_t base = stepped_base(code);
    if (base != 0) stale_codes_.insert(base);
  }
  resolve(false);
  return false;
}

void CameraDevice::send_command(uint32_t id, uint32_t param) {
  if (!enter_gate("sendCommand")) return;
  (void)SCRSDK::SendCommand(device_handle, id, static_cast<SCRSDK::CrCommandParam>(param));
  plain_ack();
  command_gate->release();
}

void CameraDevice::press_button(uint32_t id, int hold_ms) {
  (void)SCRSDK::SendCommand(device_handle, id, SCRSDK::CrCommandParam_Down);
  const bool held = hold_ms == 0 || pause_ms(hold_ms);
  // The button is let go whatever happens.
  (void)SCRSDK::SendCommand(device_handle, id, SCRSDK::CrCommandParam_Up);
  if (held) {
    plain_ack();
  } else {
    refuse("pressButton: hold cut short, the run is ending");
  }
}

bool CameraDevice::write_property(uint32_t code, uint64_t value, uint32_t type, bool step) {
  if (!enter_gate("setProperty")) return false;
  struct GateRelease {
    CommandGate* gate;
    ~GateRelease() { gate->release(); }
  } release{command_gate.get()};

  const std::string what = write_text(code, value, step);
  SCRSDK::CrDeviceProperty record;
  const bool known = cached(code, &record);
  bool stale = false;
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    stale = stale_codes_.count(code) != 0;
  }
  if (known && record.GetValueType() == kTypeStr) {
    refuse(what + ": refused, a text property");
    return false;
  }
  if (known && !record.IsSetEnableCurrentValue()) {
    refuse(what + ": refused, the camera reports it read-only");
    return false;
  }
  if (type == 0) type = known ? static_cast<uint32_t>(record.GetValueType()) : (step ? kTypeInt16Range : 0);
  const PropertyInfo* row = find_property(code);
  const bool always_send = row != nullptr && row->alwaysSend;
  if (step) {
    const int64_t amount = static_cast<int64_t>(value);
    if (amount < -32768 || amount > 32767) {
      refuse(what + ": refused, step " + std::to_string(amount) + " outside -32768..32767");
      return false;
    }
    if (amount == 0) {
      plain_ack();
      return true;
    }
    SCRSDK::CrDeviceProperty base;
    int64_t low = 0;
    int64_t high = 0;
    if (cached(stepped_base(code), &base) && value_range(base, &low, &high)) {
      const int64_t now = typed_value(base.GetCurrentValue(), base.GetValueType());
      if ((amount > 0 && now >= high) || (amount < 0 && now <= low)) {
        refuse(what + ": refused, already at the end of the range");
        return false;
      }
    }
  } else if (value == (known ? record.GetCurrentValue() : 0) && !always_send && !quick_ack.load() && !stale) {
    // No change: nothing is sent.
    plain_ack();
    return true;
  }

  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetCurrentValue(value);
  request.SetValueType(static_cast<SCRSDK::CrDataType>(type));

  if (quick_ack.load()) {
    {
      std::lock_guard<std::mutex> lock(answer_mutex_);
      quick_in_flight_ = true;
    }
    const bool accepted = SCRSDK::SetDeviceProperty(device_handle, &request) == 0;
    std::lock_guard<std::mutex> lock(answer_mutex_);
    quick_in_flight_ = false;
    write_answer(accepted);
    flush_held_reports();
    return accepted;
  }

  {
    std::lock_guard<std::mutex> lock(answer_mutex_);
    awaiting_ = Awaiting::kProperty;
    awaited_codes_[0] = code;
    awaited_codes_[1] = step ? stepped_base(code) : code;
    ack_pending = true;
  }
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    std::lock_guard<std::mutex> lock(answer_mutex_);
    if (ack_pending.load()) {
      log_message(what + ": the camera refused the write");
      resolve(false);
      return false;
    }
    return last_answer_ok_;
  }
  return await_answer(what.c_str(), code);
}

void CameraDevice::set_property(const SCRSDK::CrDeviceProperty& property, uint64_t value, uint32_t code,
                                uint32_t type) {
  if (code == 0) {
    code = property.GetCode();
    type = property.GetValueType();
  }
  (void)write_property(code, value, type, false);
}

void CameraDevice::set_property_from_text(uint32_t code, const std::string& text) {
  const PropertyInfo* row = find_property(code);
  if (row == nullptr || row->fromText == nullptr) {
    refuse("setProperty: Unsupported property code: " + std::to_string(code));
    return;
  }
  uint64_t value = 0;
  try {
    value = row->fromText(text);
  } catch (const std::exception& e) {
    refuse("set " + row->name + " " + text + ": refused, not a value of " + row->name + " (" + e.what() +
           ")");
    return;
  }
  const bool step = stepped_base(code) != 0;
  // The data type comes from the cache as it is after the gate.
  (void)write_property(code, value, 0, step);
}

void CameraDevice::set_operation(uint32_t code, int32_t amount) {
  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetCurrentValue(static_cast<uint64_t>(static_cast<int64_t>(amount)));
  request.SetValueType(static_cast<SCRSDK::CrDataType>(kTypeInt8));
  if (!enter_gate("setOperation")) return;
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    refuse("setOperation " + std::to_string(code) + ": the camera refused the write");
  } else {
    plain_ack();
  }
  command_gate->release();
}

void CameraDevice::property_button(uint32_t code) {
  int hold_ms = 0;
  if (code == kAwbCode) {
    hold_ms = 100;
  } else if (code == kPushAutoFocusCode) {
    hold_ms = 2000;
  } else {
    refuse("propertyButton: Unsupported property code: " + std::to_string(code));
    return;
  }
  SCRSDK::CrDeviceProperty request;
  request.SetCode(code);
  request.SetValueType(static_cast<SCRSDK::CrDataType>(kTypeUInt16Array));
  if (!enter_gate("propertyButton")) return;
  // The camera's reports of the button's state answer nothing: the press is
  // answered here, once.
  request.SetCurrentValue(1);
  if (SCRSDK::SetDeviceProperty(device_handle, &request) != 0) {
    refuse("propertyButton " + std::to_string(code) + ": the camera refused the press");
    command_gate->release();
    return;
  }
  const bool held = pause_ms(hold_ms);
  request.SetCurrentValue(2);
  const bool released = SCRSDK::SetDeviceProperty(device_handle, &request) == 0;
  if (!released) {
    refuse("propertyButton " + std::to_string(code) + ": the camera refused the release");
  } else if (!held) {
    refuse("propertyButton " + std::to_string(code) + ": hold cut short, the run is ending");
  } else {
    plain_ack();
  }
  command_gate->release();
}

void CameraDevice::step_property(uint32_t step_code, int32_t step) {
  (void)write_property(step_code, static_cast<uint64_t>(static_cast<int64_t>(step)), kTypeInt16Range, true);
}

void CameraDevice::set_absolute_by_steps(uint32_t base_code, int32_t target) {
  uint32_t step_code = 0;
  if (base_code == kWbTintCode) {
    step_code = kWbTintStepCode;
  } else if (base_code == kShutterEcsNumberCode) {
    step_code = kShutterEcsNumberStepCode;
  } else {
    refuse("setAbsoluteBySteps: Unsupported property code: " + std::to_string(base_code));
    return;
  }
  SCRSDK::CrDeviceProperty base_record;
  const bool known = cached(base_code, &base_record);
  const int64_t wanted = target;
  int64_t low = 0;
  int64_t high = 0;
  if (known && value_range(base_record, &low, &high) && (wanted < low || wanted > high)) {
    refuse("setAbsoluteBySteps " + std::to_string(base_code) + ": refused, target " + std::to_string(target) +
           " outside the camera's range " + std::to_string(low) + ".." + std::to_string(high));
    return;
  }
  const uint64_t base = step_base(base_code, known ? base_record.GetCurrentValue() : 0);
  // The remembered target and the cached value, as signed numbers of the
  // property's type.
  const int64_t step =
      wanted - typed_value(base, known ? static_cast<uint32_t>(base_record.GetValueType()) : 0u);
  if (step < -32768 || step > 32767) {
    refuse("setAbsoluteBySteps " + std::to_string(base_code) + ": refused, target " + std::to_string(target) +
           " is more than a 16-bit step away");
    return;
  }
  remember_target(base_code, static_cast<uint64_t>(wanted));
  step_property(step_code, static_cast<int32_t>(step));
}

void CameraDevice::request_menu() {
  if (!enter_gate("requestMenu")) return;
  {
    std::lock_guard<std::mutex> lock(answer_mutex_);
    awaiting_ = Awaiting::kMenu;
    ack_pending = true;
  }
  if (SCRSDK::RequestDisplayStringList(device_handle, SCRSDK::CrDisplayStringType_AllList) != 0) {
    std::lock_guard<std::mutex> lock(answer_mutex_);
    if (ack_pending.load()) {
      log_message("requestMenu: the camera refused the request");
      resolve(false);
    }
  } else {
    (void)await_answer("requestMenu", 0);
  }
  command_gate->release();
}

void CameraDevice::read_timecode() {
  SCRSDK::CrImageInfo info;
  if (SCRSDK::GetLiveViewImageInfo(device_handle, &info) != 0) return;
  // The buffer size is the camera's word: an absurd one is not allocated
  // (the image is not needed for the time code, only read as designed).
  const CrInt32u size = info.GetBufferSize();
  if (size <= kMaxLiveViewBufferBytes) {
    std::vector<CrInt8u> buffer(size, 0);
    SCRSDK::CrImageDataBlock block;
    block.SetSize(size);
    block.SetData(buffer.data());
    (void)SCRSDK::GetLiveViewImage(device_handle, &block);
  } else {
    log_message("Live-view image of " + std::to_string(size) + " bytes not read");
  }
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
  if (result != 0) {
    refuse("importLUT: the camera refused " + path);
  } else {
    plain_ack();
  }
}

void CameraDeviceUSB::set_wb(uint64_t kelvin) { (void)write_property(kWbCode, kelvin, 0, false); }

void CameraDeviceUSB::set_recording(uint64_t value) {
  if (value == 1 || value == 0) {
    send_command(1, static_cast<uint32_t>(value));
  } else {
    refuse("setRecording: Unsupported value " + std::to_string(value));
  }
}

void CameraDeviceIP::set_wb(uint64_t kelvin) {
  SCRSDK::CrDeviceProperty property;
  const bool known = cached(kWbCode, &property);
  if (!is_stepping_ip_model(model)) {
    (void)write_property(kWbCode, kelvin, 0, false);
    return;
  }
  // The target within what the camera can reach.
  int64_t low = 0;
  int64_t high = 0;
  if (known && value_range(property, &low, &high)) {
    const int64_t wanted = static_cast<int64_t>(std::min<uint64_t>(kelvin, kMaxKelvin));
    kelvin = static_cast<uint64_t>(std::clamp(wanted, low, high));
  }
  kelvin = std::min(kelvin, kMaxKelvin);
  const uint64_t base = std::min(step_base(kWbCode, property.GetCurrentValue()), kMaxKelvin);
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
  steps = std::clamp(steps, -kMaxWbStep * kMaxWbStepRounds, kMaxWbStep * kMaxWbStepRounds);
  // Only the last step is answered to the parent.
  ack_suppressed = true;
  bool stepped = false;
  bool carried_on = true;
  while (carried_on && (steps > kMaxWbStep || steps < -kMaxWbStep)) {
    const int32_t step = steps > 0 ? kMaxWbStep : -kMaxWbStep;
    carried_on = write_property(kColorTempStepCode, static_cast<uint64_t>(static_cast<int64_t>(step)),
                                kTypeInt16Range, true);
    steps -= step;
    carried_on = pause_ms(100) && carried_on;
    stepped = true;
  }
  if (carried_on && !stepped) carried_on = pause_ms(100);
  remember_target(kWbCode, kelvin);
  ack_suppressed = false;
  if (!carried_on) {
    refuse("setWB " + std::to_string(kelvin) + ": stepping stopped early");
    return;
  }
  step_property(kColorTempStepCode, static_cast<int32_t>(steps));
}

void CameraDeviceIP::set_recording(uint64_t value) {
  if (!is_stepping_ip_model(model)) {
    if (value == 1 || value == 0) {
      send_command(1, static_cast<uint32_t>(value));
    } else {
      refuse("setRecording: Unsupported value " + std::to_string(value));
    }
    return;
  }
  // These models toggle recording with a press and release of one button.
  if (!enter_gate("setRecording")) return;
  (void)SCRSDK::SendCommand(device_handle, 11, static_cast<SCRSDK::CrCommandParam>(0));
  const bool held = pause_ms(100);
  (void)SCRSDK::SendCommand(device_handle, 11, static_cast<SCRSDK::CrCommandParam>(1));
  if (held) {
    plain_ack();
  } else {
    refuse("setRecording: toggle cut short, the run is ending");
  }
  command_gate->release();
}
