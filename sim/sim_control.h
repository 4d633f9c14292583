// Test-only control surface of the simulated camera SDK, for in-process
// tests: set up cameras and properties, inject failures, fire callbacks and
// read back the SDK calls that were made. Every fixture calls sim::reset()
// in its SetUp.
#ifndef VK_SONY_SIM_SIM_CONTROL_H
#define VK_SONY_SIM_SIM_CONTROL_H

#include <chrono>
#include <string>
#include <vector>

namespace sim {

// Returns the simulator to its start state: no scenario loaded (the next
// Init loads the one named by VK_SONY_SIM_SCENARIO, or the built-in
// default), no cameras connected, no failures injected, trace emptied.
// Stops the simulator's threads. From the first reset() on, the process
// keeps its trace lines in memory for trace(); without it (the bridge
// itself) they only go to the trace file.
void reset();

// Replaces the scenario with `text` (the scenario file format). Returns false
// and fills `error` ("<line>: <what is wrong>") when a line is not understood.
bool load_scenario(const std::string& text, std::string* error = nullptr);

// Delivers one control event (the control-line format, e.g. "disconnect
// 0x8207" or "change 0x104 400") to the connected camera's callback, on the
// simulator's thread. Returns false when the line is not understood.
bool fire(const std::string& control_line);

// Waits until every callback queued so far (including confirmations whose
// delay has passed) has been delivered and returned. False on timeout.
bool wait_idle(std::chrono::milliseconds timeout = std::chrono::seconds(5));

// The trace lines recorded since the last reset()/clear_trace(), without the
// leading time stamp, e.g. "SetDeviceProperty code=0x104 value=400 type=0x3 result=0x0".
std::vector<std::string> trace();
void clear_trace();

// The current value the simulated camera holds for a device property
// (0 when it has none).
unsigned long long property_value(unsigned code);

}  // namespace sim

#endif  // VK_SONY_SIM_SIM_CONTROL_H
