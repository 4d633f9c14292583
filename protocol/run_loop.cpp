// The run loop: the run flag, the two run threads, and the ordered teardown.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <thread>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"
#include "protocol/protocol.h"

PropertyCodes property_codes;

namespace {

constexpr int kStreamPollTimeoutMs = 100;
constexpr uint32_t kModelPxwZ200 = 20;
constexpr uint32_t kModelHxrNx800 = 21;
constexpr uint64_t kPpBlackLevelRemapCode = 684;

// Sleeps one second in full; a signal only shortens one nanosleep, which is
// resumed for the remaining time.
void sleep_one_second() {
  timespec remaining{1, 0};
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}

}  // namespace

bool check_streams() {
  pollfd fds[2] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}};
  // POLLERR, POLLHUP and POLLNVAL are always reported; no other event is
  // asked for.
  int ready = poll(fds, 2, kStreamPollTimeoutMs);
  if (ready <= 0) return false;
  constexpr short kErrorEvents = POLLERR | POLLHUP | POLLNVAL;
  int index;
  if ((fds[0].revents & kErrorEvents) != 0) {
    index = 0;
  } else if ((fds[1].revents & kErrorEvents) != 0) {
    index = 1;
  } else {
    return false;
  }
  char hex[16];
  std::snprintf(hex, sizeof hex, "%x",
                static_cast<unsigned>(static_cast<unsigned short>(fds[index].revents)));
  log_message("handler_monitor detected IO error fd_index=" + std::to_string(index) + " revents=0x" + hex);
  return true;
}

void handler_monitor() {
  if (running.load(std::memory_order_seq_cst)) {
    while (!check_streams()) {
      sleep_one_second();
      if (!running.load(std::memory_order_seq_cst)) break;
    }
  }
  request_shutdown();
  write_status_line("CLOSED");
  log_message("Closing from handler_monitor");
}

bool run_bridge(CameraDevice* device) {
  property_codes.clear();
  // Ascending code order, so a key name shared by several rows keeps the
  // highest code.
  for (const auto& [code, info] : propertyTable) property_codes[info.name] = code;
  // These two models report their black level under another code; the
  // parent keeps using the one key name.
  if (device != nullptr && (device->model == kModelPxwZ200 || device->model == kModelHxrNx800)) {
    property_codes["PP_BLACK_LEVEL"] = kPpBlackLevelRemapCode;
  }

  std::thread reader(command_reader, device, std::ref(property_codes));
  std::thread monitor(handler_monitor);
  reader.join();
  monitor.join();

  if (device != nullptr) {
    if (device->connected.load()) {
      SCRSDK::CrError result = SCRSDK::Disconnect(device->device_handle);
      if (result != SCRSDK::CrError_None) log_message("Disconnect failed: " + status_text(result));
    }
    SCRSDK::CrError result = SCRSDK::ReleaseDevice(device->device_handle);
    if (result != SCRSDK::CrError_None) log_message("ReleaseDevice failed: " + status_text(result));
  }
  log_message("SDK cleanup");
  return SCRSDK::Release();
}
