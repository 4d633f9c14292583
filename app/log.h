// The diagnostic log: one line per message in the fixed file /tmp/vk-sony.log,
// switched on by the VK_SONY_LOG environment variable.
#ifndef VK_SONY_APP_LOG_H
#define VK_SONY_APP_LOG_H

#include <string>
#include <string_view>

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

#endif  // VK_SONY_APP_LOG_H
