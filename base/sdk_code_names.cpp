// The SDK's names of error, warning, display-string, exposure-program,
// live-view and device-property codes, for the log and diagnostic lines.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <vector>

#include "base/base.h"
#include "base/device_property_names.h"
#include "properties/property_table.h"

namespace {

struct CodeName {
  uint64_t code;
  std::string_view name;
};

// Error and warning names as the SDK spells them, misspellings included; the
// log readers search for these exact texts.
constexpr CodeName kSdkCodeNames[] = {
    // from 0x0
    {0x0, "SDK::CrError_None"},
    // from 0x8001
    {0x8001, "SDK::CrError_Genric_Notimpl"},
    {0x8002, "SDK::CrError_Genric_Abort"},
    {0x8003, "SDK::CrError_Genric_NotSupported"},
    {0x8004, "SDK::CrError_Genric_SeriousErrorNotSupported"},
    {0x8005, "SDK::CrError_Generic_InvalidHandle"},
    {0x8006, "SDK::CrError_Generic_InvalidParameter"},
    // from 0x8100
    {0x8100, "SDK::CrError_File"},
    {0x8101, "SDK::CrError_File_IllegalOperation"},
    {0x8102, "SDK::CrError_File_IllegalParameter"},
    {0x8103, "SDK::CrError_File_EOF"},
    {0x8104, "SDK::CrError_File_OutOfRange"},
    {0x8105, "SDK::CrError_File_NotFound"},
    {0x8106, "SDK::CrError_File_DirNotFound"},
    {0x8107, "SDK::CrError_File_AlreadyOpened"},
    {0x8108, "SDK::CrError_File_PermissionDenied"},
    {0x8109, "SDK::CrError_File_StorageFull"},
    {0x810A, "SDK::CrError_File_AlreadyExists"},
    {0x810B, "SDK::CrError_File_TooManyOpenedFiles"},
    {0x810C, "SDK::CrError_File_ReadOnly"},
    {0x810D, "SDK::CrError_File_CantOpen"},
    {0x810E, "SDK::CrError_File_CantClose"},
    {0x810F, "SDK::CrError_File_CantDelete"},
    {0x8110, "SDK::CrError_File_CantRead"},
    {0x8111, "SDK::CrError_File_CantWrite"},
    {0x8112, "SDK::CrError_File_CantCreateDir"},
    {0x8113, "SDK::CrError_File_OperationAbortedByUser"},
    {0x8114, "SDK::CrError_File_UnsupportedOperation"},
    {0x8115, "SDK::CrError_File_NotYetCompleted"},
    {0x8116, "SDK::CrError_File_Invalid"},
    {0x8117, "SDK::CrError_File_StorageNotExist"},
    {0x8118, "SDK::CrError_File_SharingViolation"},
    {0x8119, "SDK::CrError_File_Rotation"},
    {0x811A, "SDK::CrError_File_SameNameFull"},
    // from 0x8200
    {0x8200, "SDK::CrError_Connect"},
    {0x8201, "SDK::CrError_Connect_Connect"},
    // from 0x8203
    {0x8203, "SDK::CrError_Connect_Release"},
    {0x8204, "SDK::CrError_Connect_GetProperty"},
    {0x8205, "SDK::CrError_Connect_SendCommand"},
    {0x8206, "SDK::CrError_Connect_HandlePlugin"},
    {0x8207, "SDK::CrError_Connect_Disconnected"},
    {0x8208, "SDK::CrError_Connect_TimeOut"},
    {0x8209, "SDK::CrError_Reconnect_TimeOut"},
    {0x820A, "SDK::CrError_Connect_FailRejected"},
    {0x820B, "SDK::CrError_Connect_FailBusy"},
    {0x820C, "SDK::CrError_Connect_FailUnspecified"},
    {0x820D, "SDK::CrError_Connect_Cancel"},
    // from 0x8210
    {0x8210, "SDK::CrError_Connect_SessionAlreadyOpened"},
    {0x8211, "SDK::CrError_Connect_ContentsTransfer_NotSupported"},
    {0x8212, "SDK::CrError_Connect_SSH_NotSupported"},
    {0x8213, "SDK::CrError_Connect_SSH_InvalidParameter"},
    {0x8214, "SDK::CrError_Connect_SSH_ServerConnectFailed"},
    {0x8215, "SDK::CrError_Connect_SSH_ServerAuthenticationFailed"},
    {0x8216, "SDK::CrError_Connect_SSH_UserAuthenticationFailed"},
    {0x8217, "SDK::CrError_Connect_SSH_PortfowardFailed"},
    {0x8218, "SDK::CrError_Connect_SSH_GetFingerprintFailed"},
    // from 0x8301
    {0x8301, "SDK::CrError_Memory_OutOfMemory1"},
    {0x8302, "SDK::CrError_Memory_InvalidPointer"},
    {0x8303, "SDK::CrError_Memory_Insufficient1"},
    // from 0x8401
    {0x8401, "SDK::CrError_Api_Insufficient"},
    {0x8402, "SDK::CrError_Api_InvalidCalled"},
    {0x8403, "SDK::CrError_Api_NoApplicableInformation"},
    {0x8404, "SDK::CrError_Api_OutOfModelList1"},
    {0x8405, "SDK::CrError_Api_NotSupportModelOfUSB"},
    {0x8406, "SDK::CrError_Api_NotSupportModelOfEthernet1"},
    {0x8407, "SDK::CrError_Api_InvalidSerialNumber"},
    {0x8408, "SDK::CrError_Api_InvalidIpAddress"},
    {0x8409, "SDK::CrError_Api_InvalidMacAddress"},
    // from 0x8500
    {0x8500, "SDK::CrError_Init"},
    // from 0x8600
    {0x8600, "SDK::CrError_Polling"},
    {0x8601, "SDK::CrError_Polling_InvalidVal_Intervals"},
    // from 0x8701
    {0x8701, "SDK::CrError_Adaptor_InvaildProperty"},
    {0x8702, "SDK::CrError_Adaptor_GetInfo"},
    {0x8703, "SDK::CrError_Adaptor_Create"},
    {0x8704, "SDK::CrError_Adaptor_SendCommand"},
    {0x8705, "SDK::CrError_Adaptor_HandlePlugin"},
    {0x8706, "SDK::CrError_Adaptor_CreateDevice1"},
    {0x8707, "SDK::CrError_Adaptor_EnumDecvice"},
    {0x8708, "SDK::CrError_Adaptor_Reset"},
    {0x8709, "SDK::CrError_Adaptor_Read"},
    {0x870A, "SDK::CrError_Adaptor_Phase"},
    {0x870B, "SDK::CrError_Adaptor_DataToWiaItem"},
    {0x870C, "SDK::CrError_Adaptor_DeviceBusy"},
    {0x870D, "SDK::CrError_Adaptor_Escape"},
    // from 0x8800
    {0x8800, "SDK::CrError_Device"},
    // from 0x8C00
    {0x8C00, "SDK::CrError_Contents"},
    // from 0x8C02
    {0x8C02, "SDK::CrError_Contents_InvalidHandle"},
    {0x8C03, "SDK::CrError_Contents_DateFolderList_NotRetrieved"},
    {0x8C04, "SDK::CrError_Contents_ContentsList_NotRetrieved"},
    {0x8C05, "SDK::CrError_Contents_Transfer_Unsuccess"},
    {0x8C06, "SDK::CrError_Contents_Transfer_Cancel"},
    {0x8C07, "SDK::CrError_Contents_RejectRequest"},
    // from 0xC000
    {0xC000, "SDK::CrError_Application"},
    // from 0x20000
    {0x20000, "SDK::CrWarning_Unknown"},
    {0x20001, "SDK::CrWarning_Connect_Reconnected"},
    {0x20002, "SDK::CrWarning_Connect_Reconnecting"},
    {0x20003, "SDK::CrWarning_File_StorageFull"},
    {0x20004, "SDK::CrWarning_SetFileName_Failed"},
    {0x20005, "SDK::CrWarning_GetImage_Failed"},
    {0x20006, "SDK::CrWarning_FailedToSetCWB"},
    {0x20007, "SDK::CrWarning_NetworkErrorOccurred"},
    {0x20008, "SDK::CrWarning_NetworkErrorRecovered"},
    {0x20009, "SDK::CrWarning_Format_Failed"},
    {0x2000A, "SDK::CrWarning_Format_Invalid"},
    {0x2000B, "SDK::CrWarning_Format_Complete"},
    // from 0x20011
    {0x20011, "SDK::CrWarning_Exposure_Started"},
    {0x20012, "SDK::CrWarning_DateTime_Setting_Result_Invalid"},
    {0x20013, "SDK::CrWarning_DateTime_Setting_Result_OK"},
    {0x20014, "SDK::CrWarning_DateTime_Setting_Result_Parameter_Error"},
    {0x20015, "SDK::CrWarning_DateTime_Setting_Result_Exclusion_Error"},
    {0x20016, "SDK::CrWarning_DateTime_Setting_Result_System_Error"},
    {0x20017, "SDK::CrWarning_Frame_NotUpdated"},
    {0x20018, "SDK::CrNotify_All_Download_Complete"},
    {0x20019, "SDK::CrWarning_Connect_Already"},
    {0x2001A, "SDK::CrWarning_Connect_OverLimitOfDevice"},
    {0x2001B, "SDK::CrWarning_Format_Canceled"},
    {0x2001C, "SDK::CrWarning_ZoomAndFocusPosition_Invalid"},
    {0x2001D, "SDK::CrWarning_ZoomAndFocusPosition_DifferentLens"},
    {0x2001E, "SDK::CrWarning_ZoomAndFocusPosition_InvalidLens"},
    {0x2001F, "SDK::CrWarning_ContentsTransferMode_Invalid"},
    {0x20020, "SDK::CrWarning_ContentsTransferMode_DeviceBusy"},
    {0x20021, "SDK::CrWarning_ContentsTransferMode_StatusError"},
    {0x20022, "SDK::CrWarning_ContentsTransferMode_CanceledFromCamera"},
    {0x20023, "SDK::CrWarning_ContentsTransferCancel_Success"},
    {0x20024, "SDK::CrWarning_ContentsTransferCancel_Error"},
    {0x20025, "SDK::CrNotify_ContentsTransfer_Start"},
    {0x20026, "SDK::CrNotify_ContentsTransfer_Complete"},
    {0x20027, "SDK::CrWarning_CameraSettings_Read_Result_Invalid"},
    {0x20028, "SDK::CrWarning_CameraSettings_Read_Result_OK"},
    {0x20029, "SDK::CrWarning_CameraSettings_Read_Result_NG"},
    {0x2002A, "SDK::CrWarning_CameraSettings_Save_Result_NG"},
    {0x2002B, "SDK::CrWarning_RequestDisplayStringList_Success"},
    {0x2002C, "SDK::CrWarning_RequestDisplayStringList_Error"},
    {0x2002D, "SDK::CrWarning_DisplayListChanged_BaseLook_AELevelOffsetExposureValueList"},
    {0x2002E, "SDK::CrWarning_DisplayListChanged_BaseLook_InputDisplayList"},
    {0x2002F, "SDK::CrWarning_DisplayListChanged_BaseLook_NameDisplayList"},
    {0x20030, "SDK::CrWarning_DisplayListChanged_BaseLook_OutputDisplayList"},
    {0x20031, "SDK::CrWarning_DisplayListChanged_SceneFile_NameDisplayList"},
    {0x20032, "SDK::CrWarning_DisplayListChanged_ShootingMode_CinemaColorGamutDisplayList"},
    {0x20033, "SDK::CrWarning_DisplayListChanged_ShootingMode_TargetDisplayDisplayList"},
    {0x20034, "SDK::CrWarning_DisplayListChanged_Camera_GainBaseISODisplayList"},
    {0x20035, "SDK::CrWarning_DisplayListChanged_Video_EIGainDisplayList"},
    {0x20036, "SDK::CrWarning_DisplayListChanged_Button_AssignDisplayList"},
    {0x20037, "SDK::CrWarning_DisplayListChanged_Button_AssignShortDisplayList"},
    {0x20038, "SDK::CrWarning_MediaProfileChanged_Slot1"},
    {0x20039, "SDK::CrWarning_MediaProfileChanged_Slot2"},
    {0x2003A, "SDK::CrWarning_LensInformationChanged"},
    {0x2003B, "SDK::CrWarning_RequestLensInformation_Result_Success"},
    {0x2003C, "SDK::CrWarning_RequestLensInformation_Result_DeviceBusy"},
    {0x2003D, "SDK::CrWarning_RequestLensInformation_Result_Error"},
};

constexpr const char* kDisplayStringTypes[] = {
    "SDK::CrDisplayStringType_AllList",
    "SDK::CrDisplayStringType_BaseLook_AELevelOffset_ExposureValue",
    "SDK::CrDisplayStringType_BaseLook_Input_Display",
    "SDK::CrDisplayStringType_BaseLook_Name_Display",
    "SDK::CrDisplayStringType_BaseLook_Output_Display",
    "SDK::CrDisplayStringType_SceneFile_Name_Display",
    "SDK::CrDisplayStringType_ShootingMode_Cinema_ColorGamut_Display",
    "SDK::CrDisplayStringType_ShootingMode_TargetDisplay_Display",
    "SDK::CrDisplayStringType_Camera_Gain_BaseISO_Display",
    "SDK::CrDisplayStringType_Video_EIGain_Display",
    "SDK::CrDisplayStringType_Button_Assign_Display",
    "SDK::CrDisplayStringType_Button_Assign_ShortDisplay",
};

constexpr CodeName kLiveViewNames[] = {
    {0x121, "CrLiveViewProperty_AF_Area_Position"},
    {0x122, "CrLiveViewProperty_Focus_Magnifier_Position"},
    {0x193, "CrLiveViewProperty_TrackingFrame"},
    {0x581, "CrLiveViewProperty_FaceFrame"},
    {0x582, "CrLiveViewProperty_Level"},
    {0x7D1, "CrLiveViewProperty_FramingFrame"},
    {0x1000, "CrLiveViewProperty_LiveViewUndefined"},
};

// Codes of a group without a name of their own fall back to the group's name.
constexpr CodeName kGroupNames[] = {
    {0x8000, "SDK::CrError_Generic"},
    {0x8300, "SDK::CrError_Memory"},
    {0x8400, "SDK::CrError_Api"},
    {0x8700, "SDK::CrError_Adaptor"},
};

template <size_t N>
const CodeName* find_code(const CodeName (&table)[N], uint64_t code) {
  for (const CodeName& entry : table) {
    if (entry.code == code) return &entry;
  }
  return nullptr;
}

// The generated names sorted by code; equal codes keep declaration order so
// that the current name is found before its deprecated alias.
const std::vector<DevicePropertyName>& sorted_device_property_names() {
  static const std::vector<DevicePropertyName> names = [] {
    std::vector<DevicePropertyName> sorted(kDevicePropertyNames,
                                           kDevicePropertyNames + kDevicePropertyNameCount);
    std::stable_sort(
        sorted.begin(), sorted.end(),
        [](const DevicePropertyName& a, const DevicePropertyName& b) { return a.code < b.code; });
    return sorted;
  }();
  return names;
}

}  // namespace

std::string sdk_code_name(uint64_t code) {
  if (const CodeName* entry = find_code(kSdkCodeNames, code)) return std::string(entry->name);
  if (const CodeName* group = find_code(kGroupNames, code & ~uint64_t{0xFF})) {
    return std::string(group->name);
  }
  return "UNKNOWN";
}

std::string status_text(uint32_t code) {
  char number[32];
  std::snprintf(number, sizeof number, "0x%x (%u) ", code, code);
  return number + sdk_code_name(code);
}

std::string display_string_type_name(uint32_t type) {
  if (type >= std::size(kDisplayStringTypes)) return "UNKNOWN";
  return kDisplayStringTypes[type];
}

std::string exposure_program_name(int32_t value) {
  // The property converter reads the low 32 bits, where -1 would wrap round.
  if (value < 1) return "UNKNOWN";
  return value_text(exposureModeToText, static_cast<uint32_t>(value));
}

std::string live_view_property_name(uint32_t code) {
  if (const CodeName* entry = find_code(kLiveViewNames, code)) return std::string(entry->name);
  return "UNKNOWN : " + std::to_string(code);
}

std::string device_property_name(uint32_t code) {
  for (const DevicePropertyName& entry : sorted_device_property_names()) {
    if (entry.code == code) return std::string(entry.text, entry.length);
  }
  return "UNKNOWN";
}
