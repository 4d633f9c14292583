// The table of camera properties the bridge supports, and the converters
// between SDK values and the text of the parent protocol.
#ifndef VK_SONY_PROPERTIES_PROPERTY_TABLE_H
#define VK_SONY_PROPERTIES_PROPERTY_TABLE_H

#include <cstdint>
#include <map>
#include <string>

#include "properties/text_writer.h"

// An SDK device-property code, zero-extended to 64 bits.
using PropertyCode = uint64_t;

// Renders one value as protocol text, appended to `*out` (so that a status
// line is composed in one buffer); never fails.
using ToTextFn = void (*)(uint64_t value, TextWriter* out);
// Parses protocol text into an SDK value. Parsers raise
// std::invalid_argument / std::out_of_range like the standard conversions
// for a malformed number, and std::invalid_argument for a word their map
// does not know.
using FromTextFn = uint64_t (*)(const std::string& text);
// Candidate filter: true leaves the candidate out of the status line.
using SkipValueFn = bool (*)(uint64_t value);

// One row of the table.
struct PropertyInfo {
  std::string name;  // status key, e.g. "EXPOSURE_BIAS"
  ToTextFn toText = nullptr;
  FromTextFn fromText = nullptr;
  SkipValueFn skipValue = nullptr;
  bool listValues = false;  // candidates in "[ ]" (true) or "{ }" (false)
  bool alwaysSend = false;  // write even when the value is unchanged
};

// The table, keyed and ordered by code: a read-only view of a map that is
// built on first use (thread-safe) and never changed afterwards, so any
// thread may read it. Modes that never look at it (-v, -l) do not build it.
class PropertyTable {
 public:
  using Map = std::map<PropertyCode, PropertyInfo>;
  const Map& rows() const;
  Map::const_iterator begin() const { return rows().begin(); }
  Map::const_iterator end() const { return rows().end(); }
  Map::size_type size() const { return rows().size(); }
};
extern const PropertyTable propertyTable;

// The row for `code`, or nullptr when the bridge does not support it.
const PropertyInfo* find_property(PropertyCode code);

// The text `to_text` renders for `value`, as a string of its own.
std::string value_text(ToTextFn to_text, uint64_t value);

// True for the converter of the text rows (SOFTWARE, LENS_MODEL ...), whose
// camera value is a string rather than a number.
bool is_text_converter(ToTextFn to_text);

// EXPOSURE_MODE's converters: the SDK's names of exposure programs 1 to 7
// ("CrExposure_M_Manual" ...), looked up on the low 32 bits only; "UNKNOWN"
// for any other value; a text that names no program raises
// std::invalid_argument.
void exposureModeToText(uint64_t value, TextWriter* out);
uint64_t exposureModeFromText(const std::string& text);

#endif  // VK_SONY_PROPERTIES_PROPERTY_TABLE_H
