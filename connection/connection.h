// Camera discovery and connection: SDK start and release, camera id texts,
// the two camera listings, and opening a camera run over USB or IP.
#ifndef VK_SONY_CONNECTION_CONNECTION_H
#define VK_SONY_CONNECTION_CONNECTION_H

#include <cstdint>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"

#include "device/camera_device.h"

// ---- SDK lifecycle ---------------------------------------------------------

// "MAJOR.MINOR.PATCH" of a packed SDK version (major in bits 24-31).
std::string sdk_version_text(uint32_t packed);
// The version of the SDK in use; needs no started SDK.
std::string sdk_version_text();
// Starts the SDK, or logs, releases it and exits with status 1.
void start_sdk();
// Logs "SDK cleanup" and releases the SDK.
void release_sdk();
// The SDK's camera list (release it with Release()), or exits with status 1.
SCRSDK::ICrEnumCameraObjectInfo* enumerate_cameras();
// "USB|model|serial", "IP|model|a.b.c.d" or "UNKNOWN".
std::string camera_id_text(const SCRSDK::ICrCameraObjectInfo& info);
// Index of the first enumerated camera whose id text is `wanted` ("*": any),
// among USB cameras only unless `all_types`; -1 when none matches.
int find_camera_index(const std::string& wanted, bool all_types);

// ---- Listings --------------------------------------------------------------

struct UsbCamera {
  std::string product;
  std::string serial;
};

// Sony cameras in the USB device tree under `root`, in directory order.
std::vector<UsbCamera> list_usb_cameras_sysfs(const std::string& root = "/sys/bus/usb/devices");
// Prints the sysfs listing (false) or the SDK listing (true) on stdout.
void print_camera_list(bool all);

// ---- Camera runs -----------------------------------------------------------

// Installs the signal handlers, starts the SDK, connects the USB camera named
// by `camera_id` and runs the bridge until it ends. Exits on failure.
void run_usb(const std::string& camera_id);
// The same for an Ethernet camera.
void run_ip(const std::string& model, const std::string& address, const std::string& user,
            const std::string& password, bool credentials_given);

#endif  // VK_SONY_CONNECTION_CONNECTION_H
