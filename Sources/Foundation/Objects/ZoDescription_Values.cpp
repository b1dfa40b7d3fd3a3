// What values and collections say of themselves. The types refer to these functions weakly, so that a program without
// this service carries neither it nor the conversion of floating-point numbers to text.

#define ZO_DEFINES_DESCRIPTIONS

#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "Foundation/Collections/ZoCollectionsPrivate.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumberPrivate.h"

namespace {

// A collection may hold itself, or one object along ever more ways: past these bounds it is "...".
constexpr int kDeepest = 32;
constexpr int kMostValues = 20000;
constexpr ZoIndex kMostDataBytes = 64;

struct Progress {
    int depth;
    int values;
};
constinit thread_local Progress tProgress{0, 0};

ZoStringRef createText(const char* text) { return ZoStringCreateWithCString(nullptr, text, kZoStringEncodingASCII); }

void append(ZoMutableStringRef text, const char* ascii) { ZoStringAppendCString(text, ascii, kZoStringEncodingASCII); }

// One value of a collection; strings stand in quotation marks.
template <typename CallBacks>
void appendValue(ZoMutableStringRef text, const CallBacks* callBacks, const void* value)
{
    if (tProgress.depth >= kDeepest || tProgress.values >= kMostValues) return append(text, "...");
    ++tProgress.values;
    if (!value) return append(text, "(null)");
    if (!callBacks->copyDescription) return append(text, "(pointer)");
    ++tProgress.depth;
    const auto description = zoAdopt(callBacks->copyDescription(value));
    --tProgress.depth;
    const bool isText = callBacks->copyDescription == ZoCopyDescription && zoIsOfType(value, kZoTypeIDString);
    if (isText) append(text, "\"");
    if (description) ZoStringAppend(text, description.get());
    if (isText) append(text, "\"");
}

// Calls `each(text)` for what stands between the brackets.
template <typename Each>
ZoStringRef describeCollection(const char* open, const char* close, Each each)
{
    ZoMutableStringRef text = ZoStringCreateMutable(nullptr, 0);
    if (!text) return nullptr;
    if (tProgress.depth == 0) tProgress.values = 0;
    append(text, open);
    each(text);
    append(text, close);
    return text;
}

// Separates values; false once the description is long enough.
bool beginValue(ZoMutableStringRef text, bool* isFirst)
{
    if (!*isFirst) append(text, ", ");
    *isFirst = false;
    if (tProgress.values < kMostValues) return true;
    append(text, "...");
    return false;
}

}  // namespace

ZoStringRef _ZoNullCopyDescription(ZoTypeRef) { return createText("null"); }

ZoStringRef _ZoBooleanCopyDescription(ZoTypeRef object)
{
    return createText(ZoBooleanGetValue(static_cast<ZoBooleanRef>(object)) ? "true" : "false");
}

ZoStringRef _ZoNumberCopyDescription(ZoTypeRef object)
{
    const ZoNumberValue number = zoNumberValue(object);
    char text[64];
    if (number.isFloat) {
        // The shortest text that reads back as the same value.
        *std::to_chars(text, std::end(text) - 1, number.real).ptr = '\0';
        return createText(text);
    }
    char* first = std::end(text) - 1;
    *first = '\0';
    auto magnitude = static_cast<unsigned __int128>(number.integer);
    if (number.integer < 0) magnitude = -magnitude;
    do {
        *--first = static_cast<char>('0' + static_cast<int>(magnitude % 10));
        magnitude /= 10;
    } while (magnitude != 0);
    if (number.integer < 0) *--first = '-';
    return createText(first);
}

ZoStringRef _ZoDataCopyDescription(ZoTypeRef object)
{
    const auto data = static_cast<ZoDataRef>(object);
    const ZoIndex length = ZoDataGetLength(data);
    const uint8_t* bytes = ZoDataGetBytePtr(data);
    char text[2 * kMostDataBytes + 64];
    int used = std::snprintf(text, sizeof text, length == 1 ? "<%zd byte" : "<%zd bytes", static_cast<ssize_t>(length));
    for (ZoIndex i = 0; i < length && i < kMostDataBytes; ++i) {
        const size_t room = sizeof text - static_cast<size_t>(used);
        used += std::snprintf(text + used, room, i == 0 ? ": %02x" : "%02x", bytes[i]);
    }
    std::snprintf(text + used, sizeof text - static_cast<size_t>(used), length > kMostDataBytes ? "...>" : ">");
    return createText(text);
}

ZoStringRef _ZoArrayCopyDescription(ZoTypeRef object)
{
    const auto array = static_cast<ZoArrayRef>(object);
    return describeCollection("[", "]", [&](ZoMutableStringRef text) {
        bool isFirst = true;
        for (ZoIndex i = 0; i < array->count; ++i) {
            if (!beginValue(text, &isFirst)) return;
            appendValue(text, array->callBacks, array->values[i]);
        }
    });
}

ZoStringRef _ZoSetCopyDescription(ZoTypeRef object)
{
    const auto* set = static_cast<const ZoSet_*>(object);
    return describeCollection("(", ")", [&](ZoMutableStringRef text) {
        bool isFirst = true;
        for (uint32_t i = 0; i < set->table.used; ++i) {
            if (!beginValue(text, &isFirst)) return;
            appendValue(text, set->callBacks, set->table.entries[i].key);
        }
    });
}

ZoStringRef _ZoDictionaryCopyDescription(ZoTypeRef object)
{
    const auto* dictionary = static_cast<const ZoDictionary_*>(object);
    return describeCollection("{", "}", [&](ZoMutableStringRef text) {
        bool isFirst = true;
        for (uint32_t i = 0; i < dictionary->table.used; ++i) {
            const ZoTableEntry& entry = dictionary->table.entries[i];
            if (!entry.isLive()) continue;
            if (!beginValue(text, &isFirst)) return;
            appendValue(text, dictionary->keyCallBacks, entry.key);
            append(text, " = ");
            appendValue(text, dictionary->valueCallBacks, entry.value);
        }
    });
}
