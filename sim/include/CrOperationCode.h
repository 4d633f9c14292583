// Operation results delivered through OnCompleteOperation. Only the record
// type that the callback interface names is declared here.
#ifndef CROPERATIONCODE_H
#define CROPERATIONCODE_H

#include <memory>
#include <vector>

#include "CrTypes.h"

namespace SCRSDK {

#pragma pack(push, 1)
class CrOperationResultData {
 public:
  CrOperationResultData() {}
  virtual ~CrOperationResultData() {}
};
#pragma pack(pop)

}  // namespace SCRSDK

#endif  // CROPERATIONCODE_H
