// SHA-1 (FIPS 180-4, 6.1) in pieces, to fingerprint byte streams. Not for security.
// A context belongs to one caller at a time.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

enum { kTavDigestSHA1Length = 20 };

typedef struct TavDigestSHA1 {
    uint64_t bitCount;       ///< bits compressed so far
    uint32_t state[5];       ///< the chaining state
    uint64_t bufferedBytes;  ///< bytes that wait in `buffer`, 0 to 63 between calls
    uint8_t buffer[64];
} TavDigestSHA1;

/// A new context in its initial state, or nothing when out of memory. Freed by TavDigestSHA1Destroy.
TavDigestSHA1* TavDigestSHA1Create(void);
/// Back to the initial state. An absent context is ignored.
void TavDigestSHA1Reset(TavDigestSHA1* context);
/// Adds data. An absent context, absent bytes or a length of 0 do nothing.
void TavDigestSHA1AppendData(TavDigestSHA1* context, const void* bytes, size_t length);
/// Writes the 20 bytes of the digest and wipes the context, which must be reset before another use.
/// If either argument is absent nothing happens.
void TavDigestSHA1GetDigest(TavDigestSHA1* context, uint8_t* digestOut);
void TavDigestSHA1Destroy(TavDigestSHA1* context);

ZO_EXTERN_C_END
