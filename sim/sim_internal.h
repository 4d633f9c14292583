// Internals of the simulated SDK shared by its files: the scenario model and
// parser, control events, and record helpers for fields without setters.
#ifndef VK_SONY_SIM_SIM_INTERNAL_H
#define VK_SONY_SIM_SIM_INTERNAL_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "CameraRemote_SDK.h"

namespace sim {

// One `camera` line.
struct ScenarioCamera {
  std::string type;   // "USB", "IP" or another connection type name
  std::string model;  // e.g. "ILME-FX6"
  std::string id;     // USB serial, IP address text, or the other type's id
  uint8_t mac[6] = {};
  int ssh = -1;  // IP only: 1 ssh, 0 no-ssh, -1 what the creator asks
};

// One `property` line.
struct ScenarioProperty {
  uint32_t code = 0;
  uint32_t type = 0;
  uint64_t value = 0;
  std::string text;  // the value of a STR property
  bool writable = true;
  std::vector<uint64_t> candidates;
  // Raw attributes that make the record malformed on purpose.
  bool declares_type = false;  // `type=`: the record declares `declared_type`
  uint32_t declared_type = 0;
  bool raw_bytes = false;  // `bytes=`: the candidate buffer is `bytes`
  std::vector<uint8_t> bytes;
  bool declares_size = false;  // `size=`: the record declares `declared_size` bytes
  uint32_t declared_size = 0;
  bool null_values = false;      // `values=null`: no candidate buffer
  bool declares_length = false;  // `str-length=`: the string's length field
  uint16_t declared_length = 0;
  bool null_str = false;  // `str=null`: no current string
};

// The candidate buffer of a scenario property, as its records carry it: the
// candidates packed little-endian at the element width of its type (or its
// raw bytes), padded with zeros to a declared size.
std::vector<uint8_t> packed_candidates(const ScenarioProperty& property);

// A camera property with its packed_candidates().
struct PropertySource {
  const ScenarioProperty* property;
  const std::vector<uint8_t>* packed;
};

// A list of SDK property records, one per source in order, as
// GetSelectDeviceProperties hands it out: raw attributes included, and every
// buffer holds what its record claims (a declared size or length past the
// given bytes is padded with zeros). One block holds the records and all
// their buffers, so a list costs one allocation; each buffer is followed by
// bytes AddressSanitizer reports when read. The records do not own their
// buffers: only delete_property_list frees them, and their setters must not
// be used (a copy of a record is deep and owns its own). Null for no sources.
SCRSDK::CrDeviceProperty* new_property_list(const std::vector<PropertySource>& sources);
// Frees a list of new_property_list; null does nothing.
void delete_property_list(SCRSDK::CrDeviceProperty* list);

// Fills one SDK property record from a scenario property, as
// new_property_list does; `out` owns its buffers.
void fill_property_record(const ScenarioProperty& property, SCRSDK::CrDeviceProperty* out);

struct ScenarioLiveViewProperty {
  uint32_t code = 0;
  uint32_t time_code = 0;
};

struct ScenarioEvent {
  uint32_t after_ms = 0;
  std::string line;  // a control line
};

// Everything a scenario file says, with the defaults for what it omits.
struct Scenario {
  uint32_t sdk_version = (2u << 24) | (1u << 16);
  uint32_t connect_version = 300;
  std::vector<ScenarioCamera> cameras;
  std::vector<ScenarioProperty> properties;  // file order; a repeated code replaces in place
  std::vector<ScenarioLiveViewProperty> lv_properties;
  uint32_t confirm_ms = 5;
  uint32_t live_view_buffer = 1024;  // what GetLiveViewImageInfo reports
  bool confirm_never = false;
  bool menu_success = true;
  bool fail_init = false;
  std::map<std::string, uint32_t> failures;   // call name -> result
  std::map<uint32_t, uint32_t> set_failures;  // property code -> result
  std::vector<ScenarioEvent> events;
};

// Parses scenario text. On failure returns false and sets `error` to
// "<line>: <what is wrong>".
[[nodiscard]] bool parse_scenario(const std::string& text, Scenario* scenario, std::string* error);

// The built-in default scenario (the shipped default.scenario file).
extern const char* const kDefaultScenario;

enum class ControlKind {
  kDisconnect,
  kError,
  kWarning,
  kWarningExt,
  kChange,
  kNotify,
  kLvNotify,
  kDownload,
  kContentsTransfer,
};

struct ControlEvent {
  ControlKind kind = ControlKind::kWarning;
  uint32_t code = 0;
  uint64_t value = 0;
  int32_t params[3] = {};
  std::vector<uint32_t> codes;
  std::string name;
};

// Parses one control line ("warning 0x20002", "change 0x104 400", ...).
[[nodiscard]] bool parse_control_line(std::string_view line, ControlEvent* event);

// Element width in bytes of a data type (1, 2, 4, 8, 16; 1 for STR).
uint32_t element_width(uint32_t type);

// Record fields that the public interface offers no setter for.
void set_live_view_time_code(SCRSDK::CrLiveViewProperty* property, CrInt32u time_code);
void set_image_info(SCRSDK::CrImageInfo* info, CrInt32u width, CrInt32u height, CrInt32u buffer_size);
void set_image_frame(SCRSDK::CrImageDataBlock* block, CrInt32u frame_no, CrInt32u image_size,
                     CrInt32u time_code);

}  // namespace sim

#endif  // VK_SONY_SIM_SIM_INTERNAL_H
