// The property status line composed from the plain fields of a property
// record, so that it can be built without an SDK object.
#ifndef VK_SONY_BASE_PROPERTY_LINE_H
#define VK_SONY_BASE_PROPERTY_LINE_H

#include <cstdint>
#include <string>

#include "properties/property_table.h"

// The fields of an SDK property record that the status line shows.
struct PropertyFields {
  uint32_t type = 0;                // SDK data type; 0xFFFF is the string type
  uint64_t current = 0;             // current value
  uint64_t current_str = 0;         // address of the current string (string type)
  const uint8_t* values = nullptr;  // packed candidates, little-endian; not owned
  uint32_t size = 0;                // bytes in `values`
  bool writable = false;            // the current value can be set
};

// "status KEY VALUE [C1 C2 ...] RW" (or "{...}" and "RO"). Candidates are
// read at the element width of `type`, zero-extended, and left out where
// `skip` says so; with none left the brackets hold the current value.
std::string compose_status_line(const std::string& key, const PropertyFields& fields, ToTextFn to_text,
                                SkipValueFn skip, bool list_values);

#endif  // VK_SONY_BASE_PROPERTY_LINE_H
