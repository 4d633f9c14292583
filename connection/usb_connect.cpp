// Opening a camera run over USB: the direct path for a listed model and
// serial, otherwise a search among the cameras that the SDK enumerates.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "CameraRemote_SDK.h"
#include "connection/connection.h"
#include "protocol/protocol.h"

namespace {

// Connection failures on USB are silent: release the SDK and exit. The SDK
// may call `device` back until the device and the SDK are released, so the
// device object is destroyed last.
[[noreturn]] void fail_usb(CameraDevice* device = nullptr) {
  if (device != nullptr && device->device_handle != 0) (void)SCRSDK::ReleaseDevice(device->device_handle);
  SCRSDK::Release();
  delete device;
  std::exit(1);
}

// Connects `info` as a USB camera without credentials; false when refused.
// The camera object is released here, whatever the outcome: Connect takes
// what it needs from it during the call.
bool connect_without_credentials(SCRSDK::ICrCameraObjectInfo* info, CameraDevice* device) {
  SCRSDK::CrError result =
      SCRSDK::Connect(info, device, &device->device_handle, SCRSDK::CrSdkControlMode_Remote,
                      SCRSDK::CrReconnecting_ON, nullptr, nullptr, nullptr, 0);
  info->Release();
  return result == 0;
}

CameraDevice* connect_direct(uint32_t model, const std::string& serial) {
  CrInt8u serial_buffer[12] = {};
  std::memcpy(serial_buffer, serial.data(), std::min(serial.size(), sizeof serial_buffer));
  SCRSDK::ICrCameraObjectInfo* info = nullptr;
  SCRSDK::CrError result = SCRSDK::CreateCameraObjectInfoUSBConnection(
      &info, static_cast<SCRSDK::CrCameraDeviceModelList>(model), serial_buffer);
  if (result != 0 || info == nullptr) fail_usb();
  auto* device = new CameraDeviceUSB();
  device->model = model;
  if (!connect_without_credentials(info, device)) fail_usb(device);
  return device;
}

}  // namespace

CameraDevice* connect_usb(const std::string& camera_id) {
  const std::vector<std::string> fields = split_camera_id(camera_id);
  if (fields.size() == 3 && fields[0] == "USB") {
    const uint32_t model = camera_model_number(fields[1]);
    if (model != 0) return connect_direct(model, fields[2]);
  }
  if (camera_id == "*") {
    const std::vector<UsbCamera> cameras = list_usb_cameras_sysfs();
    if (!cameras.empty()) return connect_usb("USB|" + cameras.front().product + "|" + cameras.front().serial);
  }
  if (camera_id.empty()) fail_usb();
  const int index = find_camera_index(camera_id, false);
  if (index < 0) fail_usb();
  return connect_camera_at(index);
}

CameraDevice* connect_camera_at(int index) {
  SCRSDK::ICrEnumCameraObjectInfo* list = enumerate_cameras();
  const SCRSDK::ICrCameraObjectInfo* entry = list->GetCameraObjectInfo(static_cast<CrInt32u>(index));
  SCRSDK::ICrCameraObjectInfo* info = nullptr;
  if (entry != nullptr) {
    info = SCRSDK::CreateCameraObjectInfo(entry->GetName(), entry->GetModel(), entry->GetUsbPid(),
                                          entry->GetIdType(), entry->GetIdSize(), entry->GetId(),
                                          entry->GetConnectionTypeName(), entry->GetAdaptorName(),
                                          entry->GetPairingNecessity(), entry->GetSSHsupport());
  }
  list->Release();
  auto* device = new CameraDeviceUSB();
  if (info != nullptr && info->GetModel() != nullptr) device->model = camera_model_number(info->GetModel());
  if (info == nullptr || !connect_without_credentials(info, device)) fail_usb(device);
  return device;
}

void run_usb(const std::string& camera_id) {
  start_camera_run();
  // run_bridge releases the device and the SDK before it returns: no
  // callback can reach the device object after that.
  const std::unique_ptr<CameraDevice> device(connect_usb(camera_id));
  (void)run_bridge(device.get());
}
