// The in-process test control surface of the simulated SDK.
#include "sim/sim_control.h"

#include "sim/sim_internal.h"
#include "sim/simulator.h"

namespace sim {

void reset() {
  Simulator::instance().shut_down(true);
  Simulator::instance().keep_trace_lines();
}

bool load_scenario(const std::string& text, std::string* error) {
  return Simulator::instance().load_scenario_text(text, error);
}

bool fire(const std::string& control_line) {
  ControlEvent event;
  if (!parse_control_line(control_line, &event)) return false;
  Simulator::instance().apply(event);
  return true;
}

bool wait_idle(std::chrono::milliseconds timeout) { return Simulator::instance().wait_idle(timeout); }

std::vector<std::string> trace() { return Simulator::instance().trace_lines(); }

void clear_trace() { Simulator::instance().clear_trace(); }

unsigned long long property_value(unsigned code) {
  ScenarioProperty property;
  return Simulator::instance().find_property(code, &property) ? property.value : 0;
}

}  // namespace sim
