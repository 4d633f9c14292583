// The two camera listings: Sony USB cameras from the sysfs device tree (-l)
// and every camera that the SDK discovers (-L).
#include <dirent.h>

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "connection/connection.h"

namespace {

// The first line of a sysfs file without surrounding white space; "" when
// the file cannot be opened.
std::string read_sysfs_value(const std::string& path) {
  std::FILE* in = std::fopen(path.c_str(), "re");
  if (in == nullptr) return "";
  std::string line;
  for (int c; (c = std::getc(in)) != EOF && c != '\n';) line.push_back(static_cast<char>(c));
  std::fclose(in);
  const char* blanks = " \t\r\n\v\f";
  size_t first = line.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  size_t last = line.find_last_not_of(blanks);
  return line.substr(first, last - first + 1);
}

void print_sysfs_listing() {
  const std::vector<UsbCamera> cameras = list_usb_cameras_sysfs();
  for (const UsbCamera& camera : cameras) std::puts(("USB|" + camera.product + "|" + camera.serial).c_str());
  std::fflush(stdout);
  log_message("USB sysfs listing printed " + std::to_string(cameras.size()) + " device(s)");
}

void print_sdk_listing() {
  SCRSDK::ICrEnumCameraObjectInfo* list = enumerate_cameras();
  const CrInt32u count = list->GetCount();
  log_message("Camera enumeration returned " + std::to_string(count) +
              " device(s) before all-device listing");
  for (CrInt32u index = 0; index < count; ++index) {
    const SCRSDK::ICrCameraObjectInfo* info = list->GetCameraObjectInfo(index);
    if (info == nullptr) continue;
    const std::string id = camera_id_text(*info);
    const CrChar* type = info->GetConnectionTypeName();
    log_message("Camera[" + std::to_string(index) + "] " + id +
                " connection=" + (type == nullptr ? "" : type));
    std::puts(id.c_str());
  }
  std::fflush(stdout);
  log_message("Camera listing printed " + std::to_string(count) + " device(s)");
  list->Release();
}

}  // namespace

std::vector<UsbCamera> list_usb_cameras_sysfs(const std::string& root) {
  std::vector<UsbCamera> cameras;
  DIR* directory = opendir(root.c_str());
  if (directory == nullptr) {
    log_message("Unable to open " + root + " for USB camera discovery");
    return cameras;
  }
  while (const dirent* entry = readdir(directory)) {
    if (entry->d_name[0] == '.') continue;
    const std::string device = root + "/" + entry->d_name;
    std::string vendor = read_sysfs_value(device + "/idVendor");
    std::transform(vendor.begin(), vendor.end(), vendor.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (vendor != "054c") continue;
    UsbCamera camera{read_sysfs_value(device + "/product"), read_sysfs_value(device + "/serial")};
    if (camera.product.empty() || camera.serial.empty()) continue;
    if (camera_model_number(camera.product) == 0) continue;
    cameras.push_back(camera);
  }
  closedir(directory);
  return cameras;
}

void print_camera_list(bool all) {
  if (all)
    print_sdk_listing();
  else
    print_sysfs_listing();
}
