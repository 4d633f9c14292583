// The SDK's record classes: device and live-view properties, display
// strings and the live-view image records, with deep copies.
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
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
// public interface offers no setter for (or whose setters copy).
struct DevicePropertyLayout {
  CrInt32u code;
  CrDataType valueType;
  CrPropertyEnableFlag enableFlag;
  CrPropertyVariableFlag variableFlag;
  CrInt64u currentValue;
  CrInt16u* currentStr;
  CrInt32u valuesSize;
  CrInt8u* values;
  CrInt32u getSetValuesSize;
  CrInt8u* getSetValues;
};
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
static_assert(sizeof(DevicePropertyLayout) == sizeof(CrDeviceProperty), "mirror layout");
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

namespace {

using SCRSDK::DevicePropertyLayout;
using SCRSDK::poke;

// What a list keeps in front of its records.
struct ListHeader {
  std::size_t count;
  std::size_t bytes;  // of the whole block
};

// Every buffer of a list starts on an 8-byte boundary and is followed by at
// least kGap bytes that AddressSanitizer reports when they are read, as it
// would past a buffer of its own.
constexpr std::size_t kGap = 16;

std::size_t round_up(std::size_t n) { return (n + 7) / 8 * 8; }

std::size_t records_offset() { return round_up(sizeof(ListHeader)); }

// The byte sizes of a record's current string, candidates and settable
// candidates (0: no buffer).
struct BufferSizes {
  std::size_t str = 0;
  std::size_t values = 0;
  std::size_t set_values = 0;
};

// The length field of a record's current string.
std::size_t str_length(const ScenarioProperty& p) {
  return p.declares_length ? p.declared_length : std::min<std::size_t>(p.text.size(), 0xFFFF);
}

CrInt32u declared_values_size(const ScenarioProperty& p, const std::vector<uint8_t>& packed) {
  return p.declares_size ? p.declared_size : static_cast<CrInt32u>(packed.size());
}

BufferSizes buffer_sizes(const ScenarioProperty& p, const std::vector<uint8_t>& packed) {
  BufferSizes sizes;
  if (p.type == SCRSDK::CrDataType_STR && !p.null_str) {
    // A 16-bit length n, then n bytes and one zero byte of padding if n is odd.
    sizes.str = sizeof(CrInt16u) * (1 + (str_length(p) + 1) / 2);
  }
  // A declared size comes with a buffer of that many bytes (packed_candidates
  // pads it), unless the scenario asks for none.
  if (!p.null_values) sizes.values = declared_values_size(p, packed);
  if (p.writable) sizes.set_values = sizes.values;
  return sizes;
}

// Places a buffer of `size` bytes at `*offset` and moves the offset past it
// and its gap; 0 bytes take no place.
std::size_t place(std::size_t size, std::size_t* offset) {
  const std::size_t at = *offset;
  if (size > 0) *offset = round_up(at + size) + kGap;
  return at;
}

}  // namespace

SCRSDK::CrDeviceProperty* new_property_list(const std::vector<PropertySource>& sources) {
  if (sources.empty()) return nullptr;
  const std::size_t records_end = records_offset() + sources.size() * sizeof(SCRSDK::CrDeviceProperty);
  std::size_t bytes = records_end + kGap;
  for (const PropertySource& source : sources) {
    const BufferSizes sizes = buffer_sizes(*source.property, *source.packed);
    place(sizes.str, &bytes);
    place(sizes.values, &bytes);
    place(sizes.set_values, &bytes);
  }
  auto* block = static_cast<unsigned char*>(::operator new(bytes));
  new (block) ListHeader{sources.size(), bytes};
  auto* records = reinterpret_cast<SCRSDK::CrDeviceProperty*>(block + records_offset());
  // Everything after the records is poisoned until a buffer is placed there.
  ASAN_POISON_MEMORY_REGION(block + records_end, bytes - records_end);

  std::size_t offset = records_end + kGap;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const ScenarioProperty& p = *sources[i].property;
    const std::vector<uint8_t>& packed = *sources[i].packed;
    SCRSDK::CrDeviceProperty* record = new (&records[i]) SCRSDK::CrDeviceProperty();
    record->SetCode(p.code);
    record->SetValueType(static_cast<SCRSDK::CrDataType>(p.declares_type ? p.declared_type : p.type));
    record->SetPropertyEnableFlag(p.writable ? SCRSDK::CrEnableValue_True
                                             : SCRSDK::CrEnableValue_DisplayOnly);
    record->SetPropertyVariableFlag(p.writable ? SCRSDK::CrEnableValue_Variable
                                               : SCRSDK::CrEnableValue_Invariable);
    if (p.type != SCRSDK::CrDataType_STR) record->SetCurrentValue(p.value);

    const BufferSizes sizes = buffer_sizes(p, packed);
    if (sizes.str > 0) {
      unsigned char* str = block + place(sizes.str, &offset);
      ASAN_UNPOISON_MEMORY_REGION(str, sizes.str);
      std::memset(str, 0, sizes.str);
      const auto length = static_cast<CrInt16u>(str_length(p));
      std::memcpy(str, &length, sizeof length);
      std::memcpy(str + sizeof length, p.text.data(), std::min<std::size_t>(p.text.size(), length));
      poke(record, offsetof(DevicePropertyLayout, currentStr), reinterpret_cast<CrInt16u*>(str));
    }
    // The candidates, copied into the block for the record field at `field`.
    const auto place_candidates = [&](std::size_t size, std::size_t field) {
      unsigned char* buffer = block + place(size, &offset);
      ASAN_UNPOISON_MEMORY_REGION(buffer, size);
      std::memcpy(buffer, packed.data(), size);
      poke(record, field, buffer);
    };
    // A record of `values=null` still tells the size it declares.
    record->SetValueSize(declared_values_size(p, packed));
    if (sizes.values > 0) place_candidates(sizes.values, offsetof(DevicePropertyLayout, values));
    if (p.writable) {
      record->SetSetValueSize(declared_values_size(p, packed));
      if (sizes.set_values > 0)
        place_candidates(sizes.set_values, offsetof(DevicePropertyLayout, getSetValues));
    }
  }
  return records;
}

void delete_property_list(SCRSDK::CrDeviceProperty* list) {
  if (list == nullptr) return;
  unsigned char* block = reinterpret_cast<unsigned char*>(list) - records_offset();
  const ListHeader header = *reinterpret_cast<ListHeader*>(block);
  for (std::size_t i = 0; i < header.count; ++i) {
    // The buffers belong to the block, not to the record.
    poke(&list[i], offsetof(DevicePropertyLayout, currentStr), static_cast<CrInt16u*>(nullptr));
    poke(&list[i], offsetof(DevicePropertyLayout, values), static_cast<CrInt8u*>(nullptr));
    poke(&list[i], offsetof(DevicePropertyLayout, getSetValues), static_cast<CrInt8u*>(nullptr));
    list[i].~CrDeviceProperty();
  }
  ASAN_UNPOISON_MEMORY_REGION(block, header.bytes);
  ::operator delete(block);
}

void fill_property_record(const ScenarioProperty& p, SCRSDK::CrDeviceProperty* out) {
  const std::vector<uint8_t> packed = packed_candidates(p);
  SCRSDK::CrDeviceProperty* list = new_property_list({{&p, &packed}});
  *out = list[0];  // a deep copy: `out` owns its buffers
  delete_property_list(list);
}

}  // namespace sim
