#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Dates/ZoCalendar.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoDateFormatter.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Services/ZoNotificationCenter.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Services/ZoRunLoop.h"
#include "Foundation/Text/ZoAttributedString.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"
#include "Foundation/Values/ZoUUID.h"
#include "Tests/Memory/MemoryMakers.h"

using namespace luvia_test;

namespace {

using Bytes = const uint8_t*;

Made makeNumber(ZoAllocatorRef allocator)
{
    const int64_t value = INT64_MAX - 1;
    int64_t back = 0;
    const auto number = zoAdopt(ZoNumberCreate(allocator, kZoNumberSInt64Type, &value));
    return made(bool(number), number && ZoNumberGetValue(number.get(), kZoNumberSInt64Type, &back) && back == value);
}

Made makeStrings(ZoAllocatorRef allocator)
{
    constexpr char kText[] = "a text that is longer than what stands in a record";
    const auto ascii = zoAdopt(ZoStringCreateWithCString(allocator, kText, kZoStringEncodingUTF8));
    const auto wide = zoAdopt(ZoStringCreateWithCString(allocator, "\u03b1\u03b2\u03b3", kZoStringEncodingUTF8));
    const auto copy = zoAdopt(ascii ? ZoStringCreateMutableCopy(allocator, 0, ascii.get()) : nullptr);
    return made(ascii && wide && copy,
                isText(ascii.get(), kText) && isText(wide.get(), "\u03b1\u03b2\u03b3") && isText(copy.get(), kText));
}

Made formatString(ZoAllocatorRef allocator)
{
    const auto text =
        zoAdopt(ZoStringCreateWithFormat(allocator, nullptr, ZOSTR("%d %@ %s %.1f%900s"), 5, ZOSTR("x"), "y", 0.5, ""));
    return made(bool(text),
                text && ZoStringGetLength(text.get()) == 909 && ZoStringHasPrefix(text.get(), ZOSTR("5 x y 0.5 ")));
}

Made growString(ZoAllocatorRef)
{
    const auto text = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    if (!text) return Made::kRefused;
    for (int i = 0; i < 50; ++i) ZoStringAppend(text.get(), ZOSTR("0123456789"));
    ZoStringAppendFormat(text.get(), nullptr, ZOSTR("%d"), 7);
    return made(true, ZoStringGetLength(text.get()) == 501);
}

Made convertString(ZoAllocatorRef allocator)
{
    const auto string = zoAdopt(ZoStringCreateWithCString(nullptr, "caf\u00e9", kZoStringEncodingUTF8));
    if (!string) return Made::kRefused;
    const auto data =
        zoAdopt(ZoStringCreateExternalRepresentation(allocator, string.get(), kZoStringEncodingClassicRoman, 0));
    return made(bool(data), data && std::memcmp(ZoDataGetBytePtr(data.get()), "caf\x8e", 4) == 0);
}

Made makeCollections(ZoAllocatorRef allocator)
{
    const void* keys[] = {ZOSTR("a"), ZOSTR("b"), ZOSTR("c"), ZOSTR("d"), ZOSTR("e"), ZOSTR("f"), ZOSTR("g")};
    const auto array = zoAdopt(ZoArrayCreate(allocator, keys, 7, &kZoTypeArrayCallBacks));
    const auto set = zoAdopt(ZoSetCreate(allocator, keys, 7, &kZoTypeSetCallBacks));
    const auto dictionary = zoAdopt(
        ZoDictionaryCreate(allocator, keys, keys, 7, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!array || !set || !dictionary) return Made::kRefused;
    const auto arrayCopy = zoAdopt(ZoArrayCreateMutableCopy(allocator, 0, array.get()));
    const auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(allocator, 0, dictionary.get()));
    if (!arrayCopy || !copy) return Made::kRefused;
    return made(true, ZoEqual(arrayCopy.get(), array.get()) && ZoEqual(copy.get(), dictionary.get()) &&
                          ZoSetGetCount(set.get()) == 7 && ZoDictionaryGetValue(copy.get(), keys[6]) == keys[6]);
}

// What finds no room changes nothing: of three collections that grow, one lacks what came when a call failed.
Made growCollections(ZoAllocatorRef allocator)
{
    const auto array = zoAdopt(ZoArrayCreateMutable(allocator, 0, &kZoTypeArrayCallBacks));
    const auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    const auto data = zoAdopt(ZoDataCreateMutable(allocator, 0));
    if (!array || !dictionary || !data) return Made::kRefused;
    ZoIndex lacking = 0;
    for (int32_t i = 0; i < 30; ++i) {
        const auto number = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt32Type, &i));
        if (!number) return Made::kRefused;
        const ZoIndex before = ZoArrayGetCount(array.get()), length = ZoDataGetLength(data.get());
        ZoArrayAppendValue(array.get(), number.get());
        ZoDictionarySetValue(dictionary.get(), number.get(), number.get());
        ZoDataAppendBytes(data.get(), reinterpret_cast<Bytes>("0123456789"), 10);
        const bool isInArray = ZoArrayGetCount(array.get()) == before + 1;
        const bool isInData = ZoDataGetLength(data.get()) == length + 10;
        lacking += !isInArray + !ZoDictionaryContainsKey(dictionary.get(), number.get()) + !isInData;
        if (isInArray && ZoArrayGetValueAtIndex(array.get(), before) != number.get()) return Made::kWrong;
        if (isInData && ZoDataGetBytePtr(data.get())[length + 9] != '9') return Made::kWrong;
    }
    const auto text = zoAdopt(ZoCopyDescription(dictionary.get()));
    const ZoIndex there =
        ZoArrayGetCount(array.get()) + ZoDictionaryGetCount(dictionary.get()) + ZoDataGetLength(data.get()) / 10;
    if (lacking == 1 && there == 89) return Made::kRefused;
    return made(bool(text), there == 90);
}

constexpr char kXML[] = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict><key>a</key><array>
<integer>1234567890123</integer><real>2.5</real><string>text</string><true/><data>AAEC</data>
<date>2001-01-01T00:00:01Z</date></array></dict></plist>)";

template <ZoPropertyListFormat format>
Made roundTripPropertyList(ZoAllocatorRef allocator)
{
    const auto xml = zoAdopt(ZoDataCreate(nullptr, reinterpret_cast<Bytes>(kXML), sizeof(kXML) - 1));
    if (!xml) return Made::kRefused;
    const auto list = zoAdopt(ZoPropertyListCreateWithData(allocator, xml.get(), 2, nullptr, nullptr));
    if (!list) return Made::kRefused;
    ZoRef<ZoErrorRef> error;
    const auto data = zoAdopt(ZoPropertyListCreateData(allocator, list.get(), format, 0, error.outParam()));
    const auto back =
        zoAdopt(data ? ZoPropertyListCreateWithData(allocator, data.get(), 0, nullptr, error.outParam()) : nullptr);
    if (error && ZoErrorGetCode(error.get()) != kZoPropertyListErrorAllocation) return Made::kWrong;
    const auto copy = zoAdopt(ZoPropertyListCreateDeepCopy(allocator, list.get(), 0));
    if (!back || !copy) return Made::kRefused;
    return made(true, ZoEqual(back.get(), list.get()) && ZoEqual(copy.get(), list.get()));
}

Made makeURLs(ZoAllocatorRef allocator)
{
    const auto url = zoAdopt(ZoURLCreateWithString(allocator, ZOSTR("http://example.org/a b/c"), nullptr));
    const auto file = zoAdopt(ZoURLCreateWithFileSystemPath(allocator, ZOSTR("/tmp/a b"), kZoURLPOSIXPathStyle, true));
    if (!file) return Made::kRefused;
    const auto deeper = zoAdopt(ZoURLCreateCopyAppendingPathComponent(allocator, file.get(), ZOSTR("c%"), false));
    if (!deeper) return Made::kRefused;
    return made(true, isText(ZoURLGetString(deeper.get()), "file:///tmp/a%20b/c%25"));
}

Made escapeText(ZoAllocatorRef allocator)
{
    const ZoStringRef text = ZOSTR("a b, c d, e f, g h, i j and %25 without an end");
    const auto escaped =
        zoAdopt(ZoURLCreateStringByAddingPercentEscapes(allocator, text, nullptr, ZOSTR(","), kZoStringEncodingUTF8));
    if (!escaped) return Made::kRefused;
    const auto back = zoAdopt(ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(
        allocator, escaped.get(), ZOSTR("%"), kZoStringEncodingUTF8));
    return madeText(back, "a b, c d, e f, g h, i j and %2525 without an end");
}

Made makeDates(ZoAllocatorRef allocator)
{
    const auto date = zoAdopt(ZoDateCreate(allocator, 86400));
    const auto calendar = zoAdopt(ZoCalendarCreateWithIdentifier(allocator, kZoGregorianCalendar));
    int day = 0;
    if (!date || !calendar) return Made::kRefused;
    const bool isThere = ZoCalendarDecomposeAbsoluteTime(calendar.get(), 86400 * 1.5, "d", &day);
    return made(isThere, day == 2 || day == 3);
}

Made formatDate(ZoAllocatorRef allocator)
{
    const auto locale = zoAdopt(ZoLocaleCreate(allocator, ZOSTR("en_US_POSIX")));
    if (!locale) return Made::kRefused;
    const auto formatter =
        zoAdopt(ZoDateFormatterCreate(allocator, locale.get(), kZoDateFormatterShortStyle, kZoDateFormatterNoStyle));
    if (!formatter) return Made::kRefused;
    const auto text = zoAdopt(ZoDateFormatterCreateStringWithAbsoluteTime(allocator, formatter.get(), 86400));
    return made(bool(text), text && ZoStringGetLength(text.get()) > 4);
}

Made makeUUID(ZoAllocatorRef allocator)
{
    constexpr char kText[] = "68753A44-4D6F-1226-9C60-0050E4C00067";
    const auto uuid = zoAdopt(ZoUUIDCreateFromString(allocator, ZOSTR("68753A44-4D6F-1226-9C60-0050E4C00067")));
    return uuid ? madeText(zoAdopt(ZoUUIDCreateString(allocator, uuid.get())), kText) : Made::kRefused;
}

Made readPreferences(ZoAllocatorRef)
{
    Boolean isThere = true;
    ZoPreferencesGetAppIntegerValue(ZOSTR("nothing"), ZOSTR("org.example.nothing"), &isThere);
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(ZOSTR("nothing"), ZOSTR("org.example.nothing")));
    return made(true, !isThere && !value);
}

// A file of preferences that somebody else has put something in.
class StoredPreferences {
public:
    StoredPreferences()
    {
        if (!mkdtemp(folder_) || setenv("LUVIA_PREFERENCES_DIR", folder_, 1) != 0) std::abort();
        const std::string path = std::string(folder_) + "/org.example.stored.plist";
        if (std::FILE* file = std::fopen(path.c_str(), "w")) {
            std::fputs("<plist><dict><key>theirs</key><string>kept</string></dict></plist>", file);
            std::fclose(file);
        }
    }
    ~StoredPreferences() { std::filesystem::remove_all(folder_); }
    static ZoStringRef domain() { return ZOSTR("org.example.stored"); }

private:
    char folder_[32] = "/tmp/luvia_shortage_XXXXXX";
} sStored;

Made storePreferences(ZoAllocatorRef)
{
    const ZoStringRef domain = sStored.domain();
    const auto number = zoAdopt(ZoStringCreateWithCString(nullptr, "1234567890", kZoStringEncodingUTF8));
    const void *key = ZOSTR("ours"), *value = number.get();
    const auto pairs = zoAdopt(number ? ZoDictionaryCreate(nullptr, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks,
                                                           &kZoTypeDictionaryValueCallBacks)
                                      : nullptr);
    if (!pairs) return Made::kRefused;
    ZoPreferencesSetMultiple(pairs.get(), nullptr, domain, kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
    int done = 0;  // written, and read again; what could not be written waits, and goes the next time
    for (int i = 0; i < 2; ++i) done += ZoPreferencesSynchronize(domain, nullptr, nullptr);
    if (done < 2) return Made::kRefused;
    const auto ours = zoAdopt(ZoPreferencesCopyAppValue(ZOSTR("ours"), domain));
    const auto theirs = zoAdopt(ZoPreferencesCopyAppValue(ZOSTR("theirs"), domain));
    return made(true, isText(static_cast<ZoStringRef>(ours.get()), "1234567890") &&
                          isText(static_cast<ZoStringRef>(theirs.get()), "kept"));
}

Made notify(ZoAllocatorRef)
{
    int told = 0;
    const auto count = [](ZoNotificationCenterRef, void* observer, ZoStringRef, const void*, ZoDictionaryRef) {
        ++*static_cast<int*>(observer);
    };
    const ZoNotificationCenterRef center = ZoNotificationCenterGetLocalCenter();
    if (!center) return Made::kRefused;
    ZoNotificationCenterAddObserver(center, &told, count, ZOSTR("news"), nullptr, kZoNotificationDeliverImmediately);
    ZoNotificationCenterPostNotification(center, ZOSTR("news"), nullptr, nullptr, true);
    ZoNotificationCenterRemoveObserver(center, &told, nullptr, nullptr);
    return made(told > 0, told == 1);
}

Made fireTimer(ZoAllocatorRef allocator)
{
    int fired = 0;
    const ZoRunLoopTimerContext context = {0, &fired, nullptr, nullptr, nullptr};
    const auto fire = [](ZoRunLoopTimerRef, void* info) { ++*static_cast<int*>(info); };
    const ZoRunLoopRef loop = ZoRunLoopGetCurrent();
    const auto timer = zoAdopt(ZoRunLoopTimerCreate(allocator, 0, 0, 0, 0, fire, &context));
    if (!loop || !timer) return Made::kRefused;
    ZoRunLoopAddTimer(loop, timer.get(), kZoRunLoopDefaultMode);
    ZoRunLoopRunInMode(kZoRunLoopDefaultMode, 0, false);
    ZoRunLoopTimerInvalidate(timer.get());
    return made(fired > 0, fired == 1);
}

Made attributeString(ZoAllocatorRef allocator)
{
    const auto string = zoAdopt(ZoAttributedStringCreate(allocator, ZOSTR("text"), nullptr));
    const auto copy = zoAdopt(string ? ZoAttributedStringCreateMutableCopy(allocator, 0, string.get()) : nullptr);
    if (!copy) return Made::kRefused;
    ZoAttributedStringSetAttribute(copy.get(), {1, 2}, ZOSTR("name"), ZOSTR("value"));
    ZoAttributedStringReplaceString(copy.get(), {2, 1}, ZOSTR("xyz"));
    ZoRange range;
    const ZoTypeRef value = ZoAttributedStringGetAttribute(copy.get(), 3, ZOSTR("name"), &range);
    return made(true, isText(static_cast<ZoStringRef>(value), "value") && range.location == 1 && range.length == 4 &&
                          isText(ZoAttributedStringGetString(copy.get()), "texyzt"));
}

constexpr Maker kRows[] = {
    {"number", makeNumber, 1},
    {"strings", makeStrings, 3},
    {"formattedString", formatString, 1},
    {"growingString", growString},
    {"convertedString", convertString, 1},
    {"collections", makeCollections, 5},
    {"growingCollections", growCollections, 15},
    {"xmlPropertyList", roundTripPropertyList<kZoPropertyListXMLFormat_v1_0>, 10},
    {"binaryPropertyList", roundTripPropertyList<kZoPropertyListBinaryFormat_v1_0>, 10},
    {"urls", makeURLs, 3},
    {"escapes", escapeText, 2},
    {"dates", makeDates, 2, true},
    {"formattedDate", formatDate, 2, true},
    {"uuid", makeUUID, 1},
    {"preferences", readPreferences},
    {"storedPreferences", storePreferences},
    {"notification", notify},
    {"timer", fireTimer, 1},
    {"attributedString", attributeString, 2},
};

}  // namespace

const std::span<const Maker> luvia_test::kFoundationMakers = kRows;
