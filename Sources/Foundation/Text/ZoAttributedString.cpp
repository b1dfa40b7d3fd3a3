// Attributed strings: a string, and the runs that it falls into by attributes. Runs are never empty, and two runs that
// touch never have equal attributes.

#include "Foundation/Text/ZoAttributedString.h"

#include <algorithm>
#include <new>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"
#include "Memory/Containers.h"

struct AttributeRun {
    ZoIndex end;
    ZoRef<ZoDictionaryRef> attributes;
};
using AttributeRuns = memory::ReportingArray<AttributeRun>;

struct ZoAttributedString_ {
    ZoRuntimeBase base;
    ZoStringRef string;  // mutable where the whole is
    AttributeRuns runs;
};

static ZoAttributedString_* fields(ZoTypeRef object)
{
    return static_cast<ZoAttributedString_*>(const_cast<void*>(object));
}

static void attributedStringInit(ZoTypeRef object) { new (&fields(object)->runs) AttributeRuns; }

static void attributedStringFinalize(ZoTypeRef object)
{
    ZoAttributedString_* string = fields(object);
    string->runs.~AttributeRuns();
    if (string->string) ZoRelease(string->string);
}

static Boolean attributedStringEqual(ZoTypeRef a, ZoTypeRef b)
{
    const ZoAttributedString_ *left = fields(a), *right = fields(b);
    return zo::stringsEqual(left->string, right->string) &&
           std::ranges::equal(left->runs, right->runs, [](const AttributeRun& one, const AttributeRun& other) {
               return one.end == other.end && ZoEqual(one.attributes.get(), other.attributes.get());
           });
}

static ZoHashCode attributedStringHash(ZoTypeRef object) { return zo::stringHash(fields(object)->string); }

static ZoStringRef attributedStringCopyDescription(ZoTypeRef object)
{
    const ZoAttributedString_* string = fields(object);
    ZoMutableStringRef description = ZoStringCreateMutable(nullptr, 0);
    if (!description) return nullptr;
    ZoIndex start = 0;
    for (const AttributeRun& run : string->runs) {
        const auto text = zoAdopt(ZoStringCreateWithSubstring(nullptr, string->string, {start, run.end - start}));
        ZoStringAppendFormat(description, nullptr, ZOSTR("%@%@"), text.get(), run.attributes.get());
        start = run.end;
    }
    return description;
}

const ZoRuntimeClass __ZoAttributedStringClass = {
    .version = 0,
    .className = "ZoAttributedString",
    .init = attributedStringInit,
    .copy = nullptr,
    .finalize = attributedStringFinalize,
    .equal = attributedStringEqual,
    .hash = attributedStringHash,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = attributedStringCopyDescription,
    .unused = {},
};

static constexpr uint8_t kAttributedStringMutable = 1;

ZoTypeID ZoAttributedStringGetTypeID(void) { return kZoTypeIDAttributedString; }

static bool isAttributedString(ZoAttributedStringRef string)
{
    return ZO_EXPECT(zoIsOfType(string, kZoTypeIDAttributedString), "not an attributed string");
}

static bool isMutable(ZoAttributedStringRef string)
{
    return isAttributedString(string) &&
           ZO_EXPECT(zoTypeFlags(string) & kAttributedStringMutable, "the attributed string is not mutable");
}

/// A new object around `string`, which it takes over.
static ZoRef<ZoMutableAttributedStringRef> attributedStringAllocate(ZoAllocatorRef allocator, ZoRef<ZoStringRef> string)
{
    if (!string) return nullptr;
    constexpr ZoIndex kFields = sizeof(ZoAttributedString_) - sizeof(ZoRuntimeBase);
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, kZoTypeIDAttributedString, kFields, nullptr);
    if (object) fields(object)->string = string.release();
    return zoAdopt(object ? fields(object) : nullptr);
}

static ZoRef<ZoDictionaryRef> copyAttributes(ZoDictionaryRef attributes)
{
    if (attributes) return zoAdopt(ZoDictionaryCreateCopy(nullptr, attributes));
    return zoAdopt(ZoDictionaryCreate(nullptr, nullptr, nullptr, 0, &kZoTypeDictionaryKeyCallBacks,
                                      &kZoTypeDictionaryValueCallBacks));
}

ZoAttributedStringRef ZoAttributedStringCreate(ZoAllocatorRef allocator, ZoStringRef string, ZoDictionaryRef attributes)
{
    if (!ZO_EXPECT(zo::isString(string), "not a string")) return nullptr;
    auto created = attributedStringAllocate(allocator, zoAdopt(ZoStringCreateCopy(allocator, string)));
    if (!created) return nullptr;
    if (const ZoIndex length = ZoStringGetLength(string)) {
        auto copied = copyAttributes(attributes);
        if (!copied || !created.get()->runs.append({length, std::move(copied)})) return nullptr;
    }
    return created.release();
}

/// False, and some of them, without memory.
static bool copyRuns(AttributeRuns& to, const AttributeRuns& from)
{
    if (!to.reserve(from.size())) return false;
    for (const AttributeRun& run : from)
        if (!to.append({run.end, ZoRef<ZoDictionaryRef>::retain(run.attributes.get())})) return false;
    return true;
}

ZoAttributedStringRef ZoAttributedStringCreateCopy(ZoAllocatorRef allocator, ZoAttributedStringRef string)
{
    if (!isAttributedString(string)) return nullptr;
    auto copy = attributedStringAllocate(allocator, zoAdopt(ZoStringCreateCopy(allocator, string->string)));
    if (!copy || !copyRuns(copy.get()->runs, string->runs)) return nullptr;
    return copy.release();
}

ZoMutableAttributedStringRef ZoAttributedStringCreateMutable(ZoAllocatorRef allocator, ZoIndex maximumLength)
{
    ZoStringRef string = ZoStringCreateMutable(allocator, maximumLength);
    auto created = attributedStringAllocate(allocator, zoAdopt(string));
    if (created) zoSetTypeFlags(created.get(), kAttributedStringMutable);
    return created.release();
}

ZoMutableAttributedStringRef ZoAttributedStringCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex maximumLength,
                                                                 ZoAttributedStringRef string)
{
    if (!isAttributedString(string)) return nullptr;
    ZoStringRef text = ZoStringCreateMutableCopy(allocator, maximumLength, string->string);
    auto copy = attributedStringAllocate(allocator, zoAdopt(text));
    if (!copy) return nullptr;
    zoSetTypeFlags(copy.get(), kAttributedStringMutable);
    if (!copyRuns(copy.get()->runs, string->runs)) return nullptr;
    return copy.release();
}

ZoIndex ZoAttributedStringGetLength(ZoAttributedStringRef string)
{
    return isAttributedString(string) ? ZoStringGetLength(string->string) : 0;
}

ZoStringRef ZoAttributedStringGetString(ZoAttributedStringRef string)
{
    return isAttributedString(string) ? string->string : nullptr;
}

/// The first run that ends behind `location`.
static size_t runAt(const AttributeRuns& runs, ZoIndex location)
{
    return static_cast<size_t>(std::ranges::upper_bound(runs, location, {}, &AttributeRun::end) - runs.begin());
}

ZoDictionaryRef ZoAttributedStringGetAttributes(ZoAttributedStringRef string, ZoIndex location, ZoRange* effectiveRange)
{
    if (effectiveRange) *effectiveRange = {kZoNotFound, 0};
    if (!isAttributedString(string)) return nullptr;
    if (!ZO_EXPECT(location >= 0 && location < ZoStringGetLength(string->string), "no character there")) return nullptr;
    const size_t index = runAt(string->runs, location);
    const AttributeRun& run = string->runs[index];
    const ZoIndex start = index ? string->runs[index - 1].end : 0;
    if (effectiveRange) *effectiveRange = {start, run.end - start};
    return run.attributes.get();
}

ZoTypeRef ZoAttributedStringGetAttribute(ZoAttributedStringRef string, ZoIndex location, ZoStringRef name,
                                         ZoRange* effectiveRange)
{
    ZoDictionaryRef attributes = ZoAttributedStringGetAttributes(string, location, effectiveRange);
    return attributes ? ZoDictionaryGetValue(attributes, name) : nullptr;
}

// MARK: Change

/// Makes a run start at `location`, which has characters on both sides or is an end. There is room for it.
static void splitAt(AttributeRuns& runs, ZoIndex location)
{
    if (location <= 0 || runs.empty() || location >= runs.back().end) return;
    const size_t index = runAt(runs, location);
    const ZoIndex start = index ? runs[index - 1].end : 0;
    if (start == location) return;
    const bool isThere = runs.append({location, ZoRef<ZoDictionaryRef>::retain(runs[index].attributes.get())});
    if (isThere) std::rotate(runs.begin() + index, runs.end() - 1, runs.end());
}

/// Lets neighbours with equal attributes be one run, and drops empty runs.
static void joinRuns(AttributeRuns& runs)
{
    size_t kept = 0;
    ZoIndex start = 0;
    for (AttributeRun& run : runs) {
        if (run.end == start) continue;
        start = run.end;
        if (kept && ZoEqual(runs[kept - 1].attributes.get(), run.attributes.get())) {
            runs[kept - 1].end = run.end;
            continue;
        }
        if (&runs[kept] != &run) runs[kept] = std::move(run);
        ++kept;
    }
    runs.truncate(kept);
}

/// The dictionary with the attribute set, or without it where there is no value; nothing without memory.
static ZoRef<ZoDictionaryRef> attributesWith(ZoDictionaryRef attributes, ZoStringRef name, ZoTypeRef value)
{
    const auto changed = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, attributes));
    if (!changed) return nullptr;
    if (value)
        ZoDictionarySetValue(changed.get(), name, value);
    else
        ZoDictionaryRemoveValue(changed.get(), name);
    return copyAttributes(changed.get());
}

/// Sets an attribute for the whole of `range`, or removes it where there is no value.
static void changeAttribute(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef name, ZoTypeRef value)
{
    if (!isMutable(string) || !ZO_EXPECT(zo::isString(name), "the name is not a string")) return;
    const ZoRange within = zo::rangeWithin(range, ZoStringGetLength(string->string));
    ZO_EXPECT(within.location == range.location && within.length == range.length, "range outside of the string");
    if (within.length == 0) return;
    AttributeRuns& runs = string->runs;
    if (!runs.reserve(runs.size() + 2)) memory::stop();
    const ZoIndex end = within.location + within.length;
    splitAt(runs, within.location);
    splitAt(runs, end);
    for (size_t index = runAt(runs, within.location); index < runs.size() && runs[index].end <= end; ++index) {
        runs[index].attributes = attributesWith(runs[index].attributes.get(), name, value);
        if (!runs[index].attributes) memory::stop();
    }
    joinRuns(runs);
}

void ZoAttributedStringSetAttribute(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef name,
                                    ZoTypeRef value)
{
    if (ZO_EXPECT(value, "no value")) changeAttribute(string, range, name, value);
}

void ZoAttributedStringRemoveAttribute(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef name)
{
    changeAttribute(string, range, name, nullptr);
}

void ZoAttributedStringReplaceString(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef replacement)
{
    if (!isMutable(string) || !ZO_EXPECT(zo::isString(replacement), "not a string")) return;
    const ZoIndex length = ZoStringGetLength(string->string);
    const ZoRange within = zo::rangeWithin(range, length);
    const ZoIndex newLength = ZoStringGetLength(replacement);
    AttributeRuns& runs = string->runs;
    if (runs.empty()) {
        auto none = copyAttributes(nullptr);
        if (!none || !runs.append({0, std::move(none)})) memory::stop();
    }
    const ZoIndex heir = within.length ? within.location : std::max<ZoIndex>(within.location - 1, 0);
    const size_t heirIndex = std::min(runAt(runs, heir), runs.size() - 1);
    const ZoIndex end = within.location + within.length;
    for (size_t index = heirIndex; index < runs.size(); ++index) {
        // Runs that end within the replaced text end with it, but for the one that takes the new text.
        ZoIndex& runEnd = runs[index].end;
        if (runEnd >= end)
            runEnd += newLength - within.length;
        else if (index == heirIndex || runEnd > within.location)
            runEnd = within.location + newLength;
    }
    joinRuns(runs);
    // The string of a mutable one is its own.
    ZoStringReplace(const_cast<ZoMutableStringRef>(string->string), within, replacement);
}
