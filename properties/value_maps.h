// The fixed associations between SDK codes and protocol words used by the
// enumerated rows of the property table.
#ifndef VK_SONY_PROPERTIES_VALUE_MAPS_H
#define VK_SONY_PROPERTIES_VALUE_MAPS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "properties/text_writer.h"

struct CodeText {
  uint64_t code;
  std::string_view text;
};

// One map: its entries and the text of a code outside it.
struct ValueMap {
  const CodeText* entries;
  size_t count;
  const char* fallback;
};

// Appends the text of the entry whose code equals the whole 64-bit value,
// else the map's fallback.
void map_to_text(const ValueMap& map, uint64_t value, TextWriter* out);
// The code of the entry whose text equals `text` exactly; any other text
// raises std::invalid_argument (0 can be a code of its own).
uint64_t map_from_text(const ValueMap& map, const std::string& text);

// Row converters bound to one map, usable as plain function pointers.
template <const ValueMap& kMap>
void mapToText(uint64_t value, TextWriter* out) {
  map_to_text(kMap, value, out);
}
template <const ValueMap& kMap>
uint64_t mapFromText(const std::string& text) {
  return map_from_text(kMap, text);
}

extern const ValueMap kAutoManualMap;    // 1 Automatic, 2 Manual
extern const ValueMap kUpperOffOnMap;    // 1 OFF, 2 ON
extern const ValueMap kMixedOffOnMap;    // 1 Off, 2 On
extern const ValueMap kOsdImageModeMap;  // 0 Off, 1 On
extern const ValueMap kUpDownMap;        // 1 Up, 2 Down
extern const ValueMap kHighLowMap;       // 1 High, 2 Low
extern const ValueMap kGainUnitMap;      // 1 dB, 2 ISO
extern const ValueMap kNdPresetVariableMap;
extern const ValueMap kNdPresetSelectMap;
extern const ValueMap kShutterModeMap;
extern const ValueMap kFocalDistanceUnitMap;
extern const ValueMap kZoomDistanceUnitMap;
extern const ValueMap kPriorityMap;
extern const ValueMap kTouchSpotStatusMap;
extern const ValueMap kTrackingStatusMap;
extern const ValueMap kFocusDrivingMap;
extern const ValueMap kAutoManualShortMap;  // 1 Auto, 2 Manual
extern const ValueMap kBlackGammaRangeMap;
extern const ValueMap kKneeSensitivityMap;
extern const ValueMap kZoomSpeedTypeMap;
extern const ValueMap kDisableEnableMap;
extern const ValueMap kFocusModeMap;
extern const ValueMap kFocusAreaMap;
extern const ValueMap kWhiteBalanceMap;
extern const ValueMap kNdFilterModeMap;
extern const ValueMap kShutterModeStatusMap;
extern const ValueMap kZoomTypeMap;
extern const ValueMap kMovieShootingModeMap;
extern const ValueMap kMovieFileFormatMap;
extern const ValueMap kFrameRateMap;
extern const ValueMap kPictureProfileMap;
extern const ValueMap kGammaMap;
extern const ValueMap kColorModeMap;
extern const ValueMap kBatteryLevelMap;
extern const ValueMap kRecordingStateMap;
extern const ValueMap kRecorderMainStatusMap;

#endif  // VK_SONY_PROPERTIES_VALUE_MAPS_H
