// Camera discovery and connection: SDK start and release, camera id texts,
// the two camera listings, and opening a camera run over USB or IP.
#ifndef VK_SONY_CONNECTION_CONNECTION_H
#define VK_SONY_CONNECTION_CONNECTION_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "device/camera_device.h"

// ---- Camera id text --------------------------------------------------------

// Splits a camera id on "|": every field is kept, empty ones included, but a
// "|" at the very end adds no trailing empty field; "" gives no field.
std::vector<std::string> split_camera_id(const std::string& id);

// ---- SDK lifecycle ---------------------------------------------------------

// An SDK result as "0x" lower-case hex, " (", decimal, ")": "0x8000 (32768)".
std::string result_code_text(uint32_t code);

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

// The run prologue: SIGINT, SIGTERM and SIGHUP call request_shutdown() (and
// are unblocked, whatever mask the parent left), SIGPIPE is ignored, and the
// SDK is started (or the process exits with status 1).
void start_camera_run();

// Connects the USB camera named by `camera_id` ("*", "USB|model|serial" or
// any id text to search for). Never returns null: a failure releases the SDK
// and exits with status 1, silently.
CameraDevice* connect_usb(const std::string& camera_id);
// Connects the enumerated camera at `index` over USB, or exits with status 1.
CameraDevice* connect_camera_at(int index);

// Runs a shell command and returns the first line of its output (possibly
// empty), or nullopt when the command could not be started.
using CommandRunner = std::function<std::optional<std::string>(const std::string& command)>;
// The production runner: popen + fgets into 128 bytes + pclose.
std::optional<std::string> run_command_first_line(const std::string& command);
// True when `address` is an IPv4 address in dotted-quad form: four decimal
// numbers 0-255 without leading zeros ("192.168.2.50").
bool is_ipv4_dotted_quad(const std::string& address);
// The neighbour-table command for `address`, the address single-quoted after
// "--".
std::string mac_lookup_command(const std::string& address);
// The MAC text (at most 17 characters) that the neighbour table holds for
// `address`, or "" when none; logs "Failed to run command" when the runner
// could not start.
std::string resolve_mac(const std::string& address, const CommandRunner& run = run_command_first_line);
// Connects the Ethernet camera; never returns null (failures are told on
// stderr and in the log, then the SDK is released and the process exits 1).
CameraDevice* connect_ip(const std::string& model, const std::string& address, const std::string& user,
                         const std::string& password, bool credentials_given);

// Installs the signal handlers, starts the SDK, connects the USB camera named
// by `camera_id` and runs the bridge until it ends. Exits on failure.
void run_usb(const std::string& camera_id);
// The same for an Ethernet camera.
void run_ip(const std::string& model, const std::string& address, const std::string& user,
            const std::string& password, bool credentials_given);

#endif  // VK_SONY_CONNECTION_CONNECTION_H
