// The dispatch of the parent's command lines: the word split and the camera
// operation that each command reaches.
#include <cstdint>
#include <exception>
#include <string>

#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"
#include "protocol/command_reader.h"

namespace {

constexpr int kDefaultApsCHoldMs = 100;
// The longest button hold the reader accepts: the reader reads no command
// while a button is held, so a hold must not keep it away for long.
constexpr int32_t kMaxHoldMs = 60'000;

// SDK command ids of the buttons.
constexpr uint32_t kShutterCommand = 0;
constexpr uint32_t kApsCCommand = 10;

bool is_separator(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }

// Logs `prefix` + `text` and answers "NACK".
void unhandled(const char* prefix, const std::string& text) {
  log_with_prefix(prefix, text);
  write_status_line("NACK");
}

// Logs why `line` is refused and answers "NACK".
void refused(const std::string& line, const char* why) {
  log_message("refused \"" + line + "\": " + why);
  write_status_line("NACK");
}

// Reads a button hold time in milliseconds, 0 to kMaxHoldMs; anything else
// refuses `line`.
bool parse_hold_ms(const std::string& text, const std::string& line, int32_t* hold_ms) {
  if (!parse_int32(text, hold_ms)) {
    refused(line, "the hold time is not a 32-bit decimal number");
    return false;
  }
  if (*hold_ms < 0 || *hold_ms > kMaxHoldMs) {
    refused(line, "the hold time is outside 0..60000 ms");
    return false;
  }
  return true;
}

void dispatch_action(CameraDevice* device, const CommandWords& words, const std::string& line) {
  if (words.name == "SHUTTER_PRESS") {
    int32_t hold_ms = 0;
    if (!parse_hold_ms(words.value, line, &hold_ms)) return;
    device->press_button(kShutterCommand, hold_ms);
  } else if (words.name == "BUTTON") {
    if (words.value != "APS_C") {
      unhandled("Unhandled BUTTON value: ", words.value);
      return;
    }
    int32_t hold_ms = kDefaultApsCHoldMs;
    if (!words.extra.empty() && !parse_hold_ms(words.extra, line, &hold_ms)) return;
    device->press_button(kApsCCommand, hold_ms);
  } else {
    unhandled("unhandled action cmd: ", line);
  }
}

// The names whose value is a number, and what they do with it.
void dispatch_numeric_set(CameraDevice* device, const std::string& name, int32_t number) {
  if (name == "WB_TINT") {
    device->set_absolute_by_steps(kWbTintCode, number);
  } else if (name == "WB" || name == "COLORTEMP") {
    // COLORTEMP deliberately reaches the same operation as WB.
    device->set_wb(static_cast<uint64_t>(number));
  } else if (name == "SHUTTER_ECS_NUMBER") {
    device->set_absolute_by_steps(kShutterEcsNumberCode, number);
  } else if (name == "SHUTTER_ECS_NUMBER_STEP") {
    device->step_property(kShutterEcsNumberStepCode, number);
  } else if (name == "ZOOM_OPERATION") {
    device->set_operation(kZoomOperationCode, number);
  } else {
    device->set_operation(kFocusOperationCode, number);
  }
}

bool is_numeric_set_name(const std::string& name) {
  return name == "WB_TINT" || name == "WB" || name == "COLORTEMP" || name == "SHUTTER_ECS_NUMBER" ||
         name == "SHUTTER_ECS_NUMBER_STEP" || name == "ZOOM_OPERATION" || name == "FOCUS_OPERATION";
}

void dispatch_set(CameraDevice* device, const PropertyCodes& codes, const CommandWords& words,
                  const std::string& line) {
  const std::string& name = words.name;
  const std::string& value = words.value;

  if (name == "REC") {
    if (value == "ON") {
      device->set_recording(1);
    } else if (value == "OFF") {
      device->set_recording(0);
    } else {
      refused(line, "REC takes ON or OFF");
    }
  } else if (name == "LUT_FILE") {
    device->import_lut(value, words.extra);
  } else if (is_numeric_set_name(name)) {
    int32_t number = 0;
    if (!parse_int32(value, &number)) {
      refused(line, "the value is not a 32-bit decimal number");
      return;
    }
    dispatch_numeric_set(device, name, number);
  } else if (name == "PROPERTY_BUTTON") {
    auto it = codes.find(value);
    if (it == codes.end()) {
      unhandled("Unhandled PROPERTY_BUTTON value: ", value);
      return;
    }
    device->property_button(static_cast<uint32_t>(it->second));
  } else {
    // Unknown names are refused and leave nothing behind.
    auto it = codes.find(name);
    if (it == codes.end()) {
      unhandled("unhandled set cmd :", line);
    } else if (find_property(it->second) == nullptr) {
      refused(line, "the property is not supported");
    } else {
      device->set_property_from_text(static_cast<uint32_t>(it->second), value);
    }
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
  if (find_property(it->second) != nullptr) {
    device->report_property(static_cast<uint32_t>(it->second));
  } else {
    refused(line, "the property is not supported");
  }
}

}  // namespace

bool parse_int32(const std::string& text, int32_t* out) {
  size_t pos = 0;
  // Leading white space as the standard conversion skips it.
  while (pos < text.size() && (text[pos] == ' ' || (text[pos] >= '\t' && text[pos] <= '\r'))) ++pos;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) negative = text[pos++] == '-';
  const size_t first_digit = pos;
  int64_t magnitude = 0;
  while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
    magnitude = magnitude * 10 + (text[pos] - '0');
    if (magnitude > int64_t{1} << 31) return false;
    ++pos;
  }
  if (pos == first_digit) return false;
  const int64_t value = negative ? -magnitude : magnitude;
  if (value > INT32_MAX) return false;
  *out = static_cast<int32_t>(value);
  return true;
}

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

void dispatch_command(CameraDevice* device, const PropertyCodes& codes, const std::string& line) {
  try {
    // Nothing is carried out before the camera has reported its state.
    const bool reported = device->wait_for_first_batch();
    const CommandWords words = split_command(line);
    if (!reported) {
      // The run ended first: not carried out; answered unless it is one of
      // the requests whose answer is a status line.
      const bool status_request = words.verb == "get" && (words.name == "TC" || codes.count(words.name) != 0);
      if (!status_request) refused(line, "the run ended before the camera reported its state");
      return;
    }
    if (words.verb == "action") {
      dispatch_action(device, words, line);
    } else if (words.verb == "set") {
      dispatch_set(device, codes, words, line);
    } else if (words.verb == "get") {
      dispatch_get(device, codes, words, line);
    } else if (words.verb == "RESET") {
      device->plain_ack();
    } else {
      unhandled("unhandled unk cmd :", line);
    }
  } catch (const std::exception& e) {
    // Only resource failures get here; the reader goes on with the next line.
    log_message("dispatch of \"" + line + "\" failed: " + e.what());
  }
}
