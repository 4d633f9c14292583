// Command ids and parameters of SendCommand.
#ifndef CRCOMMANDDATA_H
#define CRCOMMANDDATA_H

#include "CrTypes.h"

namespace SCRSDK {

enum CrCommandId {
    CrCommandId_Release = 0x0,
    CrCommandId_MovieRecord = 0x1,
    CrCommandId_CancelShooting = 0x2,
    CrCommandId_MediaFormat = 0x4,
    CrCommandId_MediaQuickFormat = 0x5,
    CrCommandId_CancelMediaFormat = 0x6,
    CrCommandId_S1andRelease = 0x7,
    CrCommandId_CancelContentsTransfer = 0x8,
    CrCommandId_CameraSettingsReset = 0x9,
    CrCommandId_APS_C_or_Full_Switching = 0xA,
    CrCommandId_MovieRecButtonToggle = 0xB,
    CrCommandId_CancelRemoteTouchOperation = 0xC,
    CrCommandId_PixelMapping = 0xD,
    CrCommandId_TimeCodePresetReset = 0xE,
    CrCommandId_UserBitPresetReset = 0xF,
    CrCommandId_SensorCleaning = 0x10,
    CrCommandId_PictureProfileReset = 0x11,
    CrCommandId_CreativeLookReset = 0x12,
    CrCommandId_PowerOff = 0x13,
    CrCommandId_CancelFocusPosition = 0x14,
    CrCommandId_FlickerScan = 0x15,
    CrCommandId_ContinuousShootingSpotBoost = 0x16,
    CrCommandId_ForcedFileNumberReset = 0x17,
    CrCommandId_TrackingOnAndAFOn = 0x18,
    CrCommandId_CancelZoomPosition = 0x19,
    CrCommandId_MovieRecButtonToggle2 = 0x1A,
    CrCommandId_CameraStandBy = 0x1B,
    CrCommandId_PowerOn = 0x1C,
    CrCommandId_StreamButton = 0x1D,
    CrCommandId_ResetMultiMatrix = 0x1E,
    CrCommandId_RemoteKeyUp = 0x1F,
    CrCommandId_RemoteKeyDown = 0x20,
    CrCommandId_RemoteKeyLeft = 0x21,
    CrCommandId_RemoteKeyRight = 0x22,
    CrCommandId_RemoteKeyCancelBackButton = 0x23,
    CrCommandId_RemoteKeyDisplayButton = 0x24,
    CrCommandId_RemoteKeySet = 0x25,
    CrCommandId_RemoteKeyRightUp = 0x26,
    CrCommandId_RemoteKeyRightDown = 0x27,
    CrCommandId_RemoteKeyLeftUp = 0x28,
    CrCommandId_RemoteKeyLeftDown = 0x29,
    CrCommandId_RemoteKeyMenuButton = 0x2A,
};

enum CrCommandParam : CrInt16u {
    CrCommandParam_Up = 0,
    CrCommandParam_Down = 1,
};

}  // namespace SCRSDK

#endif  // CRCOMMANDDATA_H
