// The floor every subsystem stands on: the diagnostic log, the lines written
// to the parent on standard output, the SDK code names used in diagnostics,
// and the program-wide run flag. Includes only the standard library, the SDK
// headers and the property vocabulary.
#ifndef VK_SONY_BASE_BASE_H
#define VK_SONY_BASE_BASE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "CameraRemote_SDK.h"

#include "properties/property_table.h"

// ---- Log -------------------------------------------------------------------

// The fixed path of the log file. VK_SONY_LOG is a switch only; its value is
// never used as a path.
inline constexpr const char kLogPath[] = "/tmp/vk-sony.log";

// Appends `text` and a newline to the log and flushes it, as one line with
// respect to other threads. Does nothing (one flag test) when the log is off.
// The log is set up on the first call: when VK_SONY_LOG is set the file is
// opened for appending (created with mode 0644, never through a symbolic
// link); a failed open is told once on stderr and leaves the log off.
// Any thread may call it.
void log_message(std::string_view text);

// Logs `prefix` immediately followed by `text`, as one line.
void log_with_prefix(const char* prefix, const std::string& text);

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

#endif  // VK_SONY_BASE_BASE_H
