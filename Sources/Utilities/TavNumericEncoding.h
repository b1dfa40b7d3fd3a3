// Bytes as text of base32, base64 (RFC 4648, the standard alphabets) and hexadecimal digits, and base64 back to bytes.
// Nothing is skipped and no lines are broken. An out value is written on success only. May be called from any thread.

#pragma once

#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavNumericsError_ParamError = -17450,
    kTavNumericsError_AllocationFailed = -17451,
    kTavNumericsError_DecodingError = -17452,
};

/// The text of `bytes` at `bitsPerChar` bits a character, 1 to 8, the most significant bits first; a last character
/// that is not full ends in zero bits. `charMapping` has a character for each value. `padded` appends "=" until the
/// text holds whole bytes. No bytes are no text: that is an error. The caller releases the string.
///
/// kTavNumericsError_ParamError        an argument absent, no bytes, a mapping too short, bits out of range
/// kTavNumericsError_AllocationFailed  no memory, or a text longer than an index can count
OSStatus tavNumericsCreateEncodedStringFromBytes(ZoAllocatorRef allocator, uint32_t bitsPerChar,
                                                 const char* charMapping, const uint8_t* bytes, size_t numInBytes,
                                                 Boolean padded, ZoStringRef* encodedStringOut);

/// The same in the alphabets of RFC 4648 6 and 4.
OSStatus TavCreateBase32EncodedStringFromBytes(ZoAllocatorRef allocator, const uint8_t* bytes, size_t numInBytes,
                                               Boolean padded, ZoStringRef* encodedStringOut);
OSStatus TavCreateBase64EncodedStringFromBytes(ZoAllocatorRef allocator, const uint8_t* bytes, size_t numInBytes,
                                               Boolean padded, ZoStringRef* encodedStringOut);
OSStatus TavCreateBase64EncodedStringFromZoData(ZoAllocatorRef allocator, ZoDataRef inputData, Boolean padded,
                                                ZoStringRef* encodedStringOut);

/// The bytes of the base64 text at `location`, padded or not: "=" at its end go, however many there are. Bits behind
/// the last whole byte are dropped, and text of fewer than two characters is empty data, whatever it is. The caller
/// releases the data.
///
/// kTavNumericsError_ParamError        an argument absent, or a range that is not in the string
/// kTavNumericsError_DecodingError     a character that is not of the alphabet, as blanks and line ends are not
/// kTavNumericsError_AllocationFailed  no memory
OSStatus TavCreateDataFromBase64EncodedStringRange(ZoAllocatorRef allocator, ZoStringRef encodedString,
                                                   ZoIndex location, ZoIndex length, ZoDataRef* decodedDataOut);

/// "0x" and two digits a byte, in lower case: in the order of storage, or backwards, in which little-endian bytes read
/// as a number.
///
/// kTavNumericsError_ParamError, kTavNumericsError_AllocationFailed
OSStatus TavCreateHexStringFromZoData(ZoAllocatorRef allocator, ZoDataRef inputData, Boolean inOrder,
                                      ZoStringRef* hexStringOut);

ZO_EXTERN_C_END
