// The free functions of the camera SDK that the bridge calls. They have C
// linkage inside namespace SCRSDK, so their link names are the plain names.
#ifndef CAMERAREMOTE_SDK_H
#define CAMERAREMOTE_SDK_H

#include "CrCommandData.h"
#include "CrOperationCode.h"
#include "CrDefines.h"
#include "CrDeviceProperty.h"
#include "CrError.h"
#include "CrImageDataBlock.h"
#include "CrTypes.h"
#include "ICrCameraObjectInfo.h"

#if !defined(_WIN32)
#define __T(x) x
#endif

namespace SCRSDK {

class IDeviceCallback;

typedef void* objeventcallback;
typedef void (*fneventcallback)(objeventcallback, CrInt16u, CrInt32u, CrInt32u, CrInt32u);

extern "C" {

// Life cycle, version and discovery.
SCRSDK_API bool Init(CrInt32u logtype = 0);
SCRSDK_API bool Release();
// Packed as major << 24 | minor << 16 | patch << 8.
SCRSDK_API CrInt32u GetSDKVersion();
SCRSDK_API CrError EnumCameraObjects(ICrEnumCameraObjectInfo** ppEnumCameraObjectInfo, CrInt8u timeInSec = 3);
SCRSDK_API ICrCameraObjectInfo* CreateCameraObjectInfo(CrChar* name, CrChar* model, CrInt16 usbPid, CrInt32u idType,
                                                       CrInt32u idSize, CrInt8u* id, CrChar* connectTypeName,
                                                       CrChar* adaptorName, CrChar* pairingNecessity,
                                                       CrInt32u sshSupport = 0);
SCRSDK_API CrError CreateCameraObjectInfoUSBConnection(ICrCameraObjectInfo** pCameraObjectInfo,
                                                       CrCameraDeviceModelList model, CrInt8u* usbSerialNumber);
SCRSDK_API CrError CreateCameraObjectInfoEthernetConnection(ICrCameraObjectInfo** pCameraObjectInfo,
                                                            CrCameraDeviceModelList model, CrInt32u ipAddress,
                                                            CrInt8u* macAddress, CrInt32u sshSupport = 0);
SCRSDK_API CrError GetFingerprint(ICrCameraObjectInfo* pCameraObjectInfo, char* fingerprint,
                                  CrInt32u* fingerprintSize);

// Connection.
SCRSDK_API CrError Connect(ICrCameraObjectInfo* pCameraObjectInfo, IDeviceCallback* callback,
                           CrDeviceHandle* deviceHandle, CrSdkControlMode openMode = CrSdkControlMode_Remote,
                           CrReconnectingSet reconnect = CrReconnecting_ON, const char* userId = 0,
                           const char* userPassword = 0, const char* fingerprint = 0, CrInt32u fingerprintSize = 0,
                           const CrInt16u* pairingDisplayName = nullptr);
SCRSDK_API CrError Disconnect(CrDeviceHandle deviceHandle);
SCRSDK_API CrError ReleaseDevice(CrDeviceHandle deviceHandle);

// Commands and properties. Property arrays belong to the SDK and are handed
// back through the matching release call.
SCRSDK_API CrError SendCommand(CrDeviceHandle deviceHandle, CrInt32u commandId, CrCommandParam commandParam);
SCRSDK_API CrError SetDeviceProperty(CrDeviceHandle deviceHandle, CrDeviceProperty* pProperty);
SCRSDK_API CrError GetSelectDeviceProperties(CrDeviceHandle deviceHandle, CrInt32u numOfCodes, CrInt32u* codes,
                                             CrDeviceProperty** properties, CrInt32* numOfProperties);
SCRSDK_API CrError ReleaseDeviceProperties(CrDeviceHandle deviceHandle, CrDeviceProperty* properties);
SCRSDK_API CrError GetLiveViewProperties(CrDeviceHandle deviceHandle, CrLiveViewProperty** properties,
                                         CrInt32* numOfProperties);
SCRSDK_API CrError GetSelectLiveViewProperties(CrDeviceHandle deviceHandle, CrInt32u numOfCodes, CrInt32u* codes,
                                               CrLiveViewProperty** properties, CrInt32* numOfProperties);
SCRSDK_API CrError ReleaseLiveViewProperties(CrDeviceHandle deviceHandle, CrLiveViewProperty* properties);
SCRSDK_API CrError GetLiveViewImageInfo(CrDeviceHandle deviceHandle, CrImageInfo* info);
// The caller owns imageData and its buffer.
SCRSDK_API CrError GetLiveViewImage(CrDeviceHandle deviceHandle, CrImageDataBlock* imageData);

// Display strings and LUT import.
SCRSDK_API CrError RequestDisplayStringList(CrDeviceHandle deviceHandle, CrDisplayStringType type);
SCRSDK_API CrError ImportLUTFile(CrDeviceHandle deviceHandle, CrChar* fileName, CrBaseLookNumber baseLookNumber);

}  // extern "C"

}  // namespace SCRSDK

#endif  // CAMERAREMOTE_SDK_H
