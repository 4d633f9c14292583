// The table of camera properties the bridge supports: status key, converters
// and flags per SDK device-property code.
#include "properties/property_table.h"

#include <vector>

#include "properties/formatters.h"
#include "properties/value_maps.h"

namespace {

// One row as written below: plain constants, so the list is built at compile
// time and costs nothing at start-up.
struct Row {
  PropertyCode code;
  struct {
    const char* name;
    ToTextFn toText;
    FromTextFn fromText;
    SkipValueFn skipValue;
    bool listValues;
    bool alwaysSend;
  } info;
};

// The rows in the order they are inserted. A later row with a code already
// present is dropped: FOCUS_POSITION_SETTING shares 0x20E with FOCUS_POSITION
// and loses, so 0x20E is reported and set as FOCUS_POSITION. The parent relies
// on that, so the duplicate row stays here as it is.
// clang-format off
constexpr Row kRows[] = {
    {0x101, {"EXPOSURE_BIAS", &exposureBiasToText, &exposureBiasFromText, &acceptAll, true, false}},  // CrDeviceProperty_ExposureBiasCompensation
    {0x13B, {"EXPOSURE_INDEX", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ExposureIndex
    {0x105, {"EXPOSURE_MODE", &exposureModeToText, &exposureModeFromText, &acceptAll, true, false}},  // CrDeviceProperty_ExposureProgramMode
    {0x17E, {"ND_FILTER", &mapToText<kUpperOffOnMap>, &mapFromText<kUpperOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_NDFilter
    {0x733, {"ND_FILTER_MODE", &mapToText<kNdFilterModeMap>, &mapFromText<kNdFilterModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_NDFilterMode
    {0x17F, {"ND_FILTER_MODE_SETTING", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_NDFilterModeSetting
    {0x180, {"ND_FILTER_VALUE", &ndFilterValueToText, &fractionFromText, &acceptAll, true, false}},  // CrDeviceProperty_NDFilterValue
    {0x191, {"ND_PRESET_VARIABLE_SETTING", &mapToText<kNdPresetVariableMap>, &mapFromText<kNdPresetVariableMap>, &acceptAll, true, false}},  // CrDeviceProperty_NDFilterSwitchingSetting
    {0x2A0, {"ND_FILTER_PRESET_SELECT", &mapToText<kNdPresetSelectMap>, &mapFromText<kNdPresetSelectMap>, &acceptAll, true, false}},  // CrDeviceProperty_NDFilterPresetSelect
    {0x100, {"FSTOP", &fNumberToText, &fNumberFromText, &acceptAll, true, false}},  // CrDeviceProperty_FNumber
    {0x799, {"METERED_MANUAL_LEVEL", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_MeteredManualLevel
    {0x104, {"ISO", &isoToText, &isoFromText, &acceptAll, true, false}},  // CrDeviceProperty_IsoSensitivity
    {0x729, {"ISO_SENSITIVITY", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_IsoCurrentSensitivity
    {0x139, {"GAIN_ISO_SENSITIVITY", &mapToText<kHighLowMap>, &mapFromText<kHighLowMap>, &acceptAll, true, false}},  // CrDeviceProperty_GainBaseIsoSensitivity
    {0x13A, {"GAIN_BASE_SENSITIVITY", &mapToText<kHighLowMap>, &mapFromText<kHighLowMap>, &acceptAll, true, false}},  // CrDeviceProperty_GainBaseSensitivity
    {0x750, {"GAIN_DB_CURRENT_VALUE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_GaindBCurrentValue
    {0x182, {"GAIN_DB_VALUE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_GaindBValue
    {0x181, {"GAIN_UNIT_SETTING", &mapToText<kGainUnitMap>, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_GainUnitSetting
    {0x138, {"GAIN_CONTROL_SETTING", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_GainControlSetting
    {0x103, {"SHUTTER", &shutterSpeedToText, &shutterSpeedFromText, &keepUnitNumerator, true, false}},  // CrDeviceProperty_ShutterSpeed
    {0x137, {"SHUTTER_MODE_SETTING", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterModeSetting
    {0x17A, {"SHUTTER_ANGLE", &shutterAngleToText, &shutterAngleFromText, &acceptAll, true, false}},  // CrDeviceProperty_ShutterAngle
    {0x160, {"SHUTTER_ECS_SETTING", &mapToText<kUpperOffOnMap>, &mapFromText<kUpperOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterECSSetting
    {0x161, {"SHUTTER_ECS_NUMBER", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ShutterECSNumber
    {0x162, {"SHUTTER_ECS_NUMBER_STEP", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ShutterECSNumberStep
    {0x163, {"SHUTTER_ECS_FREQUENCY", &formatInt32, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ShutterECSFrequency
    {0x17B, {"SHUTTER_SETTING", &mapToText<kUpperOffOnMap>, &mapFromText<kUpperOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterSetting
    {0x17C, {"SHUTTER_MODE", &mapToText<kShutterModeMap>, &mapFromText<kShutterModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterMode
    {0x14F, {"SHUTTER_MODE_STATUS", &mapToText<kShutterModeStatusMap>, &mapFromText<kShutterModeStatusMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterModeStatus
    {0x150, {"SHUTTER_SLOW", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_ShutterSlow
    {0x151, {"SHUTTER_SLOW_FRAMES", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ShutterSlowFrames
    {0x731, {"SHUTTER_SPEED_CURRENT_VALUE", &shutterSpeed64ToText, &fractionFromText, &acceptAll, true, false}},  // CrDeviceProperty_ShutterSpeedCurrentValue
    {0x17D, {"SHUTTER_SPEED_VALUE", &shutterSpeed64ToText, &fractionFromText, &acceptAll, true, false}},  // CrDeviceProperty_ShutterSpeedValue
    {0x2A6, {"WB_R_GAIN", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_WhiteBalanceRGain
    {0x2A7, {"WB_B_GAIN", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_WhiteBalanceBGain
    {0x116, {"AB", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ColorTuningAB
    {0x117, {"GM", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ColorTuningGM
    {0x115, {"WB", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_Colortemp
    {0x15B, {"COLORTEMP_STEP", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ColortempStep
    {0x108, {"WB_MODE", &mapToText<kWhiteBalanceMap>, &mapFromText<kWhiteBalanceMap>, &acceptAll, true, false}},  // CrDeviceProperty_WhiteBalance
    {0x15C, {"WB_MODE_SETTING", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_WhiteBalanceModeSetting
    {0x15D, {"WB_TINT", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_WhiteBalanceTint
    {0x15E, {"WB_TINT_STEP", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_WhiteBalanceTintStep
    {0x183, {"AWB", &mapToText<kUpDownMap>, &mapFromText<kUpDownMap>, &acceptAll, true, false}},  // CrDeviceProperty_AWB
    {0x109, {"FOCUS_MODE", &mapToText<kFocusModeMap>, &mapFromText<kFocusModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusMode
    {0x113, {"FOCUS_AREA", &mapToText<kFocusAreaMap>, &mapFromText<kFocusAreaMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusArea
    {0x732, {"FOCUS_SPEED", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_Focus_Speed_Range
    {0x15F, {"FOCUS_OPERATION", &formatInt8, &parseDecimal, &acceptAll, true, true}},  // CrDeviceProperty_Focus_Operation
    {0x29C, {"PUSH_AUTO_FOCUS", &mapToText<kUpDownMap>, &mapFromText<kUpDownMap>, &acceptAll, true, false}},  // CrDeviceProperty_PushAutoFocus
    {0x20E, {"FOCUS_POSITION", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FocusPositionSetting
    {0x11F, {"FOCUS_NEAR_FAR", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_NearFar
    {0x149, {"FOCUS_FOCAL_DISTANCE_METER", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FocalDistanceInMeter
    {0x14A, {"FOCUS_FOCAL_DISTANCE_FEET", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FocalDistanceInFeet
    {0x14B, {"FOCUS_FOCAL_DISTANCE_UNIT_SETTING", &mapToText<kFocalDistanceUnitMap>, &mapFromText<kFocalDistanceUnitMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocalDistanceUnitSetting
    {0x179, {"FOCUS_MODE_SETTING", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusModeSetting
    {0x73B, {"FOCUS_TOUCH_SPOT_STATUS", &mapToText<kTouchSpotStatusMap>, &mapFromText<kTouchSpotStatusMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusTouchSpotStatus
    {0x73C, {"FOCUS_TRACKING_STATUS", &mapToText<kTrackingStatusMap>, &mapFromText<kTrackingStatusMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusTrackingStatus
    {0x194, {"FOCUS_FOLLOW_POSITION_SETTING", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FollowFocusPositionSetting
    {0x757, {"FOCUS_FOLLOW_POSITION_CURRENT", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FollowFocusPositionCurrentValue
    {0x195, {"FOCUS_BRACKET_SHOT_NUMBER", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketShotNumber
    {0x196, {"FOCUS_BRACKET_RANGE", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketFocusRange
    {0x758, {"FOCUS_BRACKET_SHOOTING", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketShootingStatus
    {0x1F9, {"FOCUS_BRACKET_ORDER", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketOrder
    {0x1FA, {"FOCUS_BRACKET_LOCK_1ST_IMG", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketExposureLock1stImg
    {0x1FB, {"FOCUS_BRACKET_INTERVAL_UNTIL_NEXT_SHOT", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusBracketIntervalUntilNextShot
    {0x766, {"FOCUS_POSITION_CURRENT", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_FocusPositionCurrentValue
    {0x20E, {"FOCUS_POSITION_SETTING", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_FocusPositionSetting
    {0x767, {"FOCUS_DRIVING", &mapToText<kFocusDrivingMap>, &mapFromText<kFocusDrivingMap>, &acceptAll, true, false}},  // CrDeviceProperty_FocusDrivingStatus
    {0x14E, {"ZOOM_DISTANCE_UNIT_SETTING", &mapToText<kZoomDistanceUnitMap>, &mapFromText<kZoomDistanceUnitMap>, &acceptAll, true, false}},  // CrDeviceProperty_ZoomDistanceUnitSetting
    {0x14D, {"ZOOM_DISTANCE", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_ZoomDistance
    {0x124, {"ZOOM_SCALE", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_Zoom_Scale
    {0x125, {"ZOOM_SETTING", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_Zoom_Setting
    {0x126, {"ZOOM_OPERATION", &formatInt8, &parseDecimal, &acceptAll, true, true}},  // CrDeviceProperty_Zoom_Operation
    {0x71E, {"ZOOM_OPERATION_STATUS", &mapToText<kDisableEnableMap>, &mapFromText<kDisableEnableMap>, &acceptAll, true, false}},  // CrDeviceProperty_Zoom_Operation_Status
    {0x71F, {"ZOOM_BAR_INFO", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_Zoom_Bar_Information
    {0x720, {"ZOOM_TYPE", &mapToText<kZoomTypeMap>, &mapFromText<kZoomTypeMap>, &acceptAll, true, false}},  // CrDeviceProperty_Zoom_Type_Status
    {0x50C, {"ZOOM_SPEED_TYPE", &mapToText<kZoomSpeedTypeMap>, &mapFromText<kZoomSpeedTypeMap>, &acceptAll, true, false}},  // CrDeviceProperty_Remocon_Zoom_Speed_Type
    {0x724, {"ZOOM_SPEED_RANGE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_Zoom_Speed_Range
    {0x14C, {"DIGITAL_ZOOM_SCALE", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_DigitalZoomScale
    {0x756, {"LENS_INFORMATION_STATUS", &mapToText<kDisableEnableMap>, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_LensInformationEnableStatus
    {0x157, {"MOVIE_SHOOTING_MODE", &mapToText<kMovieShootingModeMap>, &mapFromText<kMovieShootingModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_MovieShootingMode
    {0x127, {"MOVIE_FILE_FORMAT", &mapToText<kMovieFileFormatMap>, &mapFromText<kMovieFileFormatMap>, &acceptAll, true, false}},  // CrDeviceProperty_Movie_File_Format
    {0x129, {"FRAME_RATE_SETTING", &mapToText<kFrameRateMap>, &mapFromText<kFrameRateMap>, &acceptAll, true, false}},  // CrDeviceProperty_Movie_Recording_FrameRateSetting
    {0x11A, {"PRIORITY", &mapToText<kPriorityMap>, &mapFromText<kPriorityMap>, &acceptAll, true, false}},  // CrDeviceProperty_PriorityKeySettings
    {0x703, {"BAT_LEVEL", &mapToText<kBatteryLevelMap>, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_BatteryLevel
    {0x702, {"BAT_REMAIN", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_BatteryRemain
    {0x79D, {"TOTAL_BAT_REMAIN", &formatUnsigned, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_TotalBatteryRemain
    {0x136, {"IRIS_MODE", &mapToText<kAutoManualMap>, &mapFromText<kAutoManualMap>, &acceptAll, true, false}},  // CrDeviceProperty_IrisModeSetting
    {0x1AA, {"PP", &mapToText<kPictureProfileMap>, &mapFromText<kPictureProfileMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile
    {0x1BD, {"PP_DETAIL_LEVEL", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_DetailLevel
    {0x1BE, {"PP_DETAIL_ADJUST_MODE", &mapToText<kAutoManualShortMap>, &mapFromText<kAutoManualShortMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustMode
    {0x1BF, {"PP_DETAIL_ADJUST_VH_BALANCE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustVHBalance
    {0x1C0, {"PP_DETAIL_ADJUST_BW_BALANCE", &formatInt8, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustBWBalance
    {0x1C1, {"PP_DETAIL_ADJUST_LIMIT", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustLimit
    {0x1C2, {"PP_DETAIL_ADJUST_CRISPENING", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustCrispening
    {0x1C3, {"PP_DETAIL_ADJUST_HI_LIGHT", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_DetailAdjustHiLightDetail
    {0x1AB, {"PP_BLACK_LEVEL", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_BlackLevel
    {0x2AD, {"PP_BLACK_R_LEVEL", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookRBlack
    {0x2AE, {"PP_BLACK_B_LEVEL", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookBBlack
    {0x2AC, {"PAINTLOOK_MASTER_BLACK", &formatInt16, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookMasterBlack
    {0x2B3, {"PAINTLOOK_DETAIL_SETTING", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_PaintLookDetailSetting
    {0x2B4, {"PAINTLOOK_DETAIL_LEVEL", &formatInt8, &parseLong, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookDetailLevel
    {0x2AF, {"PAINTLOOK_KNEE_SETTING", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_PaintLookKneeSetting
    {0x2B0, {"PAINTLOOK_AUTO_KNEE", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_PaintLookAutoKnee
    {0x2B1, {"PAINTLOOK_KNEE_POINT", &formatUint8, &parseLowByte, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookKneePoint
    {0x2B2, {"PAINTLOOK_KNEE_SLOPE", &formatInt8, &parseSignedLowByte, &acceptAll, false, false}},  // CrDeviceProperty_PaintLookKneeSlope
    {0x1AC, {"PP_GAMMA", &mapToText<kGammaMap>, &mapFromText<kGammaMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_Gamma
    {0x1AD, {"PP_BLACK_GAMMA_RANGE", &mapToText<kBlackGammaRangeMap>, &mapFromText<kBlackGammaRangeMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_BlackGammaRange
    {0x1AE, {"PP_BLACK_GAMMA_LEVEL", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_BlackGammaLevel
    {0x1AF, {"PP_KNEE_MODE", &mapToText<kAutoManualShortMap>, &mapFromText<kAutoManualShortMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_KneeMode
    {0x1B0, {"PP_KNEE_AUTO_MAX_POINT", &kneeAutoMaxPointToText, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_KneeAutoSet_MaxPoint
    {0x1B1, {"PP_KNEE_AUTO_SENSITIVITY", &mapToText<kKneeSensitivityMap>, &mapFromText<kKneeSensitivityMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_KneeAutoSet_Sensitivity
    {0x1B2, {"PP_KNEE_MANUAL_POINT", &kneeManualPointToText, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_KneeManualSet_Point
    {0x1B3, {"PP_KNEE_MANUAL_SLOPE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_KneeManualSet_Slope
    {0x1B4, {"PP_COLOR_MODE", &mapToText<kColorModeMap>, &mapFromText<kColorModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_PictureProfile_ColorMode
    {0x1B5, {"PP_SATURATION", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_Saturation
    {0x1B6, {"PP_COLOR_PHASE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorPhase
    {0x1B7, {"PP_COLOR_DEPTH_RED", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthRed
    {0x1B8, {"PP_COLOR_DEPTH_GREEN", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthGreen
    {0x1B9, {"PP_COLOR_DEPTH_BLUE", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthBlue
    {0x1BA, {"PP_COLOR_DEPTH_CYAN", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthCyan
    {0x1BB, {"PP_COLOR_DEPTH_MAGENTA", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthMagenta
    {0x1BC, {"PP_COLOR_DEPTH_YELLOW", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_PictureProfile_ColorDepthYellow
    {0x1D5, {"PP_LUT", &formatInt8, &parseDecimal, &acceptAll, false, false}},  // CrDeviceProperty_SelectUserBaseLookToSetInPPLUT
    {0x751, {"SOFTWARE", &sdkStringToText, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_SoftwareVersion
    {0x705, {"REC", &mapToText<kRecordingStateMap>, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_RecordingState
    {0x742, {"RECORDER_MAIN_STATUS", &mapToText<kRecorderMainStatusMap>, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_RecorderMainStatus
    {0x753, {"REC_BUTTON_STATUS", &mapToText<kDisableEnableMap>, &mapFromText<kDisableEnableMap>, &acceptAll, true, false}},  // CrDeviceProperty_MovieRecButtonToggleEnableStatus
    {0x16F, {"B1", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton1
    {0x170, {"B2", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton2
    {0x171, {"B3", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton3
    {0x172, {"B4", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton4
    {0x173, {"B5", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton5
    {0x174, {"B6", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton6
    {0x175, {"B7", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton7
    {0x176, {"B8", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton8
    {0x177, {"B9", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButton9
    {0x178, {"L1", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_LensAssignableButton1
    {0x165, {"BA1", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable1
    {0x166, {"BA2", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable2
    {0x167, {"BA3", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable3
    {0x168, {"BA4", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable4
    {0x169, {"BA5", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable5
    {0x16A, {"BA6", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable6
    {0x16B, {"BA7", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable7
    {0x16C, {"BA8", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable8
    {0x16D, {"BA9", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentAssignable9
    {0x16E, {"LA1", &formatUnsigned, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_ButtonAssignmentLensAssignable1
    {0x746, {"BI1", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator1
    {0x747, {"BI2", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator2
    {0x748, {"BI3", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator3
    {0x749, {"BI4", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator4
    {0x74A, {"BI5", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator5
    {0x74B, {"BI6", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator6
    {0x74C, {"BI7", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator7
    {0x74D, {"BI8", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator8
    {0x74E, {"BI9", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_AssignableButtonIndicator9
    {0x74F, {"LI1", &formatButtonState, &parseButtonState, &acceptAll, true, false}},  // CrDeviceProperty_LensAssignableButtonIndicator1
    {0x2C5, {"OSD_IMAGE_MODE", &mapToText<kOsdImageModeMap>, &mapFromText<kOsdImageModeMap>, &acceptAll, true, false}},  // CrDeviceProperty_OSDImageMode
    {0x1E8, {"MONITORING_OUTPUT_DISPLAY_HDMI", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_MonitoringOutputDisplayHDMI
    {0x296, {"MONITORING_OUTPUT_DISPLAY_SDI", &mapToText<kMixedOffOnMap>, &mapFromText<kMixedOffOnMap>, &acceptAll, true, false}},  // CrDeviceProperty_MonitoringOutputDisplaySDI
    {0x765, {"LENS_MODEL", &sdkStringToText, &parseDecimal, &acceptAll, true, false}},  // CrDeviceProperty_LensModelName
};
// clang-format on

// The rows by code, and a hash index of them for find_property(): open
// addressing in a power-of-two array of at least four slots per row, probed
// linearly from a multiplicative hash of the code. One probe or two per
// lookup, where the map walks eight nodes.
class Table {
 public:
  Table() {
    for (const Row& row : kRows) {
      const auto& i = row.info;
      // The first row for a code wins.
      rows_.emplace(row.code,
                    PropertyInfo{i.name, i.toText, i.fromText, i.skipValue, i.listValues, i.alwaysSend});
    }
    while ((size_t{1} << bits_) < 4 * rows_.size()) ++bits_;
    slots_.resize(size_t{1} << bits_);
    for (const auto& [code, info] : rows_) {
      size_t i = slot_of(code);
      while (slots_[i].info != nullptr) i = (i + 1) & (slots_.size() - 1);
      slots_[i] = {code, &info};
    }
  }

  const PropertyTable::Map& rows() const { return rows_; }

  const PropertyInfo* find(PropertyCode code) const {
    // Ends at an empty slot at the latest: most slots are empty.
    for (size_t i = slot_of(code);; i = (i + 1) & (slots_.size() - 1)) {
      if (slots_[i].info == nullptr || slots_[i].code == code) return slots_[i].info;
    }
  }

 private:
  struct Slot {
    PropertyCode code = 0;
    const PropertyInfo* info = nullptr;  // null: an empty slot
  };

  size_t slot_of(PropertyCode code) const {
    return static_cast<size_t>((code * 0x9E3779B97F4A7C15ull) >> (64 - bits_));
  }

  PropertyTable::Map rows_;
  unsigned bits_ = 1;  // log2 of the slot count
  std::vector<Slot> slots_;
};

const Table& the_table() {
  // Never destroyed: SDK threads may still look rows up during exit.
  static const Table* const table = new Table;
  return *table;
}

}  // namespace

const PropertyTable propertyTable;

const PropertyTable::Map& PropertyTable::rows() const { return the_table().rows(); }

const PropertyInfo* find_property(PropertyCode code) { return the_table().find(code); }

std::string value_text(ToTextFn to_text, uint64_t value) {
  TextWriter text;
  to_text(value, &text);
  return std::string(text.view());
}

bool is_text_converter(ToTextFn to_text) { return to_text == &sdkStringToText; }
