// The SDK's free functions, played by the simulated camera.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "IDeviceCallback.h"
#include "sim/camera_objects.h"
#include "sim/sim_internal.h"
#include "sim/simulator.h"
#include "sim/trace_format.h"

namespace {

using SCRSDK::CrError;
using sim::hex;
using sim::result_hex;
using sim::Simulator;

constexpr CrInt32u kPropertyMovieRecording = 0x705;

struct StepProperty {
  uint32_t step;
  uint32_t base;
  int64_t unit;
};
constexpr StepProperty kStepProperties[] = {
    {0x15E, 0x15D, 1},    // white balance tint
    {0x162, 0x161, 1},    // shutter ECS number
    {0x15B, 0x115, 100},  // colour temperature
};

Simulator& simulator() { return Simulator::instance(); }

// Returns the injected result of `call`, or CrError_None.
CrError injected(const std::string& call) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  const auto found = scenario->failures.find(call);
  return found == scenario->failures.end() ? SCRSDK::CrError_None : static_cast<CrError>(found->second);
}

std::string text_or_dash(const char* text) { return text == nullptr ? "-" : text; }

std::string codes_text(CrInt32u count, const CrInt32u* codes) {
  std::vector<uint32_t> list;
  for (CrInt32u i = 0; codes != nullptr && i < count; ++i) list.push_back(codes[i]);
  return sim::hex_list(list);
}

bool is_signed(uint32_t type) {
  return (type & SCRSDK::CrDataType_SignBit) != 0 && type != SCRSDK::CrDataType_STR;
}

// The value as a signed number, read at the element width of its type.
int64_t signed_value(uint64_t value, uint32_t type) {
  const uint32_t width = sim::element_width(type);
  if (!is_signed(type) || width >= 8) return static_cast<int64_t>(value);
  const unsigned bits = width * 8;
  const uint64_t mask = (uint64_t{1} << bits) - 1;
  const uint64_t low = value & mask;
  return (low >> (bits - 1)) ? static_cast<int64_t>(low | ~mask) : static_cast<int64_t>(low);
}

// Reports a changed property after the confirm delay (unless the camera
// never confirms).
void confirm_change(uint32_t code, bool honour_never) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  if (honour_never && scenario->confirm_never) return;
  sim::Callback changed;
  changed.kind = sim::Callback::Kind::kPropertyChanged;
  sim::Callback codes;
  codes.kind = sim::Callback::Kind::kPropertyChangedCodes;
  codes.codes = {code};
  simulator().queue({changed, codes}, std::chrono::milliseconds(scenario->confirm_ms));
}

// Applies a write; sets `*changed` to the code to report, or 0.
CrError set_property(CrInt32u code, uint64_t value, CrInt32u* changed) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  const auto failure = scenario->set_failures.find(code);
  if (failure != scenario->set_failures.end()) return static_cast<CrError>(failure->second);
  sim::ScenarioProperty property;
  for (const StepProperty& step : kStepProperties) {
    if (code != step.step) continue;
    if (!simulator().find_property(step.base, &property)) break;
    // A step is a signed 16-bit count of units.
    const int64_t steps = static_cast<int16_t>(static_cast<uint16_t>(value));
    int64_t moved = signed_value(property.value, property.type) + steps * step.unit;
    if ((property.type & SCRSDK::CrDataType_RangeBit) != 0 && property.candidates.size() >= 2) {
      const int64_t low = signed_value(property.candidates[0], property.type);
      const int64_t high = signed_value(property.candidates[1], property.type);
      moved = std::max(low, std::min(high, moved));
    }
    if (simulator().store_value(step.base, static_cast<uint64_t>(moved))) *changed = step.base;
    return SCRSDK::CrError_None;
  }
  if (!simulator().find_property(code, &property)) return SCRSDK::CrError_Api_InvalidCalled;
  // A read-only property or a text takes the write and keeps its value, as
  // the camera does.
  if (!property.writable || property.type == SCRSDK::CrDataType_STR) return SCRSDK::CrError_None;
  if (simulator().store_value(code, value)) *changed = code;
  return SCRSDK::CrError_None;
}

template <typename Record>
CrError live_view_records(CrInt32u count, const CrInt32u* codes, Record** out, CrInt32* num) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  std::vector<sim::ScenarioLiveViewProperty> chosen;
  for (const sim::ScenarioLiveViewProperty& lv : scenario->lv_properties) {
    bool wanted = codes == nullptr;
    for (CrInt32u i = 0; !wanted && i < count; ++i) wanted = codes[i] == lv.code;
    if (wanted) chosen.push_back(lv);
  }
  const CrInt32u time_code = scenario->lv_properties.empty() ? 0 : scenario->lv_properties[0].time_code;
  Record* records = chosen.empty() ? nullptr : new Record[chosen.size()];
  for (std::size_t i = 0; i < chosen.size(); ++i) {
    records[i].SetCode(chosen[i].code);
    records[i].SetPropertyEnableFlag(SCRSDK::CrEnableValue_True);
    records[i].SetFrameInfoType(SCRSDK::CrFrameInfoType_Unknown);
    sim::set_live_view_time_code(&records[i], time_code);
  }
  if (out != nullptr) {
    *out = records;
  } else {
    delete[] records;
  }
  if (num != nullptr) *num = static_cast<CrInt32>(chosen.size());
  return SCRSDK::CrError_None;
}

}  // namespace

namespace SCRSDK {

extern "C" {

bool Init(CrInt32u logtype) {
  simulator().open_environment();
  if (simulator().tracing()) simulator().trace("Init logtype=" + std::to_string(logtype));
  return simulator().init_scenario();
}

bool Release() {
  // Threads first, so that no callback line follows this one.
  simulator().shut_down(false);
  if (simulator().tracing()) simulator().trace("Release");
  simulator().close_trace();
  return true;
}

CrInt32u GetSDKVersion() { return simulator().peek_sdk_version(); }

CrError EnumCameraObjects(ICrEnumCameraObjectInfo** ppEnumCameraObjectInfo, CrInt8u /*timeInSec*/) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  CrError result = injected("enum");
  std::size_t count = 0;
  if (ppEnumCameraObjectInfo != nullptr) *ppEnumCameraObjectInfo = nullptr;
  if (result == CrError_None && scenario->failures.count("enum-null") == 0 &&
      ppEnumCameraObjectInfo != nullptr) {
    sim::CameraList* list = new sim::CameraList();
    for (const sim::ScenarioCamera& camera : scenario->cameras) {
      list->cameras.emplace_back(sim::CameraObject::from_scenario(camera));
    }
    count = list->cameras.size();
    *ppEnumCameraObjectInfo = list;
  }
  if (simulator().tracing())
    simulator().trace("EnumCameraObjects result=" + result_hex(result) + " count=" + std::to_string(count));
  return result;
}

ICrCameraObjectInfo* CreateCameraObjectInfo(CrChar* name, CrChar* model, CrInt16 usbPid, CrInt32u idType,
                                            CrInt32u idSize, CrInt8u* id, CrChar* connectTypeName,
                                            CrChar* adaptorName, CrChar* pairingNecessity,
                                            CrInt32u sshSupport) {
  if (simulator().tracing())
    simulator().trace("CreateCameraObjectInfo model=" + std::string(model ? model : "") +
                      " type=" + std::string(connectTypeName ? connectTypeName : ""));
  if (injected("create") != CrError_None) return nullptr;
  sim::CameraObject* object = new sim::CameraObject();
  object->name = name ? name : "";
  object->model = model ? model : "";
  object->usb_pid = usbPid;
  object->id_type = idType;
  if (id != nullptr) object->id.assign(id, id + idSize);
  object->connection_type = connectTypeName ? connectTypeName : "";
  object->adaptor = adaptorName ? adaptorName : "";
  object->pairing = pairingNecessity ? pairingNecessity : "";
  object->ssh = sshSupport;
  if (idType == CAMERAOBJECTID_TYPE_IP && object->id.size() >= sim::kIpIdSize) {
    for (int i = 0; i < 4; ++i) object->ip |= static_cast<CrInt32u>(object->id[4 + i]) << (8 * i);
    object->ip_text = sim::dotted(object->ip);
    std::copy(object->id.begin() + 520, object->id.begin() + 526, object->mac);
    object->mac_char = sim::mac_text(object->mac);
  }
  return object;
}

CrError CreateCameraObjectInfoUSBConnection(ICrCameraObjectInfo** pCameraObjectInfo,
                                            CrCameraDeviceModelList model, CrInt8u* usbSerialNumber) {
  std::string serial;
  for (CrInt32u i = 0; usbSerialNumber != nullptr && i < USB_SERIAL_LENGTH && usbSerialNumber[i] != 0; ++i) {
    serial += static_cast<char>(usbSerialNumber[i]);
  }
  CrError result = injected("create");
  if (pCameraObjectInfo == nullptr) result = CrError_Generic;
  if (result == CrError_None) {
    sim::CameraObject* object = new sim::CameraObject();
    object->model = sim::model_name(model);
    object->name = object->model;
    object->connection_type = "USB";
    object->adaptor = "PTP-USB";
    object->id.assign(serial.begin(), serial.end());
    *pCameraObjectInfo = object;
  }
  if (simulator().tracing())
    simulator().trace("CreateCameraObjectInfoUSBConnection model=" + std::to_string(model) +
                      " serial=" + serial + " result=" + result_hex(result));
  return result;
}

CrError CreateCameraObjectInfoEthernetConnection(ICrCameraObjectInfo** pCameraObjectInfo,
                                                 CrCameraDeviceModelList model, CrInt32u ipAddress,
                                                 CrInt8u* macAddress, CrInt32u sshSupport) {
  const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
  CrError result = injected("create");
  if (pCameraObjectInfo == nullptr) result = CrError_Generic;
  const std::string ip = sim::dotted(ipAddress);
  if (result == CrError_None) {
    sim::CameraObject* object = new sim::CameraObject();
    object->model = sim::model_name(model);
    object->name = object->model;
    object->connection_type = "IP";
    object->adaptor = "PTP-IP";
    object->id_type = CAMERAOBJECTID_TYPE_IP;
    object->ip = ipAddress;
    object->ip_text = ip;
    if (macAddress != nullptr) std::copy(macAddress, macAddress + 6, object->mac);
    object->mac_char = sim::mac_text(object->mac);
    object->ssh = sshSupport;
    for (const sim::ScenarioCamera& camera : scenario->cameras) {
      if (camera.type == "IP" && camera.id == ip && camera.ssh >= 0)
        object->ssh = static_cast<CrInt32u>(camera.ssh);
    }
    object->id.assign(sim::kIpIdSize, 0);
    for (int i = 0; i < 4; ++i) object->id[4 + i] = static_cast<CrInt8u>(ipAddress >> (8 * i));
    std::copy(object->mac, object->mac + 6, object->id.begin() + 520);
    *pCameraObjectInfo = object;
  }
  if (simulator().tracing())
    simulator().trace("CreateCameraObjectInfoEthernetConnection model=" + std::to_string(model) +
                      " ip=" + ip + " mac=" + sim::mac_text(macAddress) +
                      " ssh=" + std::to_string(sshSupport) + " result=" + result_hex(result));
  return result;
}

CrError GetFingerprint(ICrCameraObjectInfo* pCameraObjectInfo, char* fingerprint, CrInt32u* fingerprintSize) {
  CrError result = injected("fingerprint");
  if (pCameraObjectInfo == nullptr || fingerprint == nullptr || fingerprintSize == nullptr)
    result = CrError_Generic;
  CrInt32u size = 0;
  if (result == CrError_None) {
    // A stable, printable stand-in derived from the camera's address.
    uint64_t hash = 1469598103934665603ull;
    const CrInt8u* id = pCameraObjectInfo->GetId();
    for (CrInt32u i = 0; id != nullptr && i < pCameraObjectInfo->GetIdSize(); ++i)
      hash = (hash ^ id[i]) * 1099511628211ull;
    char text[64];
    std::snprintf(text, sizeof text, "SHA256:%016llx%016llx", static_cast<unsigned long long>(hash),
                  static_cast<unsigned long long>(hash * 31 + 7));
    size = static_cast<CrInt32u>(std::strlen(text));
    std::memcpy(fingerprint, text, size + 1);
    *fingerprintSize = size;
  }
  if (simulator().tracing())
    simulator().trace("GetFingerprint result=" + result_hex(result) + " size=" + std::to_string(size));
  return result;
}

CrError Connect(ICrCameraObjectInfo* pCameraObjectInfo, IDeviceCallback* callback,
                CrDeviceHandle* deviceHandle, CrSdkControlMode openMode, CrReconnectingSet reconnect,
                const char* userId, const char* userPassword, const char* /*fingerprint*/,
                CrInt32u fingerprintSize, const CrInt16u* /*pairingDisplayName*/) {
  CrError result = injected("connect");
  if (pCameraObjectInfo == nullptr || callback == nullptr || deviceHandle == nullptr)
    result = CrError_Generic;
  // The trace line comes before the connection's callbacks.
  if (simulator().tracing())
    simulator().trace("Connect mode=" + std::to_string(openMode) + " reconnect=" + std::to_string(reconnect) +
                      " user=" + text_or_dash(userId) + " password=" + text_or_dash(userPassword) +
                      " fingerprint_size=" + std::to_string(fingerprintSize) +
                      " result=" + result_hex(result));
  if (result == CrError_None) simulator().connect(callback, deviceHandle);
  return result;
}

CrError Disconnect(CrDeviceHandle deviceHandle) {
  simulator().disconnect(deviceHandle);
  if (simulator().tracing()) simulator().trace("Disconnect result=0x0");
  return CrError_None;
}

CrError ReleaseDevice(CrDeviceHandle deviceHandle) {
  simulator().release_device(deviceHandle);
  if (simulator().tracing()) simulator().trace("ReleaseDevice result=0x0");
  return CrError_None;
}

CrError SendCommand(CrDeviceHandle deviceHandle, CrInt32u commandId, CrCommandParam commandParam) {
  if (simulator().tracing())
    simulator().trace("SendCommand id=" + std::to_string(commandId) +
                      " param=" + std::to_string(commandParam));
  if (!simulator().knows(deviceHandle)) return CrError_Generic;
  sim::ScenarioProperty recording;
  if (!simulator().find_property(kPropertyMovieRecording, &recording)) return CrError_None;
  uint64_t next = recording.value;
  if (commandId == CrCommandId_MovieRecord) {
    next = commandParam;
  } else if (commandId == CrCommandId_MovieRecButtonToggle && commandParam == CrCommandParam_Down) {
    next = recording.value == 0 ? 1 : 0;
  }
  if (simulator().store_value(kPropertyMovieRecording, next)) confirm_change(kPropertyMovieRecording, false);
  return CrError_None;
}

CrError SetDeviceProperty(CrDeviceHandle deviceHandle, CrDeviceProperty* pProperty) {
  if (pProperty == nullptr) return CrError_Generic;
  CrInt32u changed = 0;
  const CrError result = simulator().knows(deviceHandle)
                             ? set_property(pProperty->GetCode(), pProperty->GetCurrentValue(), &changed)
                             : CrError_Generic;
  if (simulator().tracing())
    simulator().trace("SetDeviceProperty code=" + hex(pProperty->GetCode()) +
                      " value=" + std::to_string(pProperty->GetCurrentValue()) +
                      " type=" + hex(pProperty->GetValueType()) + " result=" + result_hex(result));
  // Queued after the call's own trace line, so the trace reads in order.
  if (changed != 0) confirm_change(changed, true);
  return result;
}

CrError GetSelectDeviceProperties(CrDeviceHandle deviceHandle, CrInt32u numOfCodes, CrInt32u* codes,
                                  CrDeviceProperty** properties, CrInt32* numOfProperties) {
  CrError result = injected("get-properties");
  if (!simulator().knows(deviceHandle) || properties == nullptr || numOfProperties == nullptr) {
    result = CrError_Generic;
  }
  if (result == CrError_None) {
    // Filled under the simulator's lock: no copy of the properties.
    CrDeviceProperty* list = nullptr;
    CrInt32 filled = 0;
    simulator().with_properties(codes, numOfCodes, [&](const std::vector<sim::PropertySource>& found) {
      list = sim::new_property_list(found);
      filled = static_cast<CrInt32>(found.size());
    });
    *properties = list;
    *numOfProperties = filled;
  }
  if (simulator().tracing())
    simulator().trace("GetSelectDeviceProperties codes=" + codes_text(numOfCodes, codes) +
                      " result=" + result_hex(result));
  return result;
}

CrError ReleaseDeviceProperties(CrDeviceHandle /*deviceHandle*/, CrDeviceProperty* properties) {
  const CrError result = injected("release-properties");
  // The list is freed even when the call is made to fail, so that a test
  // of the failure path stays leak-free.
  sim::delete_property_list(properties);
  if (simulator().tracing()) simulator().trace("ReleaseDeviceProperties result=" + result_hex(result));
  return result;
}

CrError GetLiveViewProperties(CrDeviceHandle deviceHandle, CrLiveViewProperty** properties,
                              CrInt32* numOfProperties) {
  CrError result = injected("get-lv-properties");
  if (!simulator().knows(deviceHandle)) result = CrError_Generic;
  if (result == CrError_None) result = live_view_records(0, nullptr, properties, numOfProperties);
  if (simulator().tracing()) simulator().trace("GetLiveViewProperties result=" + result_hex(result));
  return result;
}

CrError GetSelectLiveViewProperties(CrDeviceHandle deviceHandle, CrInt32u numOfCodes, CrInt32u* codes,
                                    CrLiveViewProperty** properties, CrInt32* numOfProperties) {
  CrError result = injected("get-lv-properties");
  if (!simulator().knows(deviceHandle)) result = CrError_Generic;
  if (result == CrError_None) {
    static CrInt32u no_codes = 0;
    result = live_view_records(numOfCodes, codes == nullptr ? &no_codes : codes, properties, numOfProperties);
  }
  if (simulator().tracing())
    simulator().trace("GetSelectLiveViewProperties codes=" + codes_text(numOfCodes, codes) +
                      " result=" + result_hex(result));
  return result;
}

CrError ReleaseLiveViewProperties(CrDeviceHandle /*deviceHandle*/, CrLiveViewProperty* properties) {
  const CrError result = injected("release-lv-properties");
  delete[] properties;
  if (simulator().tracing()) simulator().trace("ReleaseLiveViewProperties result=" + result_hex(result));
  return result;
}

CrError GetLiveViewImageInfo(CrDeviceHandle deviceHandle, CrImageInfo* info) {
  CrError result = injected("live-view");
  if (!simulator().knows(deviceHandle) || info == nullptr) result = CrError_Generic;
  if (result == CrError_None) sim::set_image_info(info, 640, 360, simulator().scenario()->live_view_buffer);
  if (simulator().tracing()) simulator().trace("GetLiveViewImageInfo result=" + result_hex(result));
  return result;
}

CrError GetLiveViewImage(CrDeviceHandle deviceHandle, CrImageDataBlock* imageData) {
  constexpr CrInt32u kImageSize = 512;
  CrError result = injected("live-view");
  if (!simulator().knows(deviceHandle) || imageData == nullptr || imageData->GetImageData() == nullptr ||
      imageData->GetSize() < kImageSize) {
    result = CrError_Generic;
  }
  if (result == CrError_None) {
    // A JPEG-shaped frame: start and end markers around a filler.
    CrInt8u* data = imageData->GetImageData();
    std::memset(data, 0x55, kImageSize);
    data[0] = 0xFF;
    data[1] = 0xD8;
    data[kImageSize - 2] = 0xFF;
    data[kImageSize - 1] = 0xD9;
    const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
    const CrInt32u time_code = scenario->lv_properties.empty() ? 0 : scenario->lv_properties[0].time_code;
    sim::set_image_frame(imageData, simulator().next_frame(), kImageSize, time_code);
  }
  if (simulator().tracing()) simulator().trace("GetLiveViewImage result=" + result_hex(result));
  return result;
}

CrError RequestDisplayStringList(CrDeviceHandle deviceHandle, CrDisplayStringType type) {
  CrError result = injected("menu");
  if (!simulator().knows(deviceHandle)) result = CrError_Generic;
  if (simulator().tracing())
    simulator().trace("RequestDisplayStringList type=" + hex(type) + " result=" + result_hex(result));
  if (result == CrError_None) {
    const std::shared_ptr<const sim::Scenario> scenario = simulator().scenario();
    sim::Callback warning;
    warning.kind = sim::Callback::Kind::kWarning;
    warning.value = scenario->menu_success ? CrWarning_RequestDisplayStringList_Success
                                           : CrWarning_RequestDisplayStringList_Error;
    simulator().queue({warning}, std::chrono::milliseconds(scenario->confirm_ms));
  }
  return result;
}

CrError ImportLUTFile(CrDeviceHandle deviceHandle, CrChar* fileName, CrBaseLookNumber baseLookNumber) {
  CrError result = injected("lut");
  if (!simulator().knows(deviceHandle)) result = CrError_Generic;
  if (simulator().tracing())
    simulator().trace("ImportLUTFile file=" + std::string(fileName ? fileName : "") +
                      " slot=" + std::to_string(baseLookNumber) + " result=" + result_hex(result));
  return result;
}

}  // extern "C"

}  // namespace SCRSDK
