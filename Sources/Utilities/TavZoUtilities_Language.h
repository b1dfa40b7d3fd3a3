// Text in the encodings that movie files name by a language code, and the bytes of strings.
//
// A code is of one of three kinds. 0 to 151 are the classic numbers of languages, each with a script's encoding. 32767
// says nothing about the language. From 1024 on it packs the three letters of an ISO 639-2/T code, five bits each, most
// significant first, each letter less 0x60; such text is Unicode. 152 to 1023 name no language.
// May be called from any thread.

#pragma once

#include "Foundation/Text/ZoString.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum { kTavMovieLangCode_Unspecified = 32767 };

/// The string in `encoding`, in a buffer of `allocator`, to which the caller gives it back. `addTerminator` puts zero
/// bytes behind it: 2 for UTF-16, 4 for UTF-32, 1 for all others. `sizeOut`, which may be absent, becomes the length
/// with the terminator. No mark of the byte order is written. Nothing for an absent string, one that the encoding does
/// not have in full, and without memory.
uint8_t* TavCreateBytesFromZoString(ZoAllocatorRef allocator, ZoStringRef string, ZoStringEncoding encoding,
                                    Boolean addTerminator, size_t* sizeOut);
/// The same in the encoding of a language: the script's for classic codes, the Roman one for 32767 and for codes that
/// name no language, else UTF-8.
uint8_t* TavCreateBytesFromZoStringAndMovieLangCode(ZoAllocatorRef allocator, ZoStringRef string, uint16_t langCode,
                                                    Boolean addTerminator, size_t* sizeOut);

/// The text that `bytes` are in the encoding of a language. Under a packed code that is UTF-8, or UTF-16 where the
/// bytes begin with a mark of the byte order. `encodingOut`, which may be absent, becomes the encoding that was taken.
///
/// kTavZoUtilitiesError_InvalidParameter  bytes or out absent
/// kTavZoUtilitiesError_OutOfRange        the code names no language
/// kTavZoUtilitiesError_BadData           not text of that encoding, one that is not offered, or no memory
OSStatus TavZoStringCreateWithBytesAndMovieLangCode(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                                    uint16_t langCode, ZoStringEncoding* encodingOut,
                                                    ZoStringRef* stringOut);

/// Nothing for 32767 and for classic codes without a locale.
ZoLocaleRef TavZoLocaleCreateWithMovieLangCode(ZoAllocatorRef allocator, uint16_t langCode);

ZO_EXTERN_C_END
