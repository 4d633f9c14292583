// The host protocol above the camera device: the command reader that reads
// the parent's commands and the run loop that runs a camera until the run
// ends. The lines themselves are written through the floor (base/base.h).
#ifndef VK_SONY_PROTOCOL_PROTOCOL_H
#define VK_SONY_PROTOCOL_PROTOCOL_H

#include <cstdint>
#include <map>
#include <string>

#include "base/base.h"

class CameraDevice;

// ---- Command reader and run loop ----------------------------------------

// Status key name -> SDK property code; built by run_bridge, extended by the
// command reader.
using PropertyCodes = std::map<std::string, uint64_t>;
extern PropertyCodes property_codes;

// Thread body: reads commands from standard input and dispatches them to
// `device` until shutdown, hang-up or end of input; then requests shutdown.
void command_reader(CameraDevice* device, PropertyCodes& codes);

// Thread body: blocks until stdin or stdout shows an error condition or
// shutdown is requested, then ends the run: requests shutdown, aborts the
// operations of `device` (may be null) and writes "CLOSED".
void handler_monitor(CameraDevice* device);

// One probe of the standard streams, without waiting; true (and logged) when
// an error condition was seen.
bool check_streams();

// Runs the bridge for a connected `device` (may be null) until the run ends,
// then disconnects and releases it and releases the SDK. Returns the result
// of the SDK's Release.
bool run_bridge(CameraDevice* device);

#endif  // VK_SONY_PROTOCOL_PROTOCOL_H
