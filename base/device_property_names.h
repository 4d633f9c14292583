// The SDK's device-property enumerator names, generated at build time from
// the SDK header in use (cmake/device_property_names.cmake).
#ifndef VK_SONY_BASE_DEVICE_PROPERTY_NAMES_H
#define VK_SONY_BASE_DEVICE_PROPERTY_NAMES_H

#include <cstddef>
#include <cstdint>

struct DevicePropertyName {
  uint32_t code;
  uint16_t length;   // of text, without the terminator
  const char* text;  // "CrDeviceProperty_" + the SDK's name
};

// Every enumerator of the SDK's device-property code enumeration, in
// declaration order (a current name before its deprecated alias).
extern const DevicePropertyName kDevicePropertyNames[];
extern const size_t kDevicePropertyNameCount;

#endif  // VK_SONY_BASE_DEVICE_PROPERTY_NAMES_H
