// Storage, creation, access and change of strings.

#include <cstdio>
#include <cstdlib>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"
#include "Foundation/Values/ZoData.h"

using zo::TextBuffer;
using zo::TextView;

static ZoStringRef stringCopySelf(ZoTypeRef object)
{
    return ZoStringCreateCopy(nullptr, static_cast<ZoStringRef>(object));
}

static Boolean stringEqual(ZoTypeRef a, ZoTypeRef b)
{
    return zo::stringsEqual(static_cast<ZoStringRef>(a), static_cast<ZoStringRef>(b));
}

static ZoHashCode stringHashObject(ZoTypeRef object) { return zo::stringHash(static_cast<ZoStringRef>(object)); }

/// Behind the record of a string whose contents are its creator's.
static ZoAllocatorRef* stringDeallocatorSlot(ZoStringRef string)
{
    return reinterpret_cast<ZoAllocatorRef*>(const_cast<ZoMutableStringRef>(string) + 1);
}

static void stringFinalize(ZoTypeRef object)
{
    auto string = static_cast<ZoStringRef>(object);
    void* contents = const_cast<void*>(string->contents);
    const uint8_t flags = zoTypeFlags(string);
    if (flags & kZoStringMutable) ZoAllocatorDeallocate(ZoGetAllocator(string), contents);
    if (flags & kZoStringBorrowed) {
        const ZoAllocatorRef deallocator = *stringDeallocatorSlot(string);
        ZoAllocatorDeallocate(deallocator, contents);
        if (deallocator) ZoRelease(deallocator);
    }
}

const uintptr_t __ZoConstantStringClassReference[4] = {};

const ZoRuntimeClass __ZoStringClass = {
    .version = 0,
    .className = "ZoString",
    .init = nullptr,
    .copy = nullptr,
    .finalize = stringFinalize,
    .equal = stringEqual,
    .hash = stringHashObject,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = stringCopySelf,
    .unused = {},
};

ZoTypeID ZoStringGetTypeID(void) { return kZoTypeIDString; }

// MARK: Storage

namespace zo {

/// Where no status can tell of it.
[[noreturn]] static void stopForMemory()
{
    fputs("ZoString: no memory for a longer string\n", stderr);
    abort();
}

bool isASCII(const UniChar* units, ZoIndex count)
{
    UniChar any = 0;
    for (ZoIndex i = 0; i < count; ++i) any |= units[i];
    return any < 0x80;
}

uint64_t hashText(const TextView& text)
{
    if (!text.wide) return hashNarrow(text.units, text.length);
    if (!isASCII(text)) return hashNarrow(text.units, 2 * text.length);
    TextBuffer narrow;  // only a mutable string has ASCII in the wide form
    if (!narrow.append(text)) stopForMemory();
    return hashNarrow(narrow.view().units, text.length);
}

bool textsEqual(const TextView& a, const TextView& b)
{
    if (a.length != b.length) return false;
    if (a.wide == b.wide) return memcmp(a.units, b.units, static_cast<size_t>(a.length) << a.wide) == 0;
    for (ZoIndex i = 0; i < a.length; ++i)
        if (a[i] != b[i]) return false;
    return true;
}

static constexpr ZoIndex kMaximumLength = INTPTR_MAX / 4;

static void copyUnits(void* to, bool wide, ZoIndex at, const TextView& from)
{
    const auto count = static_cast<size_t>(from.length);
    if (count == 0) return;
    if (wide == from.wide) {
        memcpy(static_cast<uint8_t*>(to) + (static_cast<size_t>(at) << wide), from.units, count << wide);
    } else if (wide) {
        UniChar* units = static_cast<UniChar*>(to) + at;
        for (size_t i = 0; i < count; ++i) units[i] = from.ascii()[i];
    } else {
        uint8_t* bytes = static_cast<uint8_t*>(to) + at;
        for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(from.utf16()[i]);
    }
}

/// A record without contents, and room behind it that is within the limit of lengths.
static inline ZoMutableStringRef stringAllocate(ZoAllocatorRef allocator, ZoIndex tailBytes, uint8_t flags)
{
    auto* string = zoCreateBare<ZoString_>(allocator, kZoTypeIDString, &__ZoStringClass, tailBytes);
    if (!string) return nullptr;
    string->base.info |= flags;
    if (!(flags & (kZoStringMutable | kZoStringBorrowed))) string->base.info |= kZoInfoNeedsNoFinalizer;
    string->contents = nullptr;
    string->length = 0;
    string->hashOrCapacity = 0;
    return string;
}

/// memcpy(3) without a call for what keys and names are long: moves that may overlap.
static inline void copyShortly(uint8_t* to, const uint8_t* from, size_t count)
{
    const auto move = [to, from](auto word, size_t at) {
        word = zoHashLoad<decltype(word)>(from + at);
        memcpy(to + at, &word, sizeof word);
    };
    if (count > 64 || count < 8) {
        memcpy(to, from, count);
    } else if (count < 16) {
        move(uint64_t{}, 0);
        move(uint64_t{}, count - 8);
    } else {
        for (size_t at = 0; at + 16 < count; at += 16) move(Sixteen{}, at);
        move(Sixteen{}, count - 16);
    }
}

static ZoStringRef stringCreateASCII(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length)
{
    if (length > kMaximumLength) return nullptr;
    ZoMutableStringRef string = stringAllocate(allocator, length + 1, kZoStringTerminated);
    if (!string) return nullptr;
    auto* contents = reinterpret_cast<uint8_t*>(string + 1);
    copyShortly(contents, bytes, static_cast<size_t>(length));
    contents[length] = 0;
    string->contents = contents;
    string->length = length;
    return string;
}

ZoStringRef stringCreate(ZoAllocatorRef allocator, const TextView& text)
{
    if (text.length == 0) return ZOSTR("");
    if (text.length > kMaximumLength) return nullptr;
    if (!text.wide) return stringCreateASCII(allocator, text.ascii(), text.length);
    const bool wide = !isASCII(text);
    ZoMutableStringRef string =
        stringAllocate(allocator, (text.length + 1) << wide, wide ? kZoStringWide : kZoStringTerminated);
    if (!string) return nullptr;
    void* contents = string + 1;
    copyUnits(contents, wide, 0, text);
    if (!wide) static_cast<uint8_t*>(contents)[text.length] = 0;
    string->contents = contents;
    string->length = text.length;
    return string;
}

TextBuffer::TextBuffer(ZoMutableStringRef string)
    : allocator_(ZoGetAllocator(string)),
      memory_(const_cast<void*>(string->contents)),
      capacity_(string->hashOrCapacity),
      length_(string->length),
      wide_(zoTypeFlags(string) & kZoStringWide),
      owned_(true)
{}

void TextBuffer::giveBack(ZoMutableStringRef string)
{
    if (failed_) stopForMemory();
    string->contents = memory_;
    string->hashOrCapacity = capacity_;
    string->length = length_;
    // Another thread may retain the string meanwhile: the flag shares a word with the count.
    if (wide_) __atomic_fetch_or(&string->base.info, uint64_t{kZoStringWide}, __ATOMIC_RELAXED);
    if (!wide_ && memory_) static_cast<uint8_t*>(memory_)[length_] = 0;
    owned_ = false;
}

bool TextBuffer::growTo(size_t bytes)
{
    if (bytes <= capacity_) return true;
    const size_t wanted = bytes < 2 * capacity_ ? 2 * capacity_ : bytes < 32 ? 32 : bytes;
    const auto size = static_cast<ZoIndex>(wanted);
    // An allocator of the caller's may have no way to reallocate.
    const bool inPlace = owned_ && zoIsSystemAllocator(allocator_);
    void* memory =
        inPlace ? ZoAllocatorReallocate(allocator_, memory_, size, 0) : ZoAllocatorAllocate(allocator_, size, 0);
    if (!memory) {
        failed_ = true;
        return false;
    }
    if (!inPlace && length_) memcpy(memory, memory_, static_cast<size_t>(length_) << wide_);
    if (!inPlace && owned_) ZoAllocatorDeallocate(allocator_, memory_);
    memory_ = memory;
    capacity_ = wanted;
    owned_ = true;
    return true;
}

bool TextBuffer::reserve(ZoIndex units, bool wide)
{
    if (failed_) return false;
    if (units > kMaximumLength) return failed_ = true, false;
    wide |= wide_;
    const ZoIndex held = units < length_ ? length_ : units;  // what is there is widened, also where it is to go
    if (!growTo(static_cast<size_t>(held + 1) << wide)) return false;
    if (wide && !wide_) {
        auto* bytes = static_cast<uint8_t*>(memory_);
        auto* widened = static_cast<UniChar*>(memory_);
        for (ZoIndex i = length_; i-- > 0;) widened[i] = bytes[i];
        wide_ = true;
    }
    return true;
}

bool TextBuffer::replace(ZoRange range, const TextView& replacement)
{
    const bool wide = replacement.wide && !wide_ && !isASCII(replacement);
    const ZoIndex rest = length_ - range.location - range.length;
    ZoIndex newLength;
    if (__builtin_add_overflow(length_ - range.length, replacement.length, &newLength)) failed_ = true;
    if (failed_ || !reserve(newLength, wide)) return false;
    if (rest && replacement.length != range.length) {
        auto* bytes = static_cast<uint8_t*>(memory_);
        memmove(bytes + (static_cast<size_t>(range.location + replacement.length) << wide_),
                bytes + (static_cast<size_t>(range.location + range.length) << wide_),
                static_cast<size_t>(rest) << wide_);
    }
    copyUnits(memory_, wide_, range.location, replacement);
    length_ = newLength;
    return true;
}

bool TextBuffer::appendFill(uint8_t character, ZoIndex count)
{
    ZoIndex newLength;
    if (__builtin_add_overflow(length_, count, &newLength)) failed_ = true;
    if (failed_ || !reserve(newLength, false)) return false;
    for (ZoIndex i = length_; i < newLength; ++i) {
        if (wide_)
            static_cast<UniChar*>(memory_)[i] = character;
        else
            static_cast<uint8_t*>(memory_)[i] = character;
    }
    length_ = newLength;
    return true;
}

bool TextBuffer::appendCodePoint(uint32_t codePoint)
{
    if (wide_ && codePoint < 0x10000 && 2 * static_cast<size_t>(length_ + 1) <= capacity_ && !failed_) {
        static_cast<UniChar*>(memory_)[length_++] = static_cast<UniChar>(codePoint);
        return true;
    }
    UniChar units[2] = {static_cast<UniChar>(codePoint), 0};
    if (codePoint < 0x10000) return append({units, 1, true});
    units[0] = highSurrogateOf(codePoint);
    units[1] = lowSurrogateOf(codePoint);
    return append({units, 2, true});
}

void TextBuffer::lowercaseASCII()
{
    for (ZoIndex i = 0; i < length_; ++i) {
        const UniChar unit = view()[i];
        if (unit < 'A' || unit > 'Z') continue;
        if (wide_)
            static_cast<UniChar*>(memory_)[i] = static_cast<UniChar>(unit | 0x20);
        else
            static_cast<uint8_t*>(memory_)[i] = static_cast<uint8_t>(unit | 0x20);
    }
}

}  // namespace zo

// MARK: Creation

// Apart from what ASCII takes, which needs no buffer.
__attribute__((noinline)) static ZoStringRef stringCreateDecoding(ZoAllocatorRef allocator, const uint8_t* bytes,
                                                                  size_t count, ZoStringEncoding encoding,
                                                                  bool isExternal)
{
    alignas(UniChar) uint8_t lent[512];
    TextBuffer text(allocator, lent, sizeof lent);
    if (!zo::decodeText(encoding, bytes, count, isExternal, text) || !text.ok()) return nullptr;
    return zo::stringCreate(allocator, text.view());
}

static inline ZoStringRef stringCreateWithBytes(ZoAllocatorRef allocator, const uint8_t* bytes, size_t count,
                                                ZoStringEncoding encoding, bool isExternal)
{
    if (ZO_UNLIKELY(!zo::encodingExtendsASCII(encoding) || count == 0 || !zo::isASCII(bytes, count)))
        return stringCreateDecoding(allocator, bytes, count, encoding, isExternal);
    return zo::stringCreateASCII(allocator, bytes, static_cast<ZoIndex>(count));
}

ZoStringRef ZoStringCreateWithBytes(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                    ZoStringEncoding encoding, Boolean isExternalRepresentation)
{
    if (!ZO_EXPECT(length >= 0 && (bytes || length == 0), "no bytes")) return nullptr;
    return stringCreateWithBytes(allocator, bytes, static_cast<size_t>(length), encoding, isExternalRepresentation);
}

ZoStringRef ZoStringCreateWithCString(ZoAllocatorRef allocator, const char* text, ZoStringEncoding encoding)
{
    if (!ZO_EXPECT(text, "no text")) return nullptr;
    return stringCreateWithBytes(allocator, reinterpret_cast<const uint8_t*>(text), strlen(text), encoding, false);
}

ZoStringRef ZoStringCreateWithCharacters(ZoAllocatorRef allocator, const UniChar* characters, ZoIndex count)
{
    if (!ZO_EXPECT(count >= 0 && (characters || count == 0), "no characters")) return nullptr;
    return zo::stringCreate(allocator, TextView{characters, count, true});
}

ZoStringRef ZoStringCreateWithPascalString(ZoAllocatorRef allocator, const uint8_t* text, ZoStringEncoding encoding)
{
    if (!ZO_EXPECT(text, "no text")) return nullptr;
    return ZoStringCreateWithBytes(allocator, text + 1, text[0], encoding, false);
}

/// A string that refers to ASCII bytes; else a copy, and the bytes go to their deallocator at once.
static ZoStringRef stringCreateReferring(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                         ZoStringEncoding encoding, bool isExternal, ZoAllocatorRef deallocator,
                                         uint8_t flags)
{
    if (length == 0 || !zo::encodingExtendsASCII(encoding) || !zo::isASCII(bytes, static_cast<size_t>(length))) {
        ZoStringRef copy = ZoStringCreateWithBytes(allocator, bytes, length, encoding, isExternal);
        if (copy) ZoAllocatorDeallocate(deallocator, const_cast<uint8_t*>(bytes));
        return copy;
    }
    ZoMutableStringRef string = zo::stringAllocate(allocator, sizeof(ZoAllocatorRef), flags | kZoStringBorrowed);
    if (!string) return nullptr;
    string->contents = bytes;
    string->length = length;
    *stringDeallocatorSlot(string) = deallocator;
    if (deallocator) ZoRetain(deallocator);
    return string;
}

ZoStringRef ZoStringCreateWithCStringNoCopy(ZoAllocatorRef allocator, const char* text, ZoStringEncoding encoding,
                                            ZoAllocatorRef textDeallocator)
{
    if (!ZO_EXPECT(text, "no text")) return nullptr;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    return stringCreateReferring(allocator, bytes, static_cast<ZoIndex>(strlen(text)), encoding, false, textDeallocator,
                                 kZoStringTerminated);
}

ZoStringRef ZoStringCreateWithBytesNoCopy(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                          ZoStringEncoding encoding, Boolean isExternalRepresentation,
                                          ZoAllocatorRef bytesDeallocator)
{
    if (!ZO_EXPECT(length >= 0 && (bytes || length == 0), "no bytes")) return nullptr;
    return stringCreateReferring(allocator, bytes, length, encoding, isExternalRepresentation, bytesDeallocator, 0);
}

ZoStringRef ZoStringCreateWithSubstring(ZoAllocatorRef allocator, ZoStringRef string, ZoRange range)
{
    const TextView text = zo::textView(string);
    const ZoRange within = zo::rangeWithin(range, text.length);
    ZO_EXPECT(within.location == range.location && within.length == range.length, "range outside of the string");
    if (string && within.length == text.length) return ZoStringCreateCopy(allocator, string);
    return zo::stringCreate(allocator, text.sub(within.location, within.length));
}

ZoStringRef ZoStringCreateCopy(ZoAllocatorRef allocator, ZoStringRef string)
{
    if (!ZO_EXPECT(zo::isString(string), "not a string")) return nullptr;
    const uint8_t flags = zoTypeFlags(string);
    if (flags & kZoStringConstant) return string;
    const bool ours = !(flags & kZoStringBorrowed) || *stringDeallocatorSlot(string) != kZoAllocatorNull;
    if (!(flags & kZoStringMutable) && ours && zoIsSameAllocator(allocator, ZoGetAllocator(string)))
        return static_cast<ZoStringRef>(ZoRetain(string));
    return zo::stringCreate(allocator, zo::textView(string));
}

ZoMutableStringRef ZoStringCreateMutable(ZoAllocatorRef allocator, ZoIndex maximumLength)
{
    return ZoStringCreateMutableCopy(allocator, maximumLength, ZOSTR(""));
}

ZoMutableStringRef ZoStringCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex, ZoStringRef string)
{
    ZoMutableStringRef copy = zo::stringAllocate(allocator, 0, kZoStringMutable | kZoStringTerminated);
    if (!copy) return nullptr;
    TextBuffer buffer(copy);
    if (!buffer.append(zo::textView(string))) {
        ZoRelease(copy);
        return nullptr;
    }
    buffer.giveBack(copy);
    return copy;
}

ZoStringRef ZoStringCreateFromExternalRepresentation(ZoAllocatorRef allocator, ZoDataRef data,
                                                     ZoStringEncoding encoding)
{
    if (!ZO_EXPECT(data, "no data")) return nullptr;
    return ZoStringCreateWithBytes(allocator, ZoDataGetBytePtr(data), ZoDataGetLength(data), encoding, true);
}

// MARK: Access

ZoIndex ZoStringGetLength(ZoStringRef string)
{
    return ZO_EXPECT(zo::isString(string), "not a string") ? string->length : 0;
}

UniChar ZoStringGetCharacterAtIndex(ZoStringRef string, ZoIndex index)
{
    const TextView text = zo::textView(string);
    return ZO_EXPECT(index >= 0 && index < text.length, "index outside of the string") ? text[index] : UniChar{0};
}

void ZoStringGetCharacters(ZoStringRef string, ZoRange range, UniChar* buffer)
{
    const TextView text = zo::textView(string);
    const ZoRange within = zo::rangeWithin(range, text.length);
    ZO_EXPECT(within.location == range.location && within.length == range.length, "range outside of the string");
    if (!ZO_EXPECT(buffer || within.length == 0, "no buffer")) return;
    zo::copyUnits(buffer, true, 0, text.sub(within.location, within.length));
}

const char* ZoStringGetCStringPtr(ZoStringRef string, ZoStringEncoding encoding)
{
    if (!string || !ZO_EXPECT(zo::isString(string), "not a string")) return nullptr;
    if (!zo::encodingExtendsASCII(encoding)) return nullptr;
    const uint8_t flags = zoTypeFlags(string);
    if ((flags & kZoStringWide) || !(flags & kZoStringTerminated)) return nullptr;
    return static_cast<const char*>(string->contents);
}

ZoIndex ZoStringGetBytes(ZoStringRef string, ZoRange range, ZoStringEncoding encoding, uint8_t lossByte,
                         Boolean isExternalRepresentation, uint8_t* buffer, ZoIndex maxBufferLength,
                         ZoIndex* usedBufferLength)
{
    const TextView text = zo::textView(string);
    const ZoRange within = zo::rangeWithin(range, text.length);
    ZO_EXPECT(within.location == range.location && within.length == range.length, "range outside of the string");
    zo::ByteSink sink{buffer, maxBufferLength > 0 ? static_cast<size_t>(maxBufferLength) : 0};
    const ZoIndex converted =
        zo::encodeText(encoding, text.sub(within.location, within.length), lossByte, isExternalRepresentation, sink);
    if (usedBufferLength) *usedBufferLength = static_cast<ZoIndex>(sink.used);
    return converted;
}

/// All of the string into `buffer`; the number of bytes, or -1 if they do not fit or cannot be converted.
static ZoIndex stringGetAllBytes(ZoStringRef string, void* buffer, ZoIndex size, ZoStringEncoding encoding)
{
    const TextView text = zo::textView(string);
    zo::ByteSink sink{static_cast<uint8_t*>(buffer), static_cast<size_t>(size)};
    if (zo::encodeText(encoding, text, 0, false, sink) != text.length) return -1;
    return static_cast<ZoIndex>(sink.used);
}

Boolean ZoStringGetCString(ZoStringRef string, char* buffer, ZoIndex bufferSize, ZoStringEncoding encoding)
{
    if (!ZO_EXPECT(buffer, "no buffer") || bufferSize <= 0) return false;
    const ZoIndex used = string ? stringGetAllBytes(string, buffer, bufferSize - 1, encoding) : -1;
    buffer[used < 0 ? 0 : used] = 0;
    return used >= 0;
}

Boolean ZoStringGetPascalString(ZoStringRef string, uint8_t* buffer, ZoIndex bufferSize, ZoStringEncoding encoding)
{
    if (!ZO_EXPECT(buffer, "no buffer") || bufferSize <= 0) return false;
    const ZoIndex room = bufferSize - 1 < UINT8_MAX ? bufferSize - 1 : UINT8_MAX;
    const ZoIndex used = string ? stringGetAllBytes(string, buffer + 1, room, encoding) : -1;
    buffer[0] = used < 0 ? 0 : static_cast<uint8_t>(used);
    return used >= 0;
}

ZoDataRef ZoStringCreateExternalRepresentation(ZoAllocatorRef allocator, ZoStringRef string, ZoStringEncoding encoding,
                                               uint8_t lossByte)
{
    if (!ZO_EXPECT(zo::isString(string), "not a string")) return nullptr;
    const TextView text = zo::textView(string);
    if (!text.wide && zo::encodingExtendsASCII(encoding)) return ZoDataCreate(allocator, text.ascii(), text.length);
    zo::ByteSink count;
    if (zo::encodeText(encoding, text, lossByte, true, count) != text.length) return nullptr;
    auto data = zoAdopt(ZoDataCreateMutable(allocator, static_cast<ZoIndex>(count.used)));
    if (!data) return nullptr;
    ZoDataSetLength(data.get(), static_cast<ZoIndex>(count.used));
    zo::ByteSink sink{ZoDataGetMutableBytePtr(data.get()), count.used};
    if (count.used && zo::encodeText(encoding, text, lossByte, true, sink) != text.length) return nullptr;
    return data.release();
}

// MARK: Change

/// Replaces `range` of a string that is known to be mutable. Text that is the string's own is copied first.
static void stringReplace(ZoMutableStringRef string, ZoRange range, TextView text, bool isOwnText)
{
    TextBuffer copy;
    if (isOwnText) {
        copy.append(text);
        text = copy.view();
    }
    TextBuffer buffer(string);
    if (!copy.ok()) buffer.fail();
    buffer.replace(range, text);
    buffer.giveBack(string);
}

void ZoStringAppend(ZoMutableStringRef string, ZoStringRef appended)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(zo::isString(appended), "not a string")) return;
    stringReplace(string, {string->length, 0}, zo::textView(appended), string == appended);
}

void ZoStringAppendCString(ZoMutableStringRef string, const char* text, ZoStringEncoding encoding)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(text, "no text")) return;
    const size_t count = strlen(text);
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    TextBuffer decoded;
    if (zo::encodingExtendsASCII(encoding) && zo::isASCII(bytes, count))
        stringReplace(string, {string->length, 0}, TextView::narrow(text, static_cast<ZoIndex>(count)), false);
    else if (zo::decodeText(encoding, bytes, count, false, decoded))
        stringReplace(string, {string->length, 0}, decoded.view(), false);
}

void ZoStringAppendCharacters(ZoMutableStringRef string, const UniChar* characters, ZoIndex count)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(count >= 0 && (characters || count == 0), "no characters")) return;
    stringReplace(string, {string->length, 0}, TextView{characters, count, true}, false);
}

void ZoStringInsert(ZoMutableStringRef string, ZoIndex index, ZoStringRef inserted)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(zo::isString(inserted), "not a string")) return;
    if (!ZO_EXPECT(index >= 0 && index <= string->length, "index outside of the string")) return;
    stringReplace(string, {index, 0}, zo::textView(inserted), string == inserted);
}

void ZoStringReplace(ZoMutableStringRef string, ZoRange range, ZoStringRef replacement)
{
    if (!zo::isMutableString(string) || !ZO_EXPECT(zo::isString(replacement), "not a string")) return;
    const ZoRange within = zo::rangeWithin(range, string->length);
    ZO_EXPECT(within.location == range.location && within.length == range.length, "range outside of the string");
    stringReplace(string, within, zo::textView(replacement), string == replacement);
}

void ZoStringLowercase(ZoMutableStringRef string, ZoLocaleRef locale)
{
    if (!zo::isMutableString(string)) return;
    const TextView text = zo::textView(string);
    TextBuffer lowered;
    // Some locales have rules of their own for ASCII letters.
    const ZoTextServices* services = text.wide || locale ? zo::textServices() : nullptr;
    if (services)
        services->lowercase(text, locale, lowered);
    else if (lowered.append(text))
        lowered.lowercaseASCII();
    if (!lowered.ok()) zo::stopForMemory();
    stringReplace(string, {0, text.length}, lowered.view(), false);
}
