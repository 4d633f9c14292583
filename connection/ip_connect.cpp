// Opening a camera run over Ethernet: model check, MAC resolution from the
// neighbour table, and the SSH-authenticated or unauthenticated Connect.
#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "connection/connection.h"
#include "protocol/protocol.h"

namespace {

// Models that are always asked for SSH: numbers 10, 17, 20 and 21.
constexpr uint32_t kSshModelMask = 0x320400;

bool is_ssh_model(uint32_t model) { return model < 22 && ((kSshModelMask >> model) & 1U) != 0; }

const std::string& client_name() {
  static const std::string name = "Vornak";
  return name;
}

// The client name as a zero-terminated string of 16-bit units, one per byte.
std::vector<CrInt16u> client_name_units() {
  std::vector<CrInt16u> units;
  for (unsigned char c : client_name()) units.push_back(c);
  units.push_back(0);
  return units;
}

void error_line(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fputc('\n', stderr);
  std::fflush(stderr);
}

// The SDK may call `device` back until it is released, so the SDK goes
// first and the device after it.
[[noreturn]] void fail_ip(CameraDevice* device, SCRSDK::ICrCameraObjectInfo* info = nullptr) {
  if (info != nullptr) info->Release();
  if (device != nullptr && device->device_handle != 0) (void)SCRSDK::ReleaseDevice(device->device_handle);
  SCRSDK::Release();
  delete device;
  std::exit(1);
}

std::string invalid_address_message(const std::string& address) {
  return "Invalid Sony IP camera address: " + address +
         " (expected four decimal numbers 0-255, as in 192.168.2.50)";
}

std::string shell_single_quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'')
      quoted += "'\\''";
    else
      quoted += c;
  }
  return quoted + "'";
}

}  // namespace

std::optional<std::string> run_command_first_line(const std::string& command) {
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return std::nullopt;
  char buffer[128] = {};
  if (std::fgets(buffer, sizeof buffer, pipe) == nullptr) buffer[0] = '\0';
  pclose(pipe);
  return std::string(buffer);
}

bool is_ipv4_dotted_quad(const std::string& address) {
  in_addr parsed{};
  return inet_pton(AF_INET, address.c_str(), &parsed) == 1;
}

std::string mac_lookup_command(const std::string& address) {
  // "--": an address that begins with "-" is never taken for an option.
  return "arp -n -- " + shell_single_quoted(address) +
         " | grep -o -E '([[:xdigit:]]{1,2}:){5}[[:xdigit:]]{1,2}'";
}

std::string resolve_mac(const std::string& address, const CommandRunner& run) {
  const std::optional<std::string> output = run(mac_lookup_command(address));
  if (!output) {
    log_message("Failed to run command");
    return "";
  }
  return output->substr(0, 17);
}

CameraDevice* connect_ip(const std::string& model, const std::string& address, const std::string& user,
                         const std::string& password, bool credentials_given) {
  const uint32_t model_number = camera_model_number(model);
  if (model_number == 0) {
    error_line("Unknown or missing Sony camera model for IP connection: " + model);
    error_line("Use -m with a Sony SDK model name, for example: -m ILCE-7SM3.");
    log_with_prefix("Unknown or missing Sony camera model for IP connection: ", model);
    fail_ip(nullptr);
  }
  if (!is_ipv4_dotted_quad(address)) {
    error_line(invalid_address_message(address));
    log_message(invalid_address_message(address));
    fail_ip(nullptr);
  }
  const CrInt32u ip = inet_addr(address.c_str());

  CrInt8u mac[6] = {};
  std::string mac_text = resolve_mac(address);
  unsigned char parsed[6] = {};
  if (!mac_text.empty() &&
      std::sscanf(mac_text.c_str(), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx", &parsed[0], &parsed[1],
                  &parsed[2], &parsed[3], &parsed[4], &parsed[5]) == 6) {
    std::memcpy(mac, parsed, sizeof mac);
  } else {
    mac_text = "00:00:00:00:00:00";
    error_line("Unable to resolve MAC address for Sony IP camera at " + address +
               "; trying SDK connection with a zero MAC address.");
    log_message("Unable to resolve MAC address for Sony IP camera, using zero MAC: " + address);
  }

  const bool ssh_requested = credentials_given || is_ssh_model(model_number);
  log_message("Connecting to Sony IP camera model=" + model + " ip=" + address + " mac=" + mac_text +
              " ssh_support=" + (ssh_requested ? "1" : "0") +
              " auth_provided=" + (credentials_given ? "1" : "0") + " user=" + user);

  SCRSDK::ICrCameraObjectInfo* info = nullptr;
  SCRSDK::CrError result = SCRSDK::CreateCameraObjectInfoEthernetConnection(
      &info, static_cast<SCRSDK::CrCameraDeviceModelList>(model_number), ip, mac,
      ssh_requested ? SCRSDK::CrSSHsupport_ON : SCRSDK::CrSSHsupport_OFF);
  if (result != 0 || info == nullptr) {
    const std::string code = result_code_text(static_cast<uint32_t>(result));
    error_line("Sony SDK failed to create IP camera object for " + model + " at " + address + ": " + code);
    log_message("Sony SDK failed to create IP camera object: " + code);
    fail_ip(nullptr);
  }
  log_message("Sony IP camera object created");
  auto* device = new CameraDeviceIP();
  device->model = model_number;
  device->quick_ack = is_ssh_model(model_number);

  const std::vector<CrInt16u> name = client_name_units();
  if (info->GetSSHsupport() == SCRSDK::CrSSHsupport_ON) {
    log_message("Sony IP camera object reports SSH support enabled");
    char fingerprint[128] = {};
    CrInt32u fingerprint_size = 0;
    result = SCRSDK::GetFingerprint(info, fingerprint, &fingerprint_size);
    if (result != 0) {
      const std::string code = result_code_text(static_cast<uint32_t>(result));
      error_line("Sony SDK failed to get SSH fingerprint from IP camera " + address + ": " + code);
      log_message("Sony SDK failed to get SSH fingerprint: " + code);
      fail_ip(device, info);
    }
    log_message("Sony IP camera fingerprint: " +
                std::string(fingerprint, strnlen(fingerprint, sizeof fingerprint)));
    result = SCRSDK::Connect(info, device, &device->device_handle, SCRSDK::CrSdkControlMode_Remote,
                             SCRSDK::CrReconnecting_ON, user.c_str(), password.c_str(), fingerprint,
                             fingerprint_size, name.data());
    if (result != 0) {
      const std::string code = result_code_text(static_cast<uint32_t>(result));
      error_line("Sony SDK failed to connect to IP camera " + address + ": " + code);
      log_message("Sony SDK failed to connect to IP camera: " + code);
      fail_ip(device, info);
    }
  } else {
    log_message("Sony IP camera object reports SSH support disabled; connecting without authentication");
    result = SCRSDK::Connect(info, device, &device->device_handle, SCRSDK::CrSdkControlMode_Remote,
                             SCRSDK::CrReconnecting_ON, "", "", "", 0, name.data());
    if (result != 0) {
      const std::string code = result_code_text(static_cast<uint32_t>(result));
      error_line("Sony SDK failed to connect to IP camera " + address + " without authentication: " + code);
      log_message("Sony SDK failed to connect to unauthenticated IP camera: " + code);
      fail_ip(device, info);
    }
  }
  // Connect has taken what it needs from the camera object.
  info->Release();
  return device;
}

void run_ip(const std::string& model, const std::string& address, const std::string& user,
            const std::string& password, bool credentials_given) {
  start_camera_run();
  // run_bridge releases the device and the SDK before it returns: no
  // callback can reach the device object after that.
  const std::unique_ptr<CameraDevice> device(connect_ip(model, address, user, password, credentials_given));
  (void)run_bridge(device.get());
}
