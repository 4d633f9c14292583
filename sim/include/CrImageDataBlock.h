// Live-view image information and the caller-owned image buffer record.
#ifndef CRIMAGEDATABLOCK_H
#define CRIMAGEDATABLOCK_H

#include "CrDefines.h"

namespace SCRSDK {

class SCRSDK_API CrImageInfo {
 public:
  CrImageInfo();
  ~CrImageInfo();

  CrInt32u GetBufferSize() const;
  CrInt32u GetWidth() const;
  CrInt32u GetHeight() const;

 private:
  CrInt32u width;
  CrInt32u height;
  CrInt32u bufferSize;
};

// A buffer that the caller allocates (SetSize, SetData) and the SDK fills.
class SCRSDK_API CrImageDataBlock {
 public:
  CrImageDataBlock();
  ~CrImageDataBlock();

  CrInt32u GetFrameNo() const;
  void SetSize(CrInt32u size);
  CrInt32u GetSize() const;
  void SetData(CrInt8u* data);
  CrInt32u GetImageSize() const;
  CrInt8u* GetImageData() const;
  CrInt32u GetTimeCode() const;

 private:
  CrInt32u frameNo;
  CrInt32u size;
  CrInt8u* pData;
  CrInt32u imageSize;
  CrInt32u timeCode;
};

}  // namespace SCRSDK

#endif  // CRIMAGEDATABLOCK_H
