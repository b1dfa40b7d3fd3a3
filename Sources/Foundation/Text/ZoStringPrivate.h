// How text is stored, and the parts that the string sources share: views, a growing buffer, conversion, and the table
// of services that need Unicode data. Not installed.

#pragma once

#include <cstring>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Text/ZoSurrogatesPrivate.h"

/// The first 32 bytes are those of a ZoConstantString; the rest exists only where kZoStringConstant is clear.
struct ZoString_ {
    ZoRuntimeBase base;
    const void* contents;  ///< 8-bit ASCII, or UTF-16 in the machine's order if kZoStringWide
    ZoIndex length;
    uint64_t hashOrCapacity;  ///< immutable: the hash once it is known; mutable: bytes allocated for `contents`
};

// The type's byte of flags in the header. Those of a constant record are 0xC8.
enum : uint8_t {
    kZoStringWide = 1 << 0,
    kZoStringMutable = 1 << 1,
    kZoStringBorrowed = 1 << 2,    // the contents go to the deallocator that stands behind the record
    kZoStringTerminated = 1 << 3,  // a NUL stands behind 8-bit contents
    kZoStringConstant = 1 << 6,
};
static_assert((ZO_CONSTANT_STRING_FLAGS & 0x4F) == (kZoStringConstant | kZoStringTerminated));

namespace zo {

/// Units that stand somewhere else. All-ASCII text may stand in either form.
struct TextView {
    const void* units = nullptr;
    ZoIndex length = 0;
    bool wide = false;

    static TextView narrow(const void* bytes, ZoIndex count) { return {bytes, count, false}; }
    const uint8_t* ascii() const { return static_cast<const uint8_t*>(units); }
    const UniChar* utf16() const { return static_cast<const UniChar*>(units); }
    UniChar operator[](ZoIndex index) const { return wide ? utf16()[index] : ascii()[index]; }
    TextView sub(ZoIndex location, ZoIndex count) const
    {
        return {wide ? static_cast<const void*>(utf16() + location) : ascii() + location, count, wide};
    }
};

inline bool isString(ZoTypeRef object) { return zoIsOfType(object, kZoTypeIDString); }

/// Of an object that is known to be a string.
inline TextView viewOfString(ZoStringRef string)
{
    return {string->contents, string->length, (zoTypeFlags(string) & kZoStringWide) != 0};
}

/// An absent string is empty, and so is an object that is none, which is the mistake of the caller's caller.
inline TextView textView(ZoStringRef string, const char* caller = __builtin_FUNCTION())
{
    if (ZO_LIKELY(isString(string))) return viewOfString(string);
    if (string) _ZoReportMisuse(caller, "not a string");
    return {};
}

inline bool isMutableString(ZoStringRef string, const char* caller = __builtin_FUNCTION())
{
    if (ZO_LIKELY(isString(string) && (zoTypeFlags(string) & kZoStringMutable))) return true;
    return _ZoReportMisuse(caller, "not a mutable string");
}

/// `range` cut to what lies within [0, length).
inline ZoRange rangeWithin(ZoRange range, ZoIndex length)
{
    const ZoIndex start = range.location < 0 ? 0 : range.location > length ? length : range.location;
    const ZoIndex count = range.length < 0 ? 0 : range.length > length - start ? length - start : range.length;
    return {start, count};
}

/// The character at `index`: a pair as one, a surrogate that stands alone as itself. `units` is 1 or 2.
inline uint32_t codePointAt(const TextView& text, ZoIndex index, ZoIndex& units)
{
    const UniChar unit = text[index];
    units = 1;
    if (!isHighSurrogate(unit) || index + 1 >= text.length || !isLowSurrogate(text[index + 1])) return unit;
    units = 2;
    return surrogatePair(unit, text[index + 1]);
}

/// Sixteen bytes at a time; every processor that we build for has such words.
using Sixteen = uint64_t __attribute__((vector_size(16)));

inline bool isASCII(const uint8_t* bytes, size_t count)
{
    constexpr uint64_t kHighBits = 0x8080808080808080u;
    if (count < 16) {
        uint64_t any = 0;
        if (count >= 8)
            any = zoHashLoad<uint64_t>(bytes) | zoHashLoad<uint64_t>(bytes + count - 8);
        else if (count >= 4)
            any = zoHashLoad<uint32_t>(bytes) | zoHashLoad<uint32_t>(bytes + count - 4);
        else
            for (size_t i = 0; i < count; ++i) any |= bytes[i];
        return (any & kHighBits) == 0;
    }
    Sixteen any = zoHashLoad<Sixteen>(bytes + count - 16);
    size_t i = 0;
    for (; i + 64 <= count; i += 64) {
        any |= zoHashLoad<Sixteen>(bytes + i) | zoHashLoad<Sixteen>(bytes + i + 16) |
               zoHashLoad<Sixteen>(bytes + i + 32) | zoHashLoad<Sixteen>(bytes + i + 48);
    }
    for (; i + 16 <= count; i += 16) any |= zoHashLoad<Sixteen>(bytes + i);
    return ((any[0] | any[1]) & kHighBits) == 0;
}

bool isASCII(const UniChar* units, ZoIndex count);

inline bool isASCII(const TextView& text) { return !text.wide || isASCII(text.utf16(), text.length); }

/// Text that grows. It starts in 8-bit form and widens at the first character that needs it. An allocation that fails
/// is latched: what follows does nothing, and ok() says so.
class TextBuffer {
public:
    TextBuffer() = default;
    explicit TextBuffer(ZoAllocatorRef allocator) : allocator_(allocator) {}
    /// Starts in memory that the caller lends (aligned for UniChar).
    TextBuffer(ZoAllocatorRef allocator, void* lent, size_t bytes)
        : allocator_(allocator), memory_(lent), capacity_(bytes)
    {}
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer()
    {
        if (owned_) ZoAllocatorDeallocate(allocator_, memory_);
    }

    /// Takes a mutable string's contents; giveBack() puts them where they were taken.
    explicit TextBuffer(ZoMutableStringRef string);
    void giveBack(ZoMutableStringRef string);

    bool ok() const { return !failed_; }
    void fail() { failed_ = true; }
    ZoIndex length() const { return length_; }
    TextView view() const { return {memory_, length_, wide_}; }

    /// Room for `units` units in all, in the form asked for or the wider one that the text has already.
    bool reserve(ZoIndex units, bool wide);
    /// `replacement` must not stand in this buffer's memory.
    bool replace(ZoRange range, const TextView& replacement);
    bool append(const TextView& text) { return replace({length_, 0}, text); }
    bool appendASCII(const void* bytes, size_t count) { return append({bytes, static_cast<ZoIndex>(count), false}); }
    bool appendFill(uint8_t character, ZoIndex count);
    bool appendCodePoint(uint32_t codePoint);
    void lowercaseASCII();

private:
    bool growTo(size_t bytes);

    ZoAllocatorRef allocator_ = nullptr;
    void* memory_ = nullptr;
    size_t capacity_ = 0;
    ZoIndex length_ = 0;
    bool wide_ = false;
    bool owned_ = false;
    bool failed_ = false;
};

/// A new immutable string of `text`, in 8-bit form where it can be. Nothing if the allocator gives nothing.
ZoStringRef stringCreate(ZoAllocatorRef allocator, const TextView& text);

/// Where converted bytes go. Without a buffer they are only counted.
struct ByteSink {
    uint8_t* buffer = nullptr;
    size_t capacity = 0;
    size_t used = 0;

    bool put(const void* bytes, size_t count)
    {
        if (buffer) {
            if (count > capacity - used) return false;
            memcpy(buffer + used, bytes, count);
        }
        used += count;
        return true;
    }
    bool put(uint8_t byte) { return put(&byte, 1); }
};

/// True where bytes below 0x80 are ASCII whatever stands around them, and ASCII text is those bytes: the classic Roman
/// encoding and its variants, ISO 8859 (there is no part 12, and part 16 is not supported) and the Windows code pages.
constexpr bool encodingExtendsASCII(ZoStringEncoding encoding)
{
    return encoding == kZoStringEncodingUTF8 || encoding == kZoStringEncodingASCII ||
           encoding == kZoStringEncodingClassicRoman || (encoding >= 0x0024 && encoding <= 0x0026) ||
           (encoding >= 0x0201 && encoding <= 0x020F && encoding != 0x020C) ||
           (encoding >= 0x0500 && encoding <= 0x0508);
}

/// Appends the text that `bytes` are; false if they are malformed or the encoding is not known.
bool decodeText(ZoStringEncoding encoding, const uint8_t* bytes, size_t count, bool isExternal, TextBuffer& out);
/// Appends UTF-8 that nobody vouches for: each malformed byte becomes U+FFFD.
void decodeUTF8Leniently(const uint8_t* bytes, size_t count, TextBuffer& out);
/// Converts from the start for as long as it fits and can be converted; gives the number of units converted.
ZoIndex encodeText(ZoStringEncoding encoding, const TextView& text, uint8_t lossByte, bool isExternal, ByteSink& sink);

/// Set in every hash of a string, and so in a word that holds one.
constexpr uint64_t kStringHashIsKnown = uint64_t{1} << 63;

/// Equal text has equal hashes in every form: text that is all ASCII hashes as its bytes.
inline uint64_t hashNarrow(const void* bytes, ZoIndex length)
{
    return zoHashBytes(bytes, static_cast<size_t>(length)) | kStringHashIsKnown;
}
uint64_t hashText(const TextView& text);

bool textsEqual(const TextView& a, const TextView& b);

/// ZoHash and ZoEqual of two strings, for look-ups that know that they have strings.
inline ZoHashCode stringHash(ZoStringRef string)
{
    const uint8_t flags = zoTypeFlags(string);
    if (flags & kZoStringConstant) return hashNarrow(string->contents, string->length);
    if (flags & kZoStringMutable) return hashText(viewOfString(string));
    auto* cache = &const_cast<ZoMutableStringRef>(string)->hashOrCapacity;
    uint64_t hash = __atomic_load_n(cache, __ATOMIC_RELAXED);
    if (!(hash & kStringHashIsKnown)) {
        hash = hashText(viewOfString(string));
        __atomic_store_n(cache, hash, __ATOMIC_RELAXED);
    }
    return hash;
}

inline bool stringsEqual(ZoStringRef a, ZoStringRef b)
{
    if (a == b) return true;
    if (a->length != b->length) return false;
    const TextView left = viewOfString(a), right = viewOfString(b);
    if (left.wide || right.wide) return textsEqual(left, right);
    return memcmp(left.units, right.units, static_cast<size_t>(left.length)) == 0;
}

}  // namespace zo

ZO_EXTERN_C_BEGIN

/// What needs Unicode data and converters. The table stands in ZoStringICU.cpp; a program linked without it has ASCII
/// and the built-in encodings only, and carries no ICU.
typedef struct ZoTextServices {
    bool (*decode)(ZoStringEncoding encoding, const uint8_t* bytes, size_t count, bool isExternal, zo::TextBuffer& out);
    ZoIndex (*encode)(ZoStringEncoding encoding, const zo::TextView& text, uint8_t lossByte, bool isExternal,
                      zo::ByteSink& sink);
    ZoIndex (*maximumSize)(ZoIndex length, ZoStringEncoding encoding);
    /// Simple case folding: one character for one, and of the same number of units.
    uint32_t (*foldCase)(uint32_t codePoint);
    void (*lowercase)(const zo::TextView& text, ZoLocaleRef locale, zo::TextBuffer& out);
    bool (*isMember)(ZoCharacterSetPredefinedSet set, uint32_t codePoint);
} ZoTextServices;

extern const ZoTextServices __ZoTextServices __attribute__((weak));

ZO_EXTERN_C_END

namespace zo {

inline const ZoTextServices* textServices() { return &__ZoTextServices; }

}  // namespace zo
