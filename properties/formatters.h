// Converters between SDK values and protocol text shared by many rows of the
// property table, and the converters of the rows carrying measured
// quantities. All are pure and safe from any thread. The value-to-text
// converters append their text to `out` (see ToTextFn).
#ifndef VK_SONY_PROPERTIES_FORMATTERS_H
#define VK_SONY_PROPERTIES_FORMATTERS_H

#include <cstdint>
#include <string>

#include "properties/text_writer.h"

// ---- Shared converters ---------------------------------------------------

// The full value as unsigned decimal.
void formatUnsigned(uint64_t value, TextWriter* out);
// The low 16 bits as a signed decimal.
void formatInt16(uint64_t value, TextWriter* out);
// The low 8 bits as a signed decimal.
void formatInt8(uint64_t value, TextWriter* out);
// 1 "UP", 2 "DOWN", anything else "UNKOWN" (the parent expects that spelling).
void formatButtonState(uint64_t value, TextWriter* out);
// stoi semantics, sign-extended to 64 bits; raises std::invalid_argument /
// std::out_of_range naming "stoi".
uint64_t parseDecimal(const std::string& text);
// Exactly "UP" 1, exactly "DOWN" 2; anything else raises std::invalid_argument.
uint64_t parseButtonState(const std::string& text);
// Keeps every candidate.
bool acceptAll(uint64_t value);
// Skips every candidate whose bits 16 to 31 are not 1 (keeps 1/n speeds).
bool keepUnitNumerator(uint64_t value);

// ---- Measured quantities -------------------------------------------------
// Parsers below raise the standard errors of stof / stoi / stol (naming them)
// on malformed text; that ends the process by design.

// Exposure compensation: signed 16-bit thousandths of an EV, printed rounded
// to one decimal. The parser takes the raw code, not EV.
void exposureBiasToText(uint64_t value, TextWriter* out);
uint64_t exposureBiasFromText(const std::string& text);

// F-number times 100; 0 and 0xFFFD print "32", 0xFFFE and 0xFFFF print "-".
void fNumberToText(uint64_t value, TextWriter* out);
uint64_t fNumberFromText(const std::string& text);

// ISO with "AUTO" for 0xFFFFFF; 1 and 2 print an empty text.
void isoToText(uint64_t value, TextWriter* out);
uint64_t isoFromText(const std::string& text);

// Shutter speed "n/d" from bits 16-31 and 0-15; 0 prints "Bulb". The parser
// accepts only 1/n speeds and ignores the numerator text.
void shutterSpeedToText(uint64_t value, TextWriter* out);
uint64_t shutterSpeedFromText(const std::string& text);

// 64-bit shutter speed: upper 32 bits "/" low 16 bits; 0 prints "Bulb".
void shutterSpeed64ToText(uint64_t value, TextWriter* out);
// "a/b" (or "a", meaning "a/a") into a in the upper and b in the low 32 bits,
// with stol semantics.
uint64_t fractionFromText(const std::string& text);

// ND filter value: upper 32 bits "/" low 32 bits; all ones prints "Nothing".
void ndFilterValueToText(uint64_t value, TextWriter* out);

// Shutter angle in thousandths of a degree.
void shutterAngleToText(uint64_t value, TextWriter* out);
uint64_t shutterAngleFromText(const std::string& text);

// ---- Small numeric renderings of single rows -----------------------------

void formatUint8(uint64_t value, TextWriter* out);             // low 8 bits unsigned
void formatInt32(uint64_t value, TextWriter* out);             // low 32 bits signed
void kneeAutoMaxPointToText(uint64_t value, TextWriter* out);  // 0 "INVALID", else low 16 bits
void kneeManualPointToText(uint64_t value, TextWriter* out);   // 0 "INVALID", else full value
// strtol semantics, never failing: whole result sign-extended, low 8 bits
// zero-extended, low 8 bits sign-extended.
uint64_t parseLong(const std::string& text);
uint64_t parseLowByte(const std::string& text);
uint64_t parseSignedLowByte(const std::string& text);

// The converter of the text rows. Their string is read from the property
// record by the status-line composition, never through this value: here
// the raw current value of the record, 0 "UNKNOWN", anything else its
// unsigned decimal. Never dereferences anything.
void sdkStringToText(uint64_t value, TextWriter* out);

#endif  // VK_SONY_PROPERTIES_FORMATTERS_H
