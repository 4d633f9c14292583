// The SDK's record classes: device and live-view properties, display
// strings and the live-view image records, with deep copies.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "CameraRemote_SDK.h"
#include "sim/sim_internal.h"

namespace SCRSDK {

static_assert(sizeof(void*) != 8 || sizeof(CrDeviceProperty) == 64, "CrDeviceProperty layout");
static_assert(sizeof(void*) != 4 || sizeof(CrDeviceProperty) == 48, "CrDeviceProperty layout");
static_assert(sizeof(void*) != 8 || sizeof(CrLiveViewProperty) == 32, "CrLiveViewProperty layout");
static_assert(sizeof(void*) != 4 || sizeof(CrLiveViewProperty) == 20, "CrLiveViewProperty layout");
static_assert(sizeof(void*) != 8 || sizeof(CrDisplayStringListInfo) == 32, "CrDisplayStringListInfo layout");
static_assert(sizeof(void*) != 4 || sizeof(CrDisplayStringListInfo) == 24, "CrDisplayStringListInfo layout");
static_assert(sizeof(void*) != 8 || sizeof(CrImageDataBlock) == 24, "CrImageDataBlock layout");
static_assert(sizeof(void*) != 4 || sizeof(CrImageDataBlock) == 20, "CrImageDataBlock layout");
static_assert(sizeof(CrImageInfo) == 12, "CrImageInfo layout");

namespace {

CrInt8u* copy_bytes(const CrInt8u* from, CrInt32u size) {
  if (from == nullptr || size == 0) return nullptr;
  CrInt8u* to = new CrInt8u[size];
  std::memcpy(to, from, size);
  return to;
}

// A current string is a 16-bit length n followed by n bytes of text, and
// nothing after them: no terminating zero (an odd n leaves one zero byte of
// padding), so that a reader running past n is caught by AddressSanitizer.
CrInt16u* copy_str(const CrInt16u* from) {
  if (from == nullptr) return nullptr;
  const CrInt16u length = from[0];
  const std::size_t units = 1 + (length + 1u) / 2;  // length, text
  CrInt16u* to = new CrInt16u[units]();
  std::memcpy(to, from, sizeof(CrInt16u) + length);
  return to;
}

// Field-for-field mirrors of records whose fields the SDK fills but the
// public interface offers no setter for.
struct LiveViewPropertyLayout {
  CrInt32u code;
  CrPropertyEnableFlag enableFlag;
  CrFrameInfoType valueType;
  CrInt32u valueSize;
  CrInt8u* value;
  CrInt32u timeCode;
};
struct ImageInfoLayout {
  CrInt32u width;
  CrInt32u height;
  CrInt32u bufferSize;
};
struct ImageDataBlockLayout {
  CrInt32u frameNo;
  CrInt32u size;
  CrInt8u* pData;
  CrInt32u imageSize;
  CrInt32u timeCode;
};
static_assert(sizeof(LiveViewPropertyLayout) == sizeof(CrLiveViewProperty), "mirror layout");
static_assert(sizeof(ImageInfoLayout) == sizeof(CrImageInfo), "mirror layout");
static_assert(sizeof(ImageDataBlockLayout) == sizeof(CrImageDataBlock), "mirror layout");

template <typename T>
void poke(void* record, std::size_t offset, T value) {
  std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

}  // namespace

// ---- CrDeviceProperty ----

CrDeviceProperty::CrDeviceProperty()
    : code(0),
      valueType(CrDataType_Undefined),
      enableFlag(CrEnableValue_False),
      variableFlag(CrEnableValue_Invalid),
      currentValue(0),
      currentStr(nullptr),
      valuesSize(0),
      values(nullptr),
      getSetValuesSize(0),
      getSetValues(nullptr) {}

CrDeviceProperty::~CrDeviceProperty() {
  delete[] currentStr;
  delete[] values;
  delete[] getSetValues;
}

CrDeviceProperty::CrDeviceProperty(const CrDeviceProperty& ref)
    : code(ref.code),
      valueType(ref.valueType),
      enableFlag(ref.enableFlag),
      variableFlag(ref.variableFlag),
      currentValue(ref.currentValue),
      currentStr(copy_str(ref.currentStr)),
      valuesSize(ref.valuesSize),
      values(copy_bytes(ref.values, ref.valuesSize)),
      getSetValuesSize(ref.getSetValuesSize),
      getSetValues(copy_bytes(ref.getSetValues, ref.getSetValuesSize)) {}

CrDeviceProperty& CrDeviceProperty::operator=(const CrDeviceProperty& ref) {
  if (this == &ref) return *this;
  CrInt16u* str = copy_str(ref.currentStr);
  CrInt8u* vals = copy_bytes(ref.values, ref.valuesSize);
  CrInt8u* set_vals = copy_bytes(ref.getSetValues, ref.getSetValuesSize);
  delete[] currentStr;
  delete[] values;
  delete[] getSetValues;
  code = ref.code;
  valueType = ref.valueType;
  enableFlag = ref.enableFlag;
  variableFlag = ref.variableFlag;
  currentValue = ref.currentValue;
  currentStr = str;
  valuesSize = ref.valuesSize;
  values = vals;
  getSetValuesSize = ref.getSetValuesSize;
  getSetValues = set_vals;
  return *this;
}

void CrDeviceProperty::Alloc(const CrInt32u size, const CrInt32u getSetSize, const CrInt16u getStrSize) {
  delete[] values;
  delete[] getSetValues;
  delete[] currentStr;
  valuesSize = size;
  values = size ? new CrInt8u[size]() : nullptr;
  getSetValuesSize = getSetSize;
  getSetValues = getSetSize ? new CrInt8u[getSetSize]() : nullptr;
  currentStr = getStrSize ? new CrInt16u[getStrSize + 1u]() : nullptr;
}

bool CrDeviceProperty::IsGetEnableCurrentValue() const {
  return enableFlag == CrEnableValue_True || enableFlag == CrEnableValue_DisplayOnly;
}
bool CrDeviceProperty::IsSetEnableCurrentValue() const {
  return enableFlag == CrEnableValue_True || enableFlag == CrEnableValue_SetOnly;
}
void CrDeviceProperty::SetCode(CrInt32u value) { code = value; }
CrInt32u CrDeviceProperty::GetCode() const { return code; }
void CrDeviceProperty::SetValueType(CrDataType type) { valueType = type; }
CrDataType CrDeviceProperty::GetValueType() const { return valueType; }
void CrDeviceProperty::SetPropertyEnableFlag(CrPropertyEnableFlag flag) { enableFlag = flag; }
CrPropertyEnableFlag CrDeviceProperty::GetPropertyEnableFlag() const { return enableFlag; }
void CrDeviceProperty::SetPropertyVariableFlag(CrPropertyVariableFlag flag) { variableFlag = flag; }
CrPropertyVariableFlag CrDeviceProperty::GetPropertyVariableFlag() const { return variableFlag; }
void CrDeviceProperty::SetCurrentValue(CrInt64u value) { currentValue = value; }
CrInt64u CrDeviceProperty::GetCurrentValue() const { return currentValue; }

// The setters below copy what they are given (sizes first, then the
// buffers), so that every record owns its buffers.
void CrDeviceProperty::SetCurrentStr(CrInt16u* str) {
  CrInt16u* copy = copy_str(str);
  delete[] currentStr;
  currentStr = copy;
}
CrInt16u* CrDeviceProperty::GetCurrentStr() const { return currentStr; }
void CrDeviceProperty::SetValueSize(CrInt32u size) { valuesSize = size; }
CrInt32u CrDeviceProperty::GetValueSize() const { return valuesSize; }
void CrDeviceProperty::SetValues(CrInt8u* value) {
  CrInt8u* copy = copy_bytes(value, valuesSize);
  delete[] values;
  values = copy;
}
CrInt8u* CrDeviceProperty::GetValues() const { return values; }
void CrDeviceProperty::SetSetValueSize(CrInt32u size) { getSetValuesSize = size; }
CrInt32u CrDeviceProperty::GetSetValueSize() const { return getSetValuesSize; }
void CrDeviceProperty::SetSetValues(CrInt8u* value) {
  CrInt8u* copy = copy_bytes(value, getSetValuesSize);
  delete[] getSetValues;
  getSetValues = copy;
}
CrInt8u* CrDeviceProperty::GetSetValues() const { return getSetValues; }
CrInt32u CrDeviceProperty::GetDisplayValueSize() const { return 0; }
CrInt8u* CrDeviceProperty::GetDisplayValues() const { return nullptr; }

// ---- CrLiveViewProperty ----

CrLiveViewProperty::CrLiveViewProperty()
    : code(0),
      enableFlag(CrEnableValue_False),
      valueType(CrFrameInfoType_Unknown),
      valueSize(0),
      value(nullptr),
      timeCode(0) {}

CrLiveViewProperty::~CrLiveViewProperty() { delete[] value; }

CrLiveViewProperty::CrLiveViewProperty(const CrLiveViewProperty& ref)
    : code(ref.code),
      enableFlag(ref.enableFlag),
      valueType(ref.valueType),
      valueSize(ref.valueSize),
      value(copy_bytes(ref.value, ref.valueSize)),
      timeCode(ref.timeCode) {}

CrLiveViewProperty& CrLiveViewProperty::operator=(const CrLiveViewProperty& ref) {
  if (this == &ref) return *this;
  CrInt8u* copy = copy_bytes(ref.value, ref.valueSize);
  delete[] value;
  code = ref.code;
  enableFlag = ref.enableFlag;
  valueType = ref.valueType;
  valueSize = ref.valueSize;
  value = copy;
  timeCode = ref.timeCode;
  return *this;
}

void CrLiveViewProperty::Alloc(const CrInt32u size) {
  delete[] value;
  valueSize = size;
  value = size ? new CrInt8u[size]() : nullptr;
}
bool CrLiveViewProperty::IsGetEnableCurrentValue() const {
  return enableFlag == CrEnableValue_True || enableFlag == CrEnableValue_DisplayOnly;
}
void CrLiveViewProperty::SetCode(CrInt32u c) { code = c; }
CrInt32u CrLiveViewProperty::GetCode() const { return code; }
void CrLiveViewProperty::SetPropertyEnableFlag(CrPropertyEnableFlag flag) { enableFlag = flag; }
CrPropertyEnableFlag CrLiveViewProperty::GetPropertyEnableFlag() const { return enableFlag; }
void CrLiveViewProperty::SetFrameInfoType(CrFrameInfoType type) { valueType = type; }
CrFrameInfoType CrLiveViewProperty::GetFrameInfoType() const { return valueType; }
void CrLiveViewProperty::SetValueSize(CrInt32u size) { valueSize = size; }
CrInt32u CrLiveViewProperty::GetValueSize() const { return valueSize; }
void CrLiveViewProperty::SetValue(CrInt8u* v) {
  CrInt8u* copy = copy_bytes(v, valueSize);
  delete[] value;
  value = copy;
}
CrInt8u* CrLiveViewProperty::GetValue() const { return value; }
CrInt32u CrLiveViewProperty::GetTimeCode() const { return timeCode; }

// ---- CrDisplayStringListInfo ----

CrDisplayStringListInfo::CrDisplayStringListInfo()
    : dataType(CrDataType_Undefined),
      listType(CrDisplayStringType_AllList),
      value(0),
      displayStringSize(0),
      displayString(nullptr) {}

CrDisplayStringListInfo::~CrDisplayStringListInfo() { delete[] displayString; }

CrDisplayStringListInfo::CrDisplayStringListInfo(const CrDisplayStringListInfo& ref)
    : dataType(ref.dataType),
      listType(ref.listType),
      value(ref.value),
      displayStringSize(ref.displayStringSize),
      displayString(copy_bytes(ref.displayString, ref.displayStringSize)) {}

CrDisplayStringListInfo& CrDisplayStringListInfo::operator=(const CrDisplayStringListInfo& ref) {
  if (this == &ref) return *this;
  CrInt8u* copy = copy_bytes(ref.displayString, ref.displayStringSize);
  delete[] displayString;
  dataType = ref.dataType;
  listType = ref.listType;
  value = ref.value;
  displayStringSize = ref.displayStringSize;
  displayString = copy;
  return *this;
}

void CrDisplayStringListInfo::Alloc(const CrInt32u size) {
  delete[] displayString;
  displayStringSize = size;
  displayString = size ? new CrInt8u[size]() : nullptr;
}

// ---- CrImageInfo, CrImageDataBlock ----

CrImageInfo::CrImageInfo() : width(0), height(0), bufferSize(0) {}
CrImageInfo::~CrImageInfo() = default;
CrInt32u CrImageInfo::GetBufferSize() const { return bufferSize; }
CrInt32u CrImageInfo::GetWidth() const { return width; }
CrInt32u CrImageInfo::GetHeight() const { return height; }

CrImageDataBlock::CrImageDataBlock() : frameNo(0), size(0), pData(nullptr), imageSize(0), timeCode(0) {}
CrImageDataBlock::~CrImageDataBlock() = default;
CrInt32u CrImageDataBlock::GetFrameNo() const { return frameNo; }
void CrImageDataBlock::SetSize(CrInt32u s) { size = s; }
CrInt32u CrImageDataBlock::GetSize() const { return size; }
void CrImageDataBlock::SetData(CrInt8u* data) { pData = data; }
CrInt32u CrImageDataBlock::GetImageSize() const { return imageSize; }
CrInt8u* CrImageDataBlock::GetImageData() const { return pData; }
CrInt32u CrImageDataBlock::GetTimeCode() const { return timeCode; }

}  // namespace SCRSDK

namespace sim {

void set_live_view_time_code(SCRSDK::CrLiveViewProperty* property, CrInt32u time_code) {
  SCRSDK::poke(property, offsetof(SCRSDK::LiveViewPropertyLayout, timeCode), time_code);
}

void set_image_info(SCRSDK::CrImageInfo* info, CrInt32u width, CrInt32u height, CrInt32u buffer_size) {
  SCRSDK::poke(info, offsetof(SCRSDK::ImageInfoLayout, width), width);
  SCRSDK::poke(info, offsetof(SCRSDK::ImageInfoLayout, height), height);
  SCRSDK::poke(info, offsetof(SCRSDK::ImageInfoLayout, bufferSize), buffer_size);
}

void set_image_frame(SCRSDK::CrImageDataBlock* block, CrInt32u frame_no, CrInt32u image_size,
                     CrInt32u time_code) {
  SCRSDK::poke(block, offsetof(SCRSDK::ImageDataBlockLayout, frameNo), frame_no);
  SCRSDK::poke(block, offsetof(SCRSDK::ImageDataBlockLayout, imageSize), image_size);
  SCRSDK::poke(block, offsetof(SCRSDK::ImageDataBlockLayout, timeCode), time_code);
}

}  // namespace sim

namespace sim {

std::vector<uint8_t> packed_candidates(const ScenarioProperty& p) {
  std::vector<CrInt8u> packed;
  if (p.raw_bytes) {
    packed = p.bytes;
  } else {
    const uint32_t width = element_width(p.type);
    packed.reserve(p.candidates.size() * width);
    for (uint64_t candidate : p.candidates) {
      for (uint32_t i = 0; i < width; ++i)
        packed.push_back(i < 8 ? static_cast<CrInt8u>(candidate >> (8 * i)) : 0);
    }
  }
  if (p.declares_size && !p.null_values) packed.resize(p.declared_size, 0);
  return packed;
}

void fill_property_record(const ScenarioProperty& p, SCRSDK::CrDeviceProperty* out) {
  fill_property_record(p, packed_candidates(p), out);
}

void fill_property_record(const ScenarioProperty& p, const std::vector<uint8_t>& packed,
                          SCRSDK::CrDeviceProperty* out) {
  out->SetCode(p.code);
  out->SetValueType(static_cast<SCRSDK::CrDataType>(p.declares_type ? p.declared_type : p.type));
  out->SetPropertyEnableFlag(p.writable ? SCRSDK::CrEnableValue_True : SCRSDK::CrEnableValue_DisplayOnly);
  out->SetPropertyVariableFlag(p.writable ? SCRSDK::CrEnableValue_Variable
                                          : SCRSDK::CrEnableValue_Invariable);
  if (p.type == SCRSDK::CrDataType_STR) {
    if (!p.null_str) {
      const std::size_t given = std::min<std::size_t>(p.text.size(), 0xFFFF);
      const std::size_t length = p.declares_length ? p.declared_length : given;
      std::vector<CrInt16u> str(1 + (length + 1) / 2, 0);
      str[0] = static_cast<CrInt16u>(length);
      std::memcpy(&str[1], p.text.data(), std::min(given, length));
      out->SetCurrentStr(str.data());
    }
  } else {
    out->SetCurrentValue(p.value);
  }
  // The setters copy the buffer they are given.
  CrInt8u* bytes = p.null_values ? nullptr : const_cast<CrInt8u*>(packed.data());
  const CrInt32u size = p.declares_size ? p.declared_size : static_cast<CrInt32u>(packed.size());
  out->SetValueSize(p.null_values ? 0 : size);
  out->SetValues(bytes);
  out->SetValueSize(size);  // with values=null: a size and no buffer
  if (p.writable) {
    out->SetSetValueSize(p.null_values ? 0 : size);
    out->SetSetValues(bytes);
    out->SetSetValueSize(size);
  }
}

}  // namespace sim
