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
#include "base/property_line.h"
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

// True when the log is on (sets it up, as the first log_message would): a
// caller can skip composing a line nobody will read.
bool log_enabled();

// Logs `prefix` immediately followed by `text`, as one line.
void log_with_prefix(const char* prefix, const std::string& text);

// ---- Output lines --------------------------------------------------------

// Everything the bridge writes on standard output during a run goes through
// these functions and leaves whole: each write() carries complete lines
// only. Writes to a closed stdout are dropped (the monitor notices the
// closed pipe); SIGPIPE must be ignored by the caller's process set-up.

// Writes the raw lines not yet written, then `text` and a newline, with one
// write(), under the output lock. An empty text writes nothing. Any thread
// may call it.
void write_status_line(std::string_view text);

// Queues a raw line (text and newline) under the output lock without writing
// it: it leaves with the next status line or batch, or at process exit.
void write_raw_line(std::string_view text);

// Writes the queued raw lines now. Called at process exit.
void flush_raw_lines();

// A report batch: lines collected and written with one write() (after any
// queued raw lines) when the batch is flushed or destroyed. While a batch is
// open on a thread, write_report_line on that thread joins it, so that every
// status line of one camera report leaves together. Batches on one thread
// nest; the innermost collects. Not shared between threads.
class OutputBatch {
 public:
  OutputBatch();
  ~OutputBatch();
  OutputBatch(const OutputBatch&) = delete;
  OutputBatch& operator=(const OutputBatch&) = delete;

  // Adds `line` and a newline; an empty line adds nothing.
  void add(std::string_view line);
  // Adds `lines`, whole lines each ended by its newline.
  void add_lines(std::string_view lines);
  // Writes what was added so far, if anything.
  void flush();

 private:
  std::string text_;
  OutputBatch* outer_;
};

// A line of a property report: added to this thread's open batch, or written
// at once as a status line when none is open.
void write_report_line(std::string_view text);
// The same for several lines at once, each ended by its newline.
void write_report_lines(std::string_view lines);

// Element width in bytes of one candidate value of SDK data type `type`.
// Types without a rule write the raw line "unhandled unit" and give 4.
size_t element_width(uint32_t type);

// Appends the property status line of `property` to `*line`:
// "status KEY VALUE [C1 C2 ...] RW" (or "{...}" and "RO"), no newline; the
// same as append_status_line with the record's fields.
void append_property_line(std::string_view key, const SCRSDK::CrDeviceProperty& property, ToTextFn to_text,
                          SkipValueFn skip, bool list_values, TextWriter* line);

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

// Clears `running` (sequentially consistent), then makes the wake-up
// descriptor readable. Safe from any thread and from a signal handler
// (async-signal-safe, keeps errno); idempotent.
void request_shutdown();

// A descriptor that becomes readable (and stays so) when shutdown is
// requested: the run's threads poll it beside their streams instead of
// waking on a timer. -1 when it could not be created; pollers then fall back
// to a timeout.
int shutdown_wake_fd();

// Sets `running` true again and clears the wake-up descriptor. For tests,
// while no thread polls it.
void reset_run_flag();

#endif  // VK_SONY_BASE_BASE_H
