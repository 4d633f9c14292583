// The property status line of an SDK property record. Kept apart from the
// line writer so that writing lines does not pull in the SDK's record class.
#include "base/property_line.h"

#include <cstdint>

#include "base/base.h"

void append_property_line(std::string_view key, const SCRSDK::CrDeviceProperty& property, ToTextFn to_text,
                          SkipValueFn skip, bool list_values, TextWriter* line) {
  PropertyFields fields;
  fields.type = static_cast<uint32_t>(property.GetValueType());
  fields.current = property.GetCurrentValue();
  fields.current_str = property.GetCurrentStr();
  fields.values = property.GetValues();
  fields.size = property.GetValueSize();
  fields.writable = property.IsSetEnableCurrentValue();
  append_status_line(key, fields, to_text, skip, list_values, line);
}
