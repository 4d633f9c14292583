// Fuzzes the simulator's scenario and control-line parsers, and carries
// every property a scenario describes (raw attributes included) through the
// SDK's record class into the bridge's status line: a scenario the parser
// accepts must give records that stay within their buffers.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "properties/property_table.h"
#include "sim/sim_internal.h"

namespace {

bool keep_all(uint64_t) { return false; }
void decimal(uint64_t value, TextWriter* out) { out->append(std::to_string(value)); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);

  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    sim::ControlEvent event;
    (void)sim::parse_control_line(text.substr(start, end - start), &event);
    start = end + 1;
  }

  sim::Scenario scenario;
  std::string error;
  if (!sim::parse_scenario(text, &scenario, &error)) {
    if (error.empty()) std::abort();  // a refusal always says what is wrong
    return 0;
  }
  for (const sim::ScenarioProperty& property : scenario.properties) {
    // Megabytes of zeros teach nothing more than kilobytes and make every
    // run slow; the composition of big buffers is the status-line target's.
    if (property.declares_size && !property.null_values && property.declared_size > (64u << 10)) continue;
    SCRSDK::CrDeviceProperty record;
    sim::fill_property_record(property, &record);
    const SCRSDK::CrDeviceProperty copy(record);
    const PropertyInfo* row = find_property(copy.GetCode());
    TextWriter line;
    if (row != nullptr) {
      append_property_line(row->name, copy, row->toText, row->skipValue, row->listValues, &line);
    } else {
      append_property_line("K", copy, decimal, keep_all, false, &line);
    }
    if (line.view().find('\n') != std::string_view::npos) std::abort();
  }
  flush_raw_lines();  // "unhandled unit" waits for the next write otherwise
  return 0;
}
