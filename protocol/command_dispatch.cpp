// The dispatch of the parent's command lines: the word split and the camera
// operation that each command reaches.
#include <stdexcept>
#include <string>

#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"
#include "protocol/command_reader.h"

namespace {

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

// Logs `prefix` + `text` and answers "NACK".
void unhandled(const char* prefix, const std::string& text) {
  log_with_prefix(prefix, text);
  write_status_line("NACK");
}

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
