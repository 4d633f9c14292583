// The host protocol: the lines written to the parent, the SDK code names used
// in diagnostics, the program-wide run flag, the command reader and the run
// loop.
#ifndef VK_SONY_PROTOCOL_PROTOCOL_H
#define VK_SONY_PROTOCOL_PROTOCOL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "CameraRemote_SDK.h"

#include "app/log.h"
#include "properties/property_table.h"

class CameraDevice;

// ---- Output lines --------------------------------------------------------

// Writes `text` and a newline to standard output and flushes it, under the
// output lock, so that concurrent status lines never mix. An empty text
// writes nothing. Any thread may call it.
void write_status_line(std::string_view text);

// Writes a raw line (text and newline) with the C library's puts: no lock and
// no flush, so it reaches the parent with the next flush of stdout.
void write_raw_line(const char* text);

// Element width in bytes of one candidate value of SDK data type `type`.
// Types without a rule write the raw line "unhandled unit" and give 4.
size_t element_width(uint32_t type);

// Composes the property status line:
// "status KEY VALUE [C1 C2 ...] RW" (or "{...}" and "RO").
std::string compose_property_line(const std::string& key, const SCRSDK::CrDeviceProperty& property,
                                  ToTextFn to_text, SkipValueFn skip, bool list_values);

// Composes the property status line, writes it as a status line and logs it.
void write_property_line(const std::string& key, const SCRSDK::CrDeviceProperty& property,
                         ToTextFn to_text, SkipValueFn skip, bool list_values);

// ---- SDK code names ------------------------------------------------------

// The SDK's name of an error or warning code ("SDK::CrError_None"), or
// "UNKNOWN".
std::string sdk_code_name(uint64_t code);
// "0x8201 (33281) SDK::CrError_Connect_Connect".
std::string status_text(uint32_t code);
std::string display_string_type_name(uint32_t type);
std::string exposure_program_name(int32_t value);
std::string live_view_property_name(uint32_t code);
std::string device_property_name(uint32_t code);

// ---- Run flag ------------------------------------------------------------

// True from process start until the first request_shutdown(); never set
// true again.
extern std::atomic<bool> running;

// Clears `running` (sequentially consistent). Safe from any thread and from
// a signal handler; idempotent.
void request_shutdown();

// ---- Command reader and run loop ----------------------------------------

// Status key name -> SDK property code; built by run_bridge, extended by the
// command reader.
using PropertyCodes = std::map<std::string, uint64_t>;
extern PropertyCodes property_codes;

// Thread body: reads commands from standard input and dispatches them to
// `device` until shutdown, hang-up or end of input.
void command_reader(CameraDevice* device, PropertyCodes& codes);

// Thread body: watches stdin and stdout for error conditions and ends the
// run; always writes "CLOSED" last.
void handler_monitor();

// One probe of the standard streams; true when an error condition was seen.
bool check_streams();

// Runs the bridge for a connected `device` (may be null) until the run ends,
// then disconnects and releases it and releases the SDK. Returns the result
// of the SDK's Release.
bool run_bridge(CameraDevice* device);

#endif  // VK_SONY_PROTOCOL_PROTOCOL_H
