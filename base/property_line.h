// The property status line composed from the plain fields of a property
// record, so that it can be built without an SDK object.
#ifndef VK_SONY_BASE_PROPERTY_LINE_H
#define VK_SONY_BASE_PROPERTY_LINE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "properties/property_table.h"

// The fields of an SDK property record that the status line shows.
struct PropertyFields {
  uint32_t type = 0;                      // SDK data type; 0xFFFF is the string type
  uint64_t current = 0;                   // current value
  const uint16_t* current_str = nullptr;  // current string (string type): a 16-bit
                                          // length n, then n bytes; not owned
  const uint8_t* values = nullptr;        // packed candidates, little-endian; not owned
  uint32_t size = 0;                      // bytes in `values`
  bool writable = false;                  // the current value can be set
};

// The most candidates a status line lists; a record offering more is cut
// there (and the cut is logged).
inline constexpr uint32_t kMaxListedCandidates = 4096;

// Appends "status KEY VALUE [C1 C2 ...] RW" (or "{...}" and "RO") to
// `*line`, without a newline. The data type of
// the record decides how the value is read, never the converter: a string-
// typed record shows its current string (read only within its length, up to
// the first zero byte, control characters shown as "?"), any other record
// passes its current value to `to_text`. Candidates are read at the element
// width of `type`, zero-extended, and left out where `skip` says so; with
// none left the brackets hold the current value. A record that does not
// match its row (a text row with a numeric type, candidates on a string,
// trailing bytes that do not make a whole element, more than
// kMaxListedCandidates candidates) is shown as far as it can be and logged.
// Returns true when nothing was logged or written besides the line: the
// same fields then always give the same line and nothing else.
bool append_status_line(std::string_view key, const PropertyFields& fields, ToTextFn to_text,
                        SkipValueFn skip, bool list_values, TextWriter* line);

// The same line as a string of its own.
std::string compose_status_line(std::string_view key, const PropertyFields& fields, ToTextFn to_text,
                                SkipValueFn skip, bool list_values);

#endif  // VK_SONY_BASE_PROPERTY_LINE_H
