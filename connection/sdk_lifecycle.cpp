// SDK start and release, the SDK version, camera enumeration and the camera
// id text of an enumerated camera.
#include <signal.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "connection/connection.h"

namespace {

std::string text_or_empty(const CrChar* text) { return text == nullptr ? std::string() : std::string(text); }

}  // namespace

std::vector<std::string> split_camera_id(const std::string& id) {
  std::vector<std::string> fields;
  size_t start = 0;
  while (start < id.size()) {
    size_t bar = id.find('|', start);
    if (bar == std::string::npos) {
      fields.push_back(id.substr(start));
      break;
    }
    fields.push_back(id.substr(start, bar - start));
    start = bar + 1;
  }
  return fields;
}

std::string result_code_text(uint32_t code) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%x (%u)", code, code);
  return text;
}

std::string sdk_version_text(uint32_t packed) {
  // Not a string stream: it would set up the C++ locale, a third of what
  // `vk-sony -v` costs.
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u", (packed >> 24) & 0xFF, (packed >> 16) & 0xFF,
                (packed >> 8) & 0xFF);
  return text;
}

std::string sdk_version_text() { return sdk_version_text(SCRSDK::GetSDKVersion()); }

void start_sdk() {
  log_message("Sony Camera Control SDK version: " + sdk_version_text());
  if (SCRSDK::Init(0)) {
    log_message("Sony Camera Control SDK initialized");
    return;
  }
  log_message("Sony Camera Control SDK initialization failed");
  log_message("Failed to initialize Sony Camera Control SDK. Terminating.");
  SCRSDK::Release();
  std::exit(1);
}

void release_sdk() {
  log_message("SDK cleanup");
  SCRSDK::Release();
}

SCRSDK::ICrEnumCameraObjectInfo* enumerate_cameras() {
  SCRSDK::ICrEnumCameraObjectInfo* list = nullptr;
  SCRSDK::CrError result = SCRSDK::EnumCameraObjects(&list, 3);
  std::string line = "EnumCameraObjects returned " + result_code_text(static_cast<uint32_t>(result));
  if (list == nullptr) line += " with null camera list";
  log_message(line);
  if (result == 0 && list != nullptr) return list;
  SCRSDK::Release();
  std::exit(1);
}

std::string camera_id_text(const SCRSDK::ICrCameraObjectInfo& info) {
  const std::string type = text_or_empty(info.GetConnectionTypeName());
  const std::string model = text_or_empty(info.GetModel());
  const CrInt8u* id = info.GetId();
  const size_t id_size = id == nullptr ? 0 : info.GetIdSize();
  char text[256] = {};
  if (type == "IP") {
    uint32_t address = 0;
    if (id_size >= 8) std::memcpy(&address, id + 4, sizeof address);
    char ip[32] = {};
    std::snprintf(ip, sizeof ip, "%d.%d.%d.%d", static_cast<int>(address & 0xFF),
                  static_cast<int>((address >> 8) & 0xFF), static_cast<int>((address >> 16) & 0xFF),
                  static_cast<int>((address >> 24) & 0xFF));
    std::snprintf(text, sizeof text, "IP|%s|%s", model.c_str(), ip);
  } else if (type == "USB") {
    const char* bytes = reinterpret_cast<const char*>(id);
    std::string serial = bytes == nullptr ? std::string() : std::string(bytes, strnlen(bytes, id_size));
    std::snprintf(text, sizeof text, "USB|%s|%s", model.c_str(), serial.c_str());
  } else {
    std::snprintf(text, sizeof text, "UNKNOWN");
  }
  return text;
}

int find_camera_index(const std::string& wanted, bool all_types) {
  SCRSDK::ICrEnumCameraObjectInfo* list = enumerate_cameras();
  const CrInt32u count = list->GetCount();
  int found = -1;
  for (CrInt32u index = 0; index < count && found < 0; ++index) {
    const SCRSDK::ICrCameraObjectInfo* info = list->GetCameraObjectInfo(index);
    if (info == nullptr) continue;
    if (!all_types && text_or_empty(info->GetConnectionTypeName()) != "USB") continue;
    if (wanted == "*" || wanted == camera_id_text(*info)) found = static_cast<int>(index);
  }
  list->Release();
  return found;
}

namespace {

void on_shutdown_signal(int) { request_shutdown(); }

}  // namespace

void start_camera_run() {
  // SIGHUP: the parent's session ended. A blocked signal mask survives exec:
  // a parent (or a supervisor) that started us with these blocked would see
  // its SIGTERM wait for ever. Unblocked before any thread exists, so that
  // every thread inherits the mask.
  sigset_t shutdown_signals;
  sigemptyset(&shutdown_signals);
  for (int signo : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(signo, on_shutdown_signal);
    sigaddset(&shutdown_signals, signo);
  }
  (void)pthread_sigmask(SIG_UNBLOCK, &shutdown_signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  start_sdk();
}
