// The simulator's camera objects and camera lists (ICrCameraObjectInfo and
// ICrEnumCameraObjectInfo), built from scenario cameras or creation calls.
#ifndef VK_SONY_SIM_CAMERA_OBJECTS_H
#define VK_SONY_SIM_CAMERA_OBJECTS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "sim/sim_internal.h"

namespace sim {

// Size of an IP camera's id block: the IPv4 address sits at byte 4 and the
// MAC at bytes 520-525.
constexpr uint32_t kIpIdSize = 526;

class CameraObject final : public SCRSDK::ICrCameraObjectInfo {
 public:
  CameraObject() = default;

  // An enumerated camera of the scenario.
  static CameraObject* from_scenario(const ScenarioCamera& camera);

  void Release() override { delete this; }
  CrChar* GetName() const override { return text(name); }
  CrInt32u GetNameSize() const override { return size(name); }
  CrChar* GetModel() const override { return text(model); }
  CrInt32u GetModelSize() const override { return size(model); }
  CrInt16 GetUsbPid() const override { return usb_pid; }
  CrInt8u* GetId() const override { return id.empty() ? nullptr : const_cast<CrInt8u*>(id.data()); }
  CrInt32u GetIdSize() const override { return static_cast<CrInt32u>(id.size()); }
  CrInt32u GetIdType() const override { return id_type; }
  CrInt32u GetConnectionStatus() const override { return 0; }
  CrChar* GetConnectionTypeName() const override { return text(connection_type); }
  CrChar* GetAdaptorName() const override { return text(adaptor); }
  CrChar* GetGuid() const override { return text(guid); }
  CrChar* GetPairingNecessity() const override { return text(pairing); }
  CrInt16u GetAuthenticationState() const override { return 0; }
  CrInt32u GetSSHsupport() const override { return ssh; }
  CrInt32u GetIPAddress() const override { return ip; }
  CrChar* GetIPAddressChar() const override { return text(ip_text); }
  CrInt32u GetIPAddressCharSize() const override { return size(ip_text); }
  CrInt8u* GetMACAddress() const override { return const_cast<CrInt8u*>(mac); }
  CrInt32u GetMACAddressSize() const override { return 6; }
  CrChar* GetMACAddressChar() const override { return text(mac_char); }
  CrInt32u GetMACAddressCharSize() const override { return size(mac_char); }

  std::string name;
  std::string model;
  CrInt16 usb_pid = 0;
  std::vector<CrInt8u> id;
  CrInt32u id_type = SCRSDK::CAMERAOBJECTID_TYPE_USB;
  std::string connection_type;
  std::string adaptor;
  std::string guid;
  std::string pairing;
  CrInt32u ssh = 0;
  CrInt32u ip = 0;  // network byte order, as inet_addr gives it
  std::string ip_text;
  CrInt8u mac[6] = {};
  std::string mac_char;

 private:
  static CrChar* text(const std::string& s) { return const_cast<CrChar*>(s.c_str()); }
  // Sizes count the terminating NUL.
  static CrInt32u size(const std::string& s) { return static_cast<CrInt32u>(s.size() + 1); }
};

class CameraList final : public SCRSDK::ICrEnumCameraObjectInfo {
 public:
  CrInt32u GetCount() const override { return static_cast<CrInt32u>(cameras.size()); }
  const SCRSDK::ICrCameraObjectInfo* GetCameraObjectInfo(CrInt32u index) const override {
    return index < cameras.size() ? cameras[index].get() : nullptr;
  }
  void Release() override { delete this; }

  struct Deleter {
    void operator()(CameraObject* object) const { object->Release(); }
  };
  std::vector<std::unique_ptr<CameraObject, Deleter>> cameras;
};

// "a.b.c.d" of an address in network byte order.
std::string dotted(uint32_t network_order);
// The address of "a.b.c.d" in network byte order (0 when malformed).
uint32_t parse_dotted(const std::string& text);
// The model name of a model-list number ("ILME-FX6" for 10), "" if unknown.
std::string model_name(uint32_t model);

}  // namespace sim

#endif  // VK_SONY_SIM_CAMERA_OBJECTS_H
