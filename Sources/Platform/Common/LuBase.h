// Words that every module of the framework uses: statuses, four-character codes.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// 0 is success; negative codes belong to the family of the module that found the failure.
typedef int32_t OSStatus;
/// Four-character code, most significant byte first.
typedef uint32_t OSType;

ZO_EXTERN_C_END

/// The code of four characters, such as LU_FOURCC('a', 'v', 'c', 'C').
#define LU_FOURCC(a, b, c, d)                                                                                   \
    ((OSType)(((uint32_t)(uint8_t)(a) << 24) | ((uint32_t)(uint8_t)(b) << 16) | ((uint32_t)(uint8_t)(c) << 8) | \
              (uint8_t)(d)))
