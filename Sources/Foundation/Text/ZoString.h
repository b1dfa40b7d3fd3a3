// Text: UTF-16 code units to the outside, 8-bit storage inside where the text is ASCII.
// Immutable strings may be read by any number of threads. Positions and lengths count UTF-16 units.
// Creation gives nothing where its allocator gives nothing. Operations that change a mutable string have no status: the
// process stops with one line where there is no memory for the result.
// ASCII, UTF-8, UTF-16, UTF-32 and ISO 8859-1 are in every program; all other encodings, and the cases of letters that
// are not ASCII, come from ICU through a table that a program may be linked without.

#pragma once

#include <stdarg.h>

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef uint32_t ZoStringEncoding;
enum {
    kZoStringEncodingClassicRoman = 0,
    kZoStringEncodingUTF16 = 0x0100,
    kZoStringEncodingISOLatin1 = 0x0201,
    kZoStringEncodingWindowsLatin1 = 0x0500,
    kZoStringEncodingASCII = 0x0600,
    kZoStringEncodingUTF8 = 0x08000100,
    kZoStringEncodingUTF32 = 0x0C000100,
    kZoStringEncodingUTF16BE = 0x10000100,
    kZoStringEncodingUTF16LE = 0x14000100,
    kZoStringEncodingUTF32BE = 0x18000100,
    kZoStringEncodingUTF32LE = 0x1C000100,
};

typedef ZoOptionFlags ZoStringCompareFlags;
enum {
    kZoCompareCaseInsensitive = 1,
    kZoCompareBackwards = 4,
    kZoCompareAnchored = 8,
};

ZoTypeID ZoStringGetTypeID(void);

/// Creation gives nothing if the bytes are not valid in the encoding, or the encoding is not known.
ZoStringRef ZoStringCreateWithCString(ZoAllocatorRef allocator, const char* text, ZoStringEncoding encoding);
/// Refers to `text` where it is ASCII; it goes to `textDeallocator` at the end (kZoAllocatorNull: nobody frees it), or
/// at once where the string has its own form of it. When creation fails the text stays the caller's.
ZoStringRef ZoStringCreateWithCStringNoCopy(ZoAllocatorRef allocator, const char* text, ZoStringEncoding encoding,
                                            ZoAllocatorRef textDeallocator);
ZoStringRef ZoStringCreateWithBytes(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                    ZoStringEncoding encoding, Boolean isExternalRepresentation);
ZoStringRef ZoStringCreateWithBytesNoCopy(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                          ZoStringEncoding encoding, Boolean isExternalRepresentation,
                                          ZoAllocatorRef bytesDeallocator);
/// Any units, also surrogates that stand alone.
ZoStringRef ZoStringCreateWithCharacters(ZoAllocatorRef allocator, const UniChar* characters, ZoIndex count);
/// printf(3)'s formats, and "%@" for an object's description ("(null)" for an absent one).
ZoStringRef ZoStringCreateWithFormat(ZoAllocatorRef allocator, ZoDictionaryRef formatOptions, ZoStringRef format, ...);
ZoStringRef ZoStringCreateWithFormatAndArguments(ZoAllocatorRef allocator, ZoDictionaryRef formatOptions,
                                                 ZoStringRef format, va_list arguments);
/// The first byte of `text` is its length.
ZoStringRef ZoStringCreateWithPascalString(ZoAllocatorRef allocator, const uint8_t* text, ZoStringEncoding encoding);
ZoStringRef ZoStringCreateWithSubstring(ZoAllocatorRef allocator, ZoStringRef string, ZoRange range);
ZoStringRef ZoStringCreateCopy(ZoAllocatorRef allocator, ZoStringRef string);
ZoMutableStringRef ZoStringCreateMutable(ZoAllocatorRef allocator, ZoIndex maximumLength);
ZoMutableStringRef ZoStringCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex maximumLength, ZoStringRef string);
/// `lossByte` 0 fails on a character that the encoding does not have; any other value takes its place.
ZoDataRef ZoStringCreateExternalRepresentation(ZoAllocatorRef allocator, ZoStringRef string, ZoStringEncoding encoding,
                                               uint8_t lossByte);
ZoStringRef ZoStringCreateFromExternalRepresentation(ZoAllocatorRef allocator, ZoDataRef data,
                                                     ZoStringEncoding encoding);

/// In UTF-16 units, as all positions are; `index` and `range` must lie in the string.
ZoIndex ZoStringGetLength(ZoStringRef string);
UniChar ZoStringGetCharacterAtIndex(ZoStringRef string, ZoIndex index);
void ZoStringGetCharacters(ZoStringRef string, ZoRange range, UniChar* buffer);
/// Converts as much of `range` as fits `maxBufferLength`; gives the number of units converted. An absent buffer only
/// counts: `usedBufferLength` is then what the whole range takes.
ZoIndex ZoStringGetBytes(ZoStringRef string, ZoRange range, ZoStringEncoding encoding, uint8_t lossByte,
                         Boolean isExternalRepresentation, uint8_t* buffer, ZoIndex maxBufferLength,
                         ZoIndex* usedBufferLength);
/// NUL-terminated text in `buffer`, or false if it does not fit or cannot be converted.
Boolean ZoStringGetCString(ZoStringRef string, char* buffer, ZoIndex bufferSize, ZoStringEncoding encoding);
/// The string's own bytes if they stand in that encoding, NUL-terminated; else nothing, and the caller converts.
const char* ZoStringGetCStringPtr(ZoStringRef string, ZoStringEncoding encoding);
/// A length byte and the text, or false if it does not fit or cannot be converted.
Boolean ZoStringGetPascalString(ZoStringRef string, uint8_t* buffer, ZoIndex bufferSize, ZoStringEncoding encoding);
/// An upper bound of bytes for `length` units, or -1 (kZoNotFound) if it would leave the index type.
ZoIndex ZoStringGetMaximumSizeForEncoding(ZoIndex length, ZoStringEncoding encoding);
/// Leading blanks, a sign, decimal digits; 0 without digits; INT32_MAX or INT32_MIN past the ends.
int32_t ZoStringGetIntValue(ZoStringRef string);
double ZoStringGetDoubleValue(ZoStringRef string);

/// By UTF-16 units; the flags say in which case, and ZoStringCompareWithOptions which part of the first string.
ZoComparisonResult ZoStringCompare(ZoStringRef string1, ZoStringRef string2, ZoStringCompareFlags flags);
ZoComparisonResult ZoStringCompareWithOptions(ZoStringRef string1, ZoStringRef string2, ZoRange rangeInString1,
                                              ZoStringCompareFlags flags);
/// By UTF-16 units, exactly.
Boolean ZoStringHasPrefix(ZoStringRef string, ZoStringRef prefix);
Boolean ZoStringHasSuffix(ZoStringRef string, ZoStringRef suffix);
/// The range found, or {kZoNotFound, 0}.
ZoRange ZoStringFind(ZoStringRef string, ZoStringRef stringToFind, ZoStringCompareFlags flags);
Boolean ZoStringFindWithOptions(ZoStringRef string, ZoStringRef stringToFind, ZoRange range, ZoStringCompareFlags flags,
                                ZoRange* result);
Boolean ZoStringFindCharacterFromSet(ZoStringRef string, ZoCharacterSetRef set, ZoRange range,
                                     ZoStringCompareFlags flags, ZoRange* result);

/// The number of replacements.
ZoIndex ZoStringFindAndReplace(ZoMutableStringRef string, ZoStringRef stringToFind, ZoStringRef replacement,
                               ZoRange range, ZoStringCompareFlags flags);
void ZoStringAppend(ZoMutableStringRef string, ZoStringRef appended);
void ZoStringAppendCString(ZoMutableStringRef string, const char* text, ZoStringEncoding encoding);
void ZoStringAppendCharacters(ZoMutableStringRef string, const UniChar* characters, ZoIndex count);
void ZoStringAppendFormat(ZoMutableStringRef string, ZoDictionaryRef formatOptions, ZoStringRef format, ...);
void ZoStringAppendFormatAndArguments(ZoMutableStringRef string, ZoDictionaryRef formatOptions, ZoStringRef format,
                                      va_list arguments);
/// `range` gives way to `replacement`.
void ZoStringReplace(ZoMutableStringRef string, ZoRange range, ZoStringRef replacement);
void ZoStringInsert(ZoMutableStringRef string, ZoIndex index, ZoStringRef inserted);
/// `locale` absent: the root locale.
void ZoStringLowercase(ZoMutableStringRef string, ZoLocaleRef locale);

typedef ZoIndex ZoCharacterSetPredefinedSet;
enum {
    kZoCharacterSetControl = 1,
    kZoCharacterSetWhitespace = 2,
    kZoCharacterSetWhitespaceAndNewline = 3,
    kZoCharacterSetDecimalDigit = 4,
    kZoCharacterSetLetter = 5,
    kZoCharacterSetLowercaseLetter = 6,
    kZoCharacterSetUppercaseLetter = 7,
};
ZoTypeID ZoCharacterSetGetTypeID(void);
/// Borrowed; lives as long as the process.
ZoCharacterSetRef ZoCharacterSetGetPredefined(ZoCharacterSetPredefinedSet set);
Boolean ZoCharacterSetIsCharacterMember(ZoCharacterSetRef set, UniChar character);
/// `character` is a code point.
Boolean ZoCharacterSetIsLongCharacterMember(ZoCharacterSetRef set, uint32_t character);

ZO_EXTERN_C_END
