// Basic integer and character types of the camera SDK, as the vendor defines them on Linux.
#ifndef CRTYPES_H
#define CRTYPES_H

#include <sys/types.h>

#include <cstdint>

typedef char CrInt8;
typedef unsigned char CrInt8u;
typedef short CrInt16;
typedef unsigned short CrInt16u;
typedef int32_t CrInt32;
typedef u_int32_t CrInt32u;
typedef int64_t CrInt64;
typedef u_int64_t CrInt64u;
typedef char CrAChar;
typedef wchar_t CrWChar;

#if defined(_UNICODE) || defined(UNICODE)
typedef CrWChar CrChar;
#else
typedef CrAChar CrChar;
#endif

#if defined(CR_SDK_EXPORTS)
#define SCRSDK_API __attribute__((visibility("default")))
#else
#define SCRSDK_API
#endif

#endif  // CRTYPES_H
