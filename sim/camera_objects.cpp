// Camera objects of the simulated SDK: id blocks, addresses and model names.
#include "sim/camera_objects.h"

#include <algorithm>
#include <cstdio>

#include "sim/trace_format.h"

namespace sim {

namespace {

// Indexed by CrCameraDeviceModelList.
const char* const kModelNames[] = {
    "ILCE-7RM4", "ILCE-9M2",  "ILCE-7C",  "ILCE-7SM3",  "ILCE-1",   "ILCE-7RM4A", "DSC-RX0M2", "ILCE-7M4",
    "ILME-FX3",  "ILME-FX30", "ILME-FX6", "ILCE-7RM5",  "ZV-E1",    "ILCE-6700",  "ILCE-7CM2", "ILCE-7CR",
    "ILX-LR1",   "MPC-2610",  "ILCE-9M3", "ZV-E10M2",   "PXW-Z200", "HXR-NX800",  "ILCE-1M2",  "ILME-FX3A",
    "BRC-AM7",   "ILME-FR7",  "ILME-FX2", "DSC-RX1RM3", "ILCE-7M5", "PXW-Z300",   "PXW-Z380",
};

}  // namespace

std::string model_name(uint32_t model) {
  return model < sizeof kModelNames / sizeof kModelNames[0] ? kModelNames[model] : "";
}

std::string dotted(uint32_t network_order) {
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", network_order & 0xFF, (network_order >> 8) & 0xFF,
                (network_order >> 16) & 0xFF, (network_order >> 24) & 0xFF);
  return text;
}

uint32_t parse_dotted(const std::string& text) {
  unsigned a, b, c, d;
  char tail = 0;
  if (std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &tail) != 4 || a > 255 || b > 255 ||
      c > 255 || d > 255) {
    return 0;
  }
  return a | b << 8 | c << 16 | d << 24;
}

CameraObject* CameraObject::from_scenario(const ScenarioCamera& camera) {
  CameraObject* object = new CameraObject();
  object->name = camera.model;
  object->model = camera.model;
  object->connection_type = camera.type;
  if (camera.type == "IP") {
    object->id_type = SCRSDK::CAMERAOBJECTID_TYPE_IP;
    object->ip = parse_dotted(camera.id);
    object->ip_text = camera.id;
    std::copy(camera.mac, camera.mac + 6, object->mac);
    object->mac_char = mac_text(camera.mac);
    object->ssh = camera.ssh == 1 ? 1 : 0;
    object->id.assign(kIpIdSize, 0);
    for (int i = 0; i < 4; ++i) object->id[4 + i] = static_cast<CrInt8u>(object->ip >> (8 * i));
    std::copy(camera.mac, camera.mac + 6, object->id.begin() + 520);
    object->adaptor = "PTP-IP";
  } else {
    object->id.assign(camera.id.begin(), camera.id.end());
    object->adaptor = camera.type == "USB" ? "PTP-USB" : camera.type;
  }
  return object;
}

}  // namespace sim
