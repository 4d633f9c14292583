// The run loop: the run flag, the two run threads, and the ordered teardown.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
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

// Without a wake-up descriptor the monitor looks at the run flag this often.
constexpr int kFallbackPollMs = 1000;
constexpr uint32_t kModelPxwZ200 = 20;
constexpr uint32_t kModelHxrNx800 = 21;
constexpr uint64_t kPpBlackLevelRemapCode = 684;

// Logs and returns true when stdin (fds[0]) or stdout (fds[1]) shows an
// error condition; stdin is looked at first.
bool stream_error_seen(const pollfd* fds) {
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

}  // namespace

bool check_streams() {
  // POLLERR, POLLHUP and POLLNVAL are always reported; no other event is
  // asked for.
  pollfd fds[2] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}};
  return poll(fds, 2, 0) > 0 && stream_error_seen(fds);
}

void handler_monitor(CameraDevice* device) {
  const int wake_fd = shutdown_wake_fd();
  while (running.load(std::memory_order_seq_cst)) {
    // Blocks until a stream fails or shutdown is requested: no timer.
    pollfd fds[3] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {wake_fd, POLLIN, 0}};
    const int ready = poll(fds, wake_fd >= 0 ? 3 : 2, wake_fd >= 0 ? -1 : kFallbackPollMs);
    if (ready > 0 && stream_error_seen(fds)) break;
  }
  request_shutdown();
  // A command waiting at the gate or for the camera ends now (answered
  // "NACK" if its answer was due), so that the reader can be joined.
  if (device != nullptr) device->abort_operations();
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
  std::thread monitor(handler_monitor, device);
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
