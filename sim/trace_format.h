// Number and list formatting of trace lines: codes, types and results in
// lower-case hexadecimal with 0x, MACs as aa:bb:cc:dd:ee:ff.
#ifndef VK_SONY_SIM_TRACE_FORMAT_H
#define VK_SONY_SIM_TRACE_FORMAT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace sim {

inline std::string hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

// A CrError is signed; its trace form is the 32-bit pattern.
inline std::string result_hex(int32_t result) { return hex(static_cast<uint32_t>(result)); }

inline std::string hex_list(const std::vector<uint32_t>& codes) {
  std::string text;
  for (std::size_t i = 0; i < codes.size(); ++i) text += (i ? "," : "") + hex(codes[i]);
  return text;
}

inline std::string mac_text(const uint8_t* mac) {
  if (mac == nullptr) return "-";
  char text[18];
  std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                mac[5]);
  return text;
}

}  // namespace sim

#endif  // VK_SONY_SIM_TRACE_FORMAT_H
