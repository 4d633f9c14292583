// CameraDevice: the command gate, the acknowledgement primitives and the SDK
// callbacks for connection, warning and error events.
#include "device/camera_device.h"

#include <chrono>
#include <cstdio>
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

CameraDevice::CameraDevice() : command_gate(std::make_unique<CommandGate>(false)) { ack(); }

CameraDevice::~CameraDevice() = default;

void CameraDevice::ack() {
  if (ack_pending.load() && !ack_suppressed.load()) write_status_line("ACK");
  ack_pending = false;
}

void CameraDevice::ack_if(bool flag) {
  ack_pending = flag;
  ack();
}

void CameraDevice::nack() {
  if (ack_pending.load() && !ack_suppressed.load()) {
    log_message("NACK");
    write_status_line("NACK");
  }
  ack_pending = false;
  command_gate->release();
}

void CameraDevice::abort_operations() noexcept {
  try {
    {
      std::lock_guard<std::mutex> lock(wait_mutex_);
      if (aborted_.exchange(true)) return;
    }
    wait_changed_.notify_all();
    command_gate->abort();
    nack();
  } catch (...) {
  }
}

bool CameraDevice::pause_ms(int ms) {
  std::unique_lock<std::mutex> lock(wait_mutex_);
  return !wait_changed_.wait_for(lock, std::chrono::milliseconds(ms), [this] { return aborted_.load(); });
}

void CameraDevice::OnConnected(SCRSDK::DeviceConnectionVersioin version) {
  try {
    write_raw_line("CONNECTED");
    log_message("OnConnected camera control version: " + std::to_string(static_cast<uint32_t>(version)) +
                " model=" + camera_model_name(model) + " quick_ack=" + (quick_ack.load() ? "1" : "0"));
    connected = true;
    ready_armed = true;
    connected_once = true;
    command_gate->release();
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

void CameraDevice::OnPropertyChanged() {
  try {
    if (ack_pending.load() && !quick_ack.load()) {
      ack();
      command_gate->release();
    }
  } catch (...) {
  }
}

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
    } else if (is_display_string_success(warning)) {
      ack();
      command_gate->release();  // display string success
    } else if (warning == 0x2002C) {
      nack();
      command_gate->release();  // display string error; the gate tolerates it
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
