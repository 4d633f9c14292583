// The command reader: reads the parent's command lines from standard input and
// dispatches them to the camera operations.
#include "protocol/command_reader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "app/log.h"
#include "device/camera_device.h"
#include "properties/property_table.h"

namespace {

constexpr int kPollTimeoutMs = 100;
constexpr int kDefaultApsCHoldMs = 100;

// Property codes of the special "set" names.
constexpr uint32_t kWbTintCode = 0x15D;
constexpr uint32_t kShutterEcsNumberCode = 0x161;
constexpr uint32_t kShutterEcsNumberStepCode = 0x162;
constexpr uint32_t kZoomOperationCode = 294;
constexpr uint32_t kFocusOperationCode = 351;

// SDK command ids of the buttons.
constexpr uint32_t kShutterCommand = 0;
constexpr uint32_t kApsCCommand = 10;

bool is_separator(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

std::string to_hex(unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%x", value);
  return buffer;
}

// Logs `prefix` + `text` and answers "NACK".
void unhandled(const char* prefix, const std::string& text) {
  log_with_prefix(prefix, text);
  write_status_line("NACK");
}

// Reads one line from `fd` up to "\n", byte by byte so nothing beyond the
// line is consumed. False at end of input or on a read error with nothing
// read; a last line without a newline is still returned.
bool read_line(int fd, std::string& line) {
  line.clear();
  bool got_any = false;
  for (;;) {
    char c;
    ssize_t n = read(fd, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return got_any;
    got_any = true;
    if (c == '\n') return true;
    line.push_back(c);
  }
}

bool still_running() { return running.load(std::memory_order_seq_cst); }

void dispatch_action(CameraDevice* device, const CommandWords& words, const std::string& line) {
  if (words.name == "SHUTTER_PRESS") {
    // Not caught: a malformed hold time ends the process by design.
    device->press_button(kShutterCommand, std::stoi(words.value));
  } else if (words.name == "BUTTON") {
    if (words.value != "APS_C") {
      unhandled("Unhandled BUTTON value: ", words.value);
      return;
    }
    int hold_ms = kDefaultApsCHoldMs;
    if (!words.extra.empty()) {
      // The one caught conversion: a bad hold time only refuses this press.
      try {
        hold_ms = std::stoi(words.extra);
      } catch (const std::logic_error&) {
        write_status_line("NACK");
        return;
      }
    }
    device->press_button(kApsCCommand, hold_ms);
  } else {
    unhandled("unhandled action cmd: ", line);
  }
}

void dispatch_set(CameraDevice* device, PropertyCodes& codes, const CommandWords& words) {
  // Every name is entered, unknown ones with code 0 (no table row), so the
  // generic path below silently ignores them from now on, and a later "get"
  // of MENU or TC finds the entry and does nothing.
  uint64_t code = codes[words.name];
  const std::string& name = words.name;
  const std::string& value = words.value;

  if (name == "REC") {
    if (value == "ON") {
      device->set_recording(1);
    } else if (value == "OFF") {
      device->set_recording(0);
    } else {
      device->ack_pending = true;
      device->nack();
    }
  } else if (name == "LUT_FILE") {
    device->import_lut(value, words.extra);
  } else if (name == "WB_TINT") {
    device->set_absolute_by_steps(kWbTintCode, std::stoi(value));
  } else if (name == "WB" || name == "COLORTEMP") {
    // COLORTEMP deliberately reaches the same operation as WB.
    device->set_wb(static_cast<uint64_t>(std::stoi(value)));
  } else if (name == "SHUTTER_ECS_NUMBER") {
    device->set_absolute_by_steps(kShutterEcsNumberCode, std::stoi(value));
  } else if (name == "SHUTTER_ECS_NUMBER_STEP") {
    device->step_property(kShutterEcsNumberStepCode, std::stoi(value));
  } else if (name == "ZOOM_OPERATION") {
    device->set_operation(kZoomOperationCode, std::stoi(value));
  } else if (name == "FOCUS_OPERATION") {
    device->set_operation(kFocusOperationCode, std::stoi(value));
  } else if (name == "PROPERTY_BUTTON") {
    auto it = codes.find(value);
    if (it == codes.end()) {
      unhandled("Unhandled PROPERTY_BUTTON value: ", value);
      return;
    }
    device->property_button(static_cast<uint32_t>(it->second));
  } else if (find_property(code) != nullptr) {
    device->set_property_from_text(static_cast<uint32_t>(code), value);
  }
}

void dispatch_get(CameraDevice* device, const PropertyCodes& codes, const CommandWords& words,
                  const std::string& line) {
  auto it = codes.find(words.name);
  if (it == codes.end()) {
    if (words.name == "MENU") {
      device->request_menu();
    } else if (words.name == "TC") {
      device->read_timecode();
    } else {
      unhandled("unhandled get cmd :", line);
    }
    return;
  }
  if (find_property(it->second) != nullptr) device->report_property(static_cast<uint32_t>(it->second));
}

}  // namespace

CommandWords split_command(const std::string& line) {
  std::string* slots[] = {nullptr, nullptr, nullptr, nullptr};
  CommandWords words;
  slots[0] = &words.verb;
  slots[1] = &words.name;
  slots[2] = &words.value;
  slots[3] = &words.extra;
  size_t pos = 0;
  for (std::string* slot : slots) {
    while (pos < line.size() && is_separator(line[pos])) ++pos;
    size_t end = pos;
    while (end < line.size() && !is_separator(line[end])) ++end;
    *slot = line.substr(pos, end - pos);
    pos = end;
  }
  return words;
}

void dispatch_command(CameraDevice* device, PropertyCodes& codes, const std::string& line) {
  const CommandWords words = split_command(line);
  if (words.verb == "action") {
    dispatch_action(device, words, line);
  } else if (words.verb == "set") {
    dispatch_set(device, codes, words);
  } else if (words.verb == "get") {
    dispatch_get(device, codes, words, line);
  } else if (words.verb == "RESET") {
    device->plain_ack();
  } else {
    unhandled("unhandled unk cmd :", line);
  }
}

void read_commands(int input_fd, CameraDevice* device, PropertyCodes& codes) {
  std::string line;
  while (still_running()) {
    pollfd pfd{input_fd, POLLIN, 0};
    int ready = poll(&pfd, 1, kPollTimeoutMs);
    if (!still_running()) {
      log_message("elixir_handler_stdin exits because shutdown was requested");
      break;
    }
    if (ready <= 0) continue;
    // Checked before the input: a hang-up ends the reader even when unread
    // input is still pending.
    if ((pfd.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
      log_message("elixir_handler_stdin exits on stdin poll revents=0x" +
                  to_hex(static_cast<unsigned>(pfd.revents)));
      break;
    }
    if ((pfd.revents & POLLIN) == 0) continue;
    if (!read_line(input_fd, line)) {
      log_message("elixir_handler_stdin exits because stdin reached EOF");
      break;
    }
    dispatch_command(device, codes, line);
  }
  write_status_line("END - elixir_handler_stdin");
}

void command_reader(CameraDevice* device, PropertyCodes& codes) {
  read_commands(STDIN_FILENO, device, codes);
}
