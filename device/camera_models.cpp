// The camera model table: model names and the SDK's camera model numbers.
#include <cstdint>
#include <iterator>
#include <string_view>

#include "device/camera_device.h"

namespace {

struct ModelRow {
  const char* name;
  uint32_t number;
};

// 19 and 22 have no name; an unlisted name maps to 0 like "ILCE-7RM4".
constexpr ModelRow kModels[] = {
    {"ILCE-7RM4", 0},  {"ILCE-9M2", 1},   {"ILCE-7C", 2},   {"ILCE-7SM3", 3},  {"ILCE-1", 4},
    {"ILCE-7RM4A", 5}, {"DSC-RX0M2", 6},  {"ILCE-7M4", 7},  {"ILME-FX3", 8},   {"ILME-FX30", 9},
    {"ILME-FX6", 10},  {"ILCE-7RM5", 11}, {"ZV-E1", 12},    {"ILCE-6700", 13}, {"ILCE-7CM2", 14},
    {"ILCE-7CR", 15},  {"ILX-LR1", 16},   {"MPC-2610", 17}, {"ILCE-9M3", 18},  {"PXW-Z200", 20},
    {"HXR-NX800", 21}, {"ILME-FX3A", 23},
};

}  // namespace

uint32_t camera_model_number(std::string_view name) {
  for (const ModelRow& row : kModels) {
    if (name == row.name) return row.number;
  }
  return 0;
}

const char* camera_model_name(uint32_t number) {
  for (const ModelRow& row : kModels) {
    if (row.number == number) return row.name;
  }
  return "";
}
