// Handles, data types, model numbers and connection settings of the camera SDK.
#ifndef CRDEFINES_H
#define CRDEFINES_H

#include "CrTypes.h"
#include "CrError.h"

namespace SCRSDK {

#define CrChanged 0x0001

typedef CrInt64 CrDeviceHandle;
typedef CrInt64 CrDeviceFeature;
typedef CrInt32u CrImageID;
typedef CrInt32u CrImageType;
typedef CrInt32u CrFolderHandle;
typedef CrInt32u CrContentHandle;

const CrInt32 CrSETSAVEINFO_AUTO_NUMBER = -1;
static const CrInt32u USB_SERIAL_LENGTH = 12;
const CrInt32u CrFTPTRANSFERSETTING_SAVEREAD_PASSWORD_MAX = 33;
const CrInt32u CrREMOTETRANSFER_PARTIAL_FILE_SIZE_MIN = 1;
const CrInt32u CrREMOTETRANSFER_PARTIAL_FILE_SIZE_MAX = 0x7FFFFFFF;
const CrInt32u CrGENERALSETTING_FILE_SIZE_MAX = 2 * 1024 * 1024;

// Element type of a property value. The low bits give the width
// (1 = 8 bit ... 5 = 128 bit); the higher bits are flags.
enum CrDataType : CrInt32u {
    CrDataType_Undefined = 0x0,
    CrDataType_UInt8 = 0x1,
    CrDataType_UInt16 = 0x2,
    CrDataType_UInt32 = 0x3,
    CrDataType_UInt64 = 0x4,
    CrDataType_UInt128 = 0x5,
    CrDataType_SignBit = 0x1000,
    CrDataType_Int8 = 0x1001,
    CrDataType_Int16 = 0x1002,
    CrDataType_Int32 = 0x1003,
    CrDataType_Int64 = 0x1004,
    CrDataType_Int128 = 0x1005,
    CrDataType_ArrayBit = 0x2000,
    CrDataType_UInt8Array = 0x2001,
    CrDataType_UInt16Array = 0x2002,
    CrDataType_UInt32Array = 0x2003,
    CrDataType_UInt64Array = 0x2004,
    CrDataType_UInt128Array = 0x2005,
    CrDataType_Int8Array = 0x3001,
    CrDataType_Int16Array = 0x3002,
    CrDataType_Int32Array = 0x3003,
    CrDataType_Int64Array = 0x3004,
    CrDataType_Int128Array = 0x3005,
    CrDataType_RangeBit = 0x4000,
    CrDataType_UInt8Range = 0x4001,
    CrDataType_UInt16Range = 0x4002,
    CrDataType_UInt32Range = 0x4003,
    CrDataType_UInt64Range = 0x4004,
    CrDataType_UInt128Range = 0x4005,
    CrDataType_Int8Range = 0x5001,
    CrDataType_Int16Range = 0x5002,
    CrDataType_Int32Range = 0x5003,
    CrDataType_Int64Range = 0x5004,
    CrDataType_Int128Range = 0x5005,
    CrDataType_STR = 0xFFFF,
    CrDataType_CustomBit = 0x10000,
    CrDataType_Button = 0x12002,
};

// The camera-control protocol version reported by OnConnected (the
// misspelt type name is the vendor's).
typedef enum {
    DEVICE_CONNECTION_VERSION_UNKNOWN = 0,
    DEVICE_CONNECTION_VERSION_RCP3 = 300,
} DeviceConnectionVersioin;

typedef enum : CrInt16u {
    SDKINFO_UNKNOWN = 0,
    SDKINFO_AUTHINFO = 1,
} SDKInfoType;

typedef enum {
    Setting_Key_EnableLiveView = 0,
    Setting_Key_PartialBuffer = 6,
    Setting_Key_GetOSDImage_IntervalTime = 8,
    Setting_Key_EnablePostView = 9,
    Setting_Key_PostViewTransferringType = 10,
} SettingKey;

typedef enum {
    ADAPTER_PTP_USB = 0,
    ADAPTER_PTP_IP = 1,
} CrAdapterType;

// What GetIdType() of a camera object reports.
typedef enum {
    CAMERAOBJECTID_TYPE_USB = 0,
    CAMERAOBJECTID_TYPE_IP = 2,
} CrCameraObjectIdType;

// Camera model numbers taken by the camera-object creation calls.
enum CrCameraDeviceModelList : CrInt32u {
    CrCameraDeviceModel_ILCE_7RM4 = 0x0,
    CrCameraDeviceModel_ILCE_9M2 = 0x1,
    CrCameraDeviceModel_ILCE_7C = 0x2,
    CrCameraDeviceModel_ILCE_7SM3 = 0x3,
    CrCameraDeviceModel_ILCE_1 = 0x4,
    CrCameraDeviceModel_ILCE_7RM4A = 0x5,
    CrCameraDeviceModel_DSC_RX0M2 = 0x6,
    CrCameraDeviceModel_ILCE_7M4 = 0x7,
    CrCameraDeviceModel_ILME_FX3 = 0x8,
    CrCameraDeviceModel_ILME_FX30 = 0x9,
    CrCameraDeviceModel_ILME_FX6 = 0xA,
    CrCameraDeviceModel_ILCE_7RM5 = 0xB,
    CrCameraDeviceModel_ZV_E1 = 0xC,
    CrCameraDeviceModel_ILCE_6700 = 0xD,
    CrCameraDeviceModel_ILCE_7CM2 = 0xE,
    CrCameraDeviceModel_ILCE_7CR = 0xF,
    CrCameraDeviceModel_ILX_LR1 = 0x10,
    CrCameraDeviceModel_MPC_2610 = 0x11,
    CrCameraDeviceModel_ILCE_9M3 = 0x12,
    CrCameraDeviceModel_ZV_E10M2 = 0x13,
    CrCameraDeviceModel_PXW_Z200 = 0x14,
    CrCameraDeviceModel_HXR_NX800 = 0x15,
    CrCameraDeviceModel_ILCE_1M2 = 0x16,
    CrCameraDeviceModel_ILME_FX3A = 0x17,
    CrCameraDeviceModel_BRC_AM7 = 0x18,
    CrCameraDeviceModel_ILME_FR7 = 0x19,
    CrCameraDeviceModel_ILME_FX2 = 0x1A,
    CrCameraDeviceModel_DSC_RX1RM3 = 0x1B,
    CrCameraDeviceModel_ILCE_7M5 = 0x1C,
    CrCameraDeviceModel_PXW_Z300 = 0x1D,
    CrCameraDeviceModel_PXW_Z380 = 0x1E,
};

enum CrReconnectingSet : CrInt32u {
    CrReconnecting_OFF = 0,
    CrReconnecting_ON = 1,
};

// Values for the SSH-support flag of the Ethernet camera-object calls.
enum CrSSHsupportValue : CrInt32u {
    CrSSHsupport_OFF = 0,
    CrSSHsupport_ON = 1,
};

}  // namespace SCRSDK

#endif  // CRDEFINES_H
