// The fixed associations between SDK codes and protocol words used by the
// enumerated rows of the property table. The words are what the parent sees
// and sends back, irregular spellings included ("SCinetome" for the gamma,
// "OFF" against "Off" between rows): each row keeps its own.
#include "properties/value_maps.h"

#include <iterator>
#include <stdexcept>

#include "properties/property_table.h"

void map_to_text(const ValueMap& map, uint64_t value, TextWriter* out) {
  for (size_t i = 0; i < map.count; ++i) {
    if (map.entries[i].code == value) {
      out->append(map.entries[i].text);
      return;
    }
  }
  out->append(map.fallback);
}

uint64_t map_from_text(const ValueMap& map, const std::string& text) {
  for (size_t i = 0; i < map.count; ++i) {
    if (map.entries[i].text == text) return map.entries[i].code;
  }
  throw std::invalid_argument("not a word of the map");
}

namespace {

// Exposure programs 1 to 7, indexed by value minus one.
constexpr const char* kExposurePrograms[] = {
    "CrExposure_M_Manual",           "CrExposure_P_Auto",
    "CrExposure_A_AperturePriority", "CrExposure_S_ShutterSpeedPriority",
    "CrExposure_Program_Creative",   "CrExposure_Program_Action",
    "CrExposure_Portrait",
};

constexpr CodeText kAutoManualEntries[] = {
    {1, "Automatic"},
    {2, "Manual"},
};
constexpr CodeText kUpperOffOnEntries[] = {
    {1, "OFF"},
    {2, "ON"},
};
constexpr CodeText kMixedOffOnEntries[] = {
    {1, "Off"},
    {2, "On"},
};
constexpr CodeText kOsdImageModeEntries[] = {
    {0, "Off"},
    {1, "On"},
};
constexpr CodeText kUpDownEntries[] = {
    {1, "Up"},
    {2, "Down"},
};
constexpr CodeText kHighLowEntries[] = {
    {1, "High"},
    {2, "Low"},
};
constexpr CodeText kGainUnitEntries[] = {
    {1, "dB"},
    {2, "ISO"},
};
constexpr CodeText kNdPresetVariableEntries[] = {
    {1, "Preset"},
    {2, "Variable"},
};
constexpr CodeText kNdPresetSelectEntries[] = {
    {1, "Preset1"},
    {2, "Preset2"},
    {3, "Preset3"},
};
constexpr CodeText kShutterModeEntries[] = {
    {1, "Speed"},
    {2, "Angle"},
};
constexpr CodeText kFocalDistanceUnitEntries[] = {
    {1, "Meter"},
    {2, "Feet"},
};
constexpr CodeText kZoomDistanceUnitEntries[] = {
    {1, "mm"},
    {2, "percent"},
};
constexpr CodeText kPriorityEntries[] = {
    {1, "CameraPosition"},
    {2, "PCRemote"},
};
constexpr CodeText kTouchSpotStatusEntries[] = {
    {1, "Stopped"},
    {2, "Running"},
};
constexpr CodeText kTrackingStatusEntries[] = {
    {1, "OFF"},
    {2, "Focusing"},
    {3, "Tracking"},
};
constexpr CodeText kFocusDrivingEntries[] = {
    {1, "NotDriving"},
    {2, "Driving"},
};
constexpr CodeText kAutoManualShortEntries[] = {
    {1, "Auto"},
    {2, "Manual"},
};
constexpr CodeText kBlackGammaRangeEntries[] = {
    {1, "Wide"},
    {2, "Middle"},
    {3, "Narrow"},
};
constexpr CodeText kKneeSensitivityEntries[] = {
    {1, "Low"},
    {2, "Mid"},
    {3, "High"},
};
constexpr CodeText kZoomSpeedTypeEntries[] = {
    {0, "Invalid"},
    {1, "Variable"},
    {2, "Fixed"},
};
constexpr CodeText kDisableEnableEntries[] = {
    {0, "Disable"},
    {1, "Enable"},
};
constexpr CodeText kFocusModeEntries[] = {
    {1, "MF"}, {2, "AF_S"}, {3, "AF_C"}, {4, "AF_A"}, {5, "AF_D"}, {6, "DMF"}, {7, "PF"},
};
constexpr CodeText kFocusAreaEntries[] = {
    {0, "Unknown"},
    {1, "Wide"},
    {2, "Zone"},
    {3, "Center"},
    {4, "Flexible_Spot_S"},
    {5, "Flexible_Spot_M"},
    {6, "Flexible_Spot_L"},
    {7, "Expand_Flexible_Spot"},
    {8, "Flexible_Spot"},
    {17, "Tracking_Wide"},
    {18, "Tracking_Zone"},
    {19, "Tracking_Center"},
    {20, "Tracking_Flexible_Spot_S"},
    {21, "Tracking_Flexible_Spot_M"},
    {22, "Tracking_Flexible_Spot_L"},
    {23, "Tracking_Expand_Flexible_Spot"},
    {24, "Tracking_Flexible_Spot"},
};
constexpr CodeText kWhiteBalanceEntries[] = {
    {0, "AWB"},
    {1, "Underwater_Auto"},
    {17, "Daylight"},
    {18, "Shadow"},
    {19, "Cloudy"},
    {20, "Tungsten"},
    {32, "Fluorescent"},
    {33, "Fluorescent_WarmWhite"},
    {34, "Fluorescent_CoolWhite"},
    {35, "Fluorescent_DayWhite"},
    {36, "Fluorescent_Daylight"},
    {48, "Flush"},
    {256, "ColorTemp"},
    {257, "Custom_1"},
    {258, "Custom_2"},
    {259, "Custom_3"},
    {260, "Custom"},
};
constexpr CodeText kNdFilterModeEntries[] = {
    {1, "Auto"},          {2, "Preset"}, {3, "PresetClear"}, {4, "Variable"},
    {5, "VariableClear"}, {6, "Step"},   {7, "StepClear"},
};
constexpr CodeText kShutterModeStatusEntries[] = {
    {1, "Off"}, {2, "Speed"}, {3, "Angle"}, {4, "ECS"}, {5, "Auto"},
};
constexpr CodeText kZoomTypeEntries[] = {
    {1, "OpticalZoom"},
    {2, "SmartZoom"},
    {3, "ClearImageZoom"},
    {4, "DigitalZoom"},
};
constexpr CodeText kMovieShootingModeEntries[] = {
    {1, "Off"}, {769, "CineEI"}, {770, "CineEIQuick"}, {1025, "Custom"}, {1281, "FlexibleISO"},
};
constexpr CodeText kMovieFileFormatEntries[] = {
    {0, "AVCHD"},        {1, "MP4"},         {2, "XAVC_S_4K"},   {3, "XAVC_S_HD"},        {4, "XAVC_HS_8K"},
    {5, "XAVC_HS_4K"},   {6, "XAVC_S_L_4K"}, {7, "XAVC_S_L_HD"}, {8, "XAVC_S_I_4K"},      {9, "XAVC_S_I_HD"},
    {10, "XAVC_I"},      {11, "XAVC_L"},     {12, "XAVC_HS_HD"}, {13, "XAVC_S_I_DCI_4K"}, {14, "XAVC_H_I_HQ"},
    {15, "XAVC_H_I_SQ"}, {16, "XAVC_H_L"},   {17, "X_OCN_XT"},   {18, "X_OCN_ST"},        {19, "X_OCN_LT"},
};
constexpr CodeText kFrameRateEntries[] = {
    {1, "120p"}, {2, "100p"},   {3, "60p"},    {4, "50p"},     {5, "30p"},     {6, "25p"},
    {7, "24p"},  {8, "23_98p"}, {9, "29_97p"}, {10, "59_94p"}, {22, "24_00p"}, {23, "119_88p"},
};
constexpr CodeText kPictureProfileEntries[] = {
    {0, "Off"},          {1, "Number1"},      {2, "Number2"},      {3, "Number3"},
    {4, "Number4"},      {5, "Number5"},      {6, "Number6"},      {7, "Number7"},
    {8, "Number8"},      {9, "Number9"},      {10, "Number10"},    {11, "Number11"},
    {65, "LUT_Number1"}, {66, "LUT_Number2"}, {67, "LUT_Number3"}, {68, "LUT_Number4"},
};
constexpr CodeText kGammaEntries[] = {
    {1, "Movie"},   {2, "Still"},   {3, "SCinetome"}, {257, "Cine1"},      {258, "Cine2"},
    {259, "Cine3"}, {260, "Cine4"}, {513, "ITU709"},  {514, "ITU709_800"}, {770, "SLog2"},
    {771, "SLog3"}, {1025, "HLG"},  {1026, "HLG1"},   {1027, "HLG2"},      {1028, "HLG3"},
};
constexpr CodeText kColorModeEntries[] = {
    {1, "Movie"},      {2, "Still"},       {3, "SCinetone"}, {4, "Cinema"},  {5, "Pro"},  {6, "ITU709"},
    {7, "BlackWhite"}, {8, "SGamut3Cine"}, {9, "SGamut3"},   {10, "BT2020"}, {11, "709"}, {12, "SGamut"},
};
constexpr CodeText kBatteryLevelEntries[] = {
    {0, "UNKNOWN"},
    {1, "PreEND"},
    {2, "1/4"},
    {3, "2/4"},
    {4, "3/4"},
    {5, "4/4"},
    {6, "1/3"},
    {7, "2/3"},
    {8, "3/3"},
    {0x10000, "USB"},
    {0x10001, "PreEND-USB"},
    {0x10002, "1/4-USB"},
    {0x10003, "2/4-USB"},
    {0x10004, "3/4-USB"},
    {0x10005, "4/4-USB"},
    {0xFFFFFFFD, "Fake"},
};
constexpr CodeText kRecordingStateEntries[] = {
    {0, "OFF"},
    {1, "ON"},
    {2, "FAILED"},
    {3, "WAITING"},
};
constexpr CodeText kRecorderMainStatusEntries[] = {
    {0, "Idle"}, {1, "Ready"}, {2, "PreparingToRecord"}, {3, "Standby"}, {4, "Recording"}, {5, "Stopping"},
};

}  // namespace

void exposureModeToText(uint64_t value, TextWriter* out) {
  // Only the low 32 bits count here, unlike every other map.
  const uint32_t index = static_cast<uint32_t>(value) - 1u;
  out->append(index > 6 ? "UNKNOWN" : kExposurePrograms[index]);
}

uint64_t exposureModeFromText(const std::string& text) {
  for (size_t i = 0; i < std::size(kExposurePrograms); ++i) {
    if (text == kExposurePrograms[i]) return i + 1;
  }
  throw std::invalid_argument("not an exposure program");
}

const ValueMap kAutoManualMap = {kAutoManualEntries, std::size(kAutoManualEntries), "UNKNOWN"};
const ValueMap kUpperOffOnMap = {kUpperOffOnEntries, std::size(kUpperOffOnEntries), "UNKNOWN"};
const ValueMap kMixedOffOnMap = {kMixedOffOnEntries, std::size(kMixedOffOnEntries), "UNKNOWN"};
const ValueMap kOsdImageModeMap = {kOsdImageModeEntries, std::size(kOsdImageModeEntries), "UNKNOWN"};
const ValueMap kUpDownMap = {kUpDownEntries, std::size(kUpDownEntries), "UNKNOWN"};
const ValueMap kHighLowMap = {kHighLowEntries, std::size(kHighLowEntries), "UNKNOWN"};
const ValueMap kGainUnitMap = {kGainUnitEntries, std::size(kGainUnitEntries), "UNKNOWN"};
const ValueMap kNdPresetVariableMap = {kNdPresetVariableEntries, std::size(kNdPresetVariableEntries),
                                       "UNKNOWN"};
const ValueMap kNdPresetSelectMap = {kNdPresetSelectEntries, std::size(kNdPresetSelectEntries), "UNKNOWN"};
const ValueMap kShutterModeMap = {kShutterModeEntries, std::size(kShutterModeEntries), "UNKNOWN"};
const ValueMap kFocalDistanceUnitMap = {kFocalDistanceUnitEntries, std::size(kFocalDistanceUnitEntries),
                                        "UNKNOWN"};
const ValueMap kZoomDistanceUnitMap = {kZoomDistanceUnitEntries, std::size(kZoomDistanceUnitEntries),
                                       "UNKNOWN"};
const ValueMap kPriorityMap = {kPriorityEntries, std::size(kPriorityEntries), "UNKNOWN"};
const ValueMap kTouchSpotStatusMap = {kTouchSpotStatusEntries, std::size(kTouchSpotStatusEntries), "UNKNOWN"};
const ValueMap kTrackingStatusMap = {kTrackingStatusEntries, std::size(kTrackingStatusEntries), "UNKNOWN"};
const ValueMap kFocusDrivingMap = {kFocusDrivingEntries, std::size(kFocusDrivingEntries), "UNKNOWN"};
const ValueMap kAutoManualShortMap = {kAutoManualShortEntries, std::size(kAutoManualShortEntries), "UNKNOWN"};
const ValueMap kBlackGammaRangeMap = {kBlackGammaRangeEntries, std::size(kBlackGammaRangeEntries), "UNKNOWN"};
const ValueMap kKneeSensitivityMap = {kKneeSensitivityEntries, std::size(kKneeSensitivityEntries), "UNKNOWN"};
const ValueMap kZoomSpeedTypeMap = {kZoomSpeedTypeEntries, std::size(kZoomSpeedTypeEntries), "UNKNOWN"};
const ValueMap kDisableEnableMap = {kDisableEnableEntries, std::size(kDisableEnableEntries), "UNKNOWN"};
const ValueMap kFocusModeMap = {kFocusModeEntries, std::size(kFocusModeEntries), "UNKNOWN"};
const ValueMap kFocusAreaMap = {kFocusAreaEntries, std::size(kFocusAreaEntries), "UNKNOWN"};
const ValueMap kWhiteBalanceMap = {kWhiteBalanceEntries, std::size(kWhiteBalanceEntries), "UNKNOWN"};
const ValueMap kNdFilterModeMap = {kNdFilterModeEntries, std::size(kNdFilterModeEntries), "UNKNOWN"};
const ValueMap kShutterModeStatusMap = {kShutterModeStatusEntries, std::size(kShutterModeStatusEntries),
                                        "UNKNOWN"};
const ValueMap kZoomTypeMap = {kZoomTypeEntries, std::size(kZoomTypeEntries), "UNKNOWN"};
const ValueMap kMovieShootingModeMap = {kMovieShootingModeEntries, std::size(kMovieShootingModeEntries),
                                        "UNKNOWN"};
const ValueMap kMovieFileFormatMap = {kMovieFileFormatEntries, std::size(kMovieFileFormatEntries), "UNKNOWN"};
const ValueMap kFrameRateMap = {kFrameRateEntries, std::size(kFrameRateEntries), "UNKNOWN"};
const ValueMap kPictureProfileMap = {kPictureProfileEntries, std::size(kPictureProfileEntries), "UNKNOWN"};
const ValueMap kGammaMap = {kGammaEntries, std::size(kGammaEntries), "UNKNOWN"};
const ValueMap kColorModeMap = {kColorModeEntries, std::size(kColorModeEntries), "UNKNOWN"};
const ValueMap kBatteryLevelMap = {kBatteryLevelEntries, std::size(kBatteryLevelEntries), "UNKNOWN"};
const ValueMap kRecordingStateMap = {kRecordingStateEntries, std::size(kRecordingStateEntries), "UNKNOWN"};
const ValueMap kRecorderMainStatusMap = {kRecorderMainStatusEntries, std::size(kRecorderMainStatusEntries),
                                         "UNKNOWN"};
