// CameraDevice: the command gate, the acknowledgement primitives and the SDK
// callbacks for connection, warning and error events.
#include "device/camera_device.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/base.h"

namespace {

// A fatal camera event is told three ways: log, stderr and "DISCONNECTED".
void report_fatal(const std::string& message) {
  log_message(message);
  std::fprintf(stderr, "%s\n", message.c_str());
  std::fflush(stderr);
  write_status_line("DISCONNECTED");
  request_shutdown();
}

bool is_display_string_success(CrInt32u warning) {
  return warning == 0x2002B || (warning >= 0x2002D && warning <= 0x20037);
}

}  // namespace

CommandGate::CommandGate(bool open) : open_(open) {}

bool CommandGate::acquire() {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return open_ || aborted_; });
  if (aborted_) return false;
  open_ = false;
  return true;
}

void CommandGate::abort() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    aborted_ = true;
  }
  changed_.notify_all();
}

void CommandGate::release() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    open_ = true;
  }
  changed_.notify_one();
}

int confirm_timeout_from_environment() {
  const char* text = std::getenv("VK_SONY_CONFIRM_TIMEOUT_MS");
  if (text == nullptr) return kDefaultConfirmTimeoutMs;
  // Longer than about 24 days counts as that long.
  constexpr int64_t kLongest = INT32_MAX;
  int64_t value = 0;
  bool valid = *text != '\0';
  for (const char* c = text; valid && *c != '\0'; ++c) {
    valid = *c >= '0' && *c <= '9';
    if (valid) value = std::min(kLongest, value * 10 + (*c - '0'));
  }
  if (!valid || value == 0) {
    log_message(std::string("VK_SONY_CONFIRM_TIMEOUT_MS is not a positive decimal integer (\"") + text +
                "\"); using " + std::to_string(kDefaultConfirmTimeoutMs) + " ms");
    return kDefaultConfirmTimeoutMs;
  }
  return static_cast<int>(value);
}

CameraDevice::CameraDevice()
    : confirm_timeout_ms(confirm_timeout_from_environment()),
      command_gate(std::make_unique<CommandGate>(false)) {}

CameraDevice::~CameraDevice() = default;

void CameraDevice::write_answer(bool ok) {
  last_answer_ok_ = ok;
  if (ack_suppressed.load()) return;
  if (!ok) log_message("NACK");
  write_status_line(ok ? "ACK" : "NACK");
}

bool CameraDevice::resolve(bool ok) {
  if (!ack_pending.load()) return false;
  ack_pending = false;
  awaiting_ = Awaiting::kNothing;
  write_answer(ok);
  answer_changed_.notify_all();
  return true;
}

void CameraDevice::ack() {
  std::lock_guard<std::mutex> lock(answer_mutex_);
  resolve(true);
}

void CameraDevice::nack() {
  std::lock_guard<std::mutex> lock(answer_mutex_);
  resolve(false);
}

void CameraDevice::refuse(const std::string& reason) {
  log_message(reason);
  std::lock_guard<std::mutex> lock(answer_mutex_);
  write_answer(false);
}

void CameraDevice::plain_ack() {
  std::lock_guard<std::mutex> lock(answer_mutex_);
  write_answer(true);
}

void CameraDevice::abort_operations() noexcept {
  try {
    if (aborted_.exchange(true)) return;
    command_gate->abort();
    std::lock_guard<std::mutex> lock(answer_mutex_);
    // The waiter itself answers when it wakes; this covers a waiter that
    // is not there (an answer left due by a test or an error path).
    answer_changed_.notify_all();
  } catch (...) {
  }
}

bool CameraDevice::pause_ms(int ms) {
  std::unique_lock<std::mutex> lock(answer_mutex_);
  return !answer_changed_.wait_for(lock, std::chrono::milliseconds(ms < 0 ? 0 : ms),
                                   [this] { return aborted_.load(); });
}

bool CameraDevice::wait_for_first_batch() {
  std::unique_lock<std::mutex> lock(answer_mutex_);
  answer_changed_.wait(lock, [this] { return first_batch_seen_ || aborted_.load(); });
  return first_batch_seen_;
}

bool CameraDevice::enter_gate(const char* operation) {
  if (command_gate->acquire()) return true;
  refuse(std::string(operation) + ": not carried out, the run is ending");
  return false;
}

bool CameraDevice::cached(uint32_t code, SCRSDK::CrDeviceProperty* out) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  const auto found = properties.find(code);
  if (found == properties.end()) return false;
  *out = found->second.record();
  return true;
}

void CameraDevice::OnConnected(SCRSDK::DeviceConnectionVersioin version) {
  try {
    write_raw_line("CONNECTED");
    log_message("OnConnected camera control version: " + std::to_string(static_cast<uint32_t>(version)) +
                " model=" + camera_model_name(model) + " quick_ack=" + (quick_ack.load() ? "1" : "0"));
    connected = true;
    ready_armed = true;
    connected_once = true;
    // The gate opens after the first property batch (property reporting).
  } catch (...) {
  }
}

void CameraDevice::OnDisconnected(CrInt32u error) {
  try {
    const std::string message = "OnDisconnected status: " + status_text(error);
    log_message(message);
    std::fprintf(stderr, "%s\n", message.c_str());
    std::fflush(stderr);
    connected = false;
    write_status_line("DISCONNECTED");
    request_shutdown();
  } catch (...) {
  }
}

// The batch of codes that follows (OnPropertyChangedCodes) confirms writes;
// this notice alone answers nothing.
void CameraDevice::OnPropertyChanged() {}

void CameraDevice::OnLvPropertyChanged() {}

void CameraDevice::OnCompleteDownload(CrChar* filename, CrInt32u /*type*/) {
  try {
    log_message(std::string("callback complete download: ") + (filename != nullptr ? filename : ""));
    write_status_line("status DOWNLOAD done");
  } catch (...) {
  }
}

void CameraDevice::OnNotifyContentsTransfer(CrInt32u /*notify*/, SCRSDK::CrContentHandle /*handle*/,
                                            CrChar* /*filename*/) {
  try {
    log_message("OnNotifyContentsTransfer");
  } catch (...) {
  }
}

void CameraDevice::OnWarning(CrInt32u warning) {
  try {
    if (warning == 0x20002 || warning == 0x20007) {
      report_fatal("OnWarning requests shutdown, status: " + status_text(warning));
    } else if (warning == 0x20028 || warning == 0x20029) {
      // Settings read results: of no interest to the parent.
    } else if (is_display_string_success(warning) || warning == 0x2002C) {
      // A display-string result answers a menu request that awaits one; the
      // camera's own display-list changes answer nothing.
      std::lock_guard<std::mutex> lock(answer_mutex_);
      if (awaiting_ == Awaiting::kMenu) resolve(warning != 0x2002C);
    } else {
      log_message("OnWarning status: " + status_text(warning));
    }
  } catch (...) {
  }
}

void CameraDevice::OnWarningExt(CrInt32u warning, CrInt32 param1, CrInt32 param2, CrInt32 param3) {
  try {
    log_message("OnWarningExt warning=" + status_text(warning) + " param1=" + std::to_string(param1) +
                " param2=" + std::to_string(param2) + " param3=" + std::to_string(param3));
  } catch (...) {
  }
}

void CameraDevice::OnError(CrInt32u error) {
  try {
    if (error == 0) {
      log_message("OnError callback with non-failure status: " + status_text(error));
      return;
    }
    const char* reason = "OnError requests shutdown, status: ";
    if (error == 0x8201) {
      reason = "OnError requests shutdown: camera already handled by another program, status: ";
    } else if (error == 0x8216) {
      reason = "OnError requests shutdown: connection failed (invalid login/password), status: ";
    }
    report_fatal(reason + status_text(error));
  } catch (...) {
  }
}

void CameraDevice::set_wb(uint64_t /*kelvin*/) { write_raw_line("UNUSED"); }

void CameraDevice::set_recording(uint64_t /*value*/) { write_raw_line("ABSTRACT"); }
