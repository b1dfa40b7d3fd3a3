// What callers must not do, of every class in one table.

#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Dates/ZoCalendar.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoDateFormatter.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Services/ZoNotificationCenter.h"
#include "Foundation/Text/ZoAttributedString.h"
#include "Foundation/Values/ZoError.h"
#include "Tests/Support/Misuse.h"
#include "Tests/Support/Objects.h"

using namespace luvia_test;

namespace {

// A number is smaller than most: its fields may not be looked at as theirs.
template <typename Ref>
Ref numberAs()
{
    static const auto sNumber = number(1 << 20);
    return reinterpret_cast<Ref>(const_cast<ZoNumber_*>(sNumber.get()));
}

int64_t sOut;
const auto sArray = array({kZoNull});
const auto sDictionary = dictionary({{kZoNull, kZoNull}});
const auto sString = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, ZOSTR("text")));
const auto sData = zoAdopt(ZoDataCreateMutableCopy(nullptr, 0, dataOf("data").get()));
ZoMutableArrayRef fixedArray()
{
    static const auto sCopy = zoAdopt(ZoArrayCreateCopy(nullptr, sArray.get()));
    return const_cast<ZoMutableArrayRef>(sCopy.get());
}
ZoMutableDictionaryRef fixedDictionary()
{
    static const auto sCopy = zoAdopt(ZoDictionaryCreateCopy(nullptr, sDictionary.get()));
    return const_cast<ZoMutableDictionaryRef>(sCopy.get());
}
ZoMutableDataRef fixedData()
{
    static const auto sCopy = dataOf("data");
    return const_cast<ZoMutableDataRef>(sCopy.get());
}
bool isMember(ZoCharacterSetRef set) { return ZoCharacterSetIsCharacterMember(set, 'A'); }

constexpr Misuse kRows[] = {
    // objects
    {[] { EXPECT_EQ(ZoRetain(nullptr), nullptr); }, "ZoRetain: absent object"},
    {[] { ZoRelease(nullptr); }, "ZoRelease: absent object"},
    {[] { EXPECT_EQ(ZoGetTypeID(nullptr), 0u); }, "absent object"},
    {[] { EXPECT_FALSE(ZoEqual(nullptr, kZoNull)); }, "absent object"},
    {[] { EXPECT_EQ(ZoHash(nullptr), 0u); }, "absent object"},
    {[] { EXPECT_FALSE(ZoAllocatorAllocate(numberAs<ZoAllocatorRef>(), 8, 0)); }, "not an allocator"},
    {[] { EXPECT_FALSE(_ZoRuntimeCreateInstance(nullptr, ZoNumberGetTypeID(), -1, nullptr)); }, "negative size"},
    {[] { EXPECT_FALSE(_ZoRuntimeCreateInstance(nullptr, 65000, 8, nullptr)); }, "no class"},
    // collections
    {[] { EXPECT_FALSE(ZoArrayCreate(nullptr, nullptr, 3, nullptr)); }, "absent values"},
    {[] { EXPECT_FALSE(ZoArrayGetValueAtIndex(sArray.get(), -1)); }, "index outside"},
    {[] { EXPECT_FALSE(ZoArrayGetValueAtIndex(sArray.get(), 1)); }, "index outside"},
    {[] { ZoArrayRemoveValueAtIndex(sArray.get(), INTPTR_MAX); }, "index outside"},
    {[] {
         const void* out = kZoBooleanTrue;
         ZoArrayGetValues(sArray.get(), {0, 2}, &out);
         EXPECT_EQ(out, kZoBooleanTrue);
     },
     "range outside"},
    {[] { EXPECT_EQ(ZoArrayGetCount(numberAs<ZoArrayRef>()), 0); }, "not an array"},
    {[] { ZoArrayAppendValue(sArray.get(), nullptr); }, "absent object"},
    {[] { ZoArrayAppendValue(fixedArray(), kZoNull); }, "not mutable"},
    {[] { EXPECT_EQ(ZoDictionaryGetCount(numberAs<ZoDictionaryRef>()), 0); }, "not a dictionary"},
    {[] { EXPECT_FALSE(ZoDictionaryGetValue(nullptr, kZoNull)); }, "not a dictionary"},
    {[] { ZoDictionarySetValue(sDictionary.get(), nullptr, kZoNull); }, "absent object"},
    {[] { ZoDictionarySetValue(fixedDictionary(), ZOSTR("key"), kZoNull); }, "not mutable"},
    {[] { ZoDictionaryRemoveAllValues(fixedDictionary()); }, "not mutable"},
    {[] { EXPECT_EQ(ZoSetGetCount(numberAs<ZoSetRef>()), 0); }, "not a set"},
    // values
    {[] { EXPECT_FALSE(ZoNumberGetValue(reinterpret_cast<ZoNumberRef>(kZoNull), 4, &sOut)); }, "not a number"},
    {[] { EXPECT_FALSE(ZoBooleanGetValue(numberAs<ZoBooleanRef>())); }, "not a boolean"},
    {[] { EXPECT_FALSE(ZoErrorCreate(nullptr, nullptr, 1, nullptr)); }, "not a string"},
    {[] { EXPECT_EQ(ZoDataGetLength(numberAs<ZoDataRef>()), 0); }, "not a data object"},
    {[] { EXPECT_FALSE(ZoDataGetBytePtr(nullptr)); }, "not a data object"},
    {[] {
         uint8_t out = 1;
         ZoDataGetBytes(sData.get(), {4, 1}, &out);
         EXPECT_EQ(out, 1);
     },
     "range outside"},
    {[] {
         ZoDataDeleteBytes(sData.get(), {-1, 1});
     },
     "range outside"},
    {[] {
         ZoDataDeleteBytes(sData.get(), {1, INTPTR_MAX});
     },
     "range outside"},
    {[] {
         ZoDataDeleteBytes(sData.get(), {0, -1});
     },
     "range outside"},
    {[] { ZoDataIncreaseLength(sData.get(), INTPTR_MAX); }, "the length overflows"},
    {[] { ZoDataSetLength(sData.get(), -1); }, "negative length"},
    {[] { ZoDataSetLength(fixedData(), 0); }, "not mutable"},
    {[] { EXPECT_FALSE(ZoDataGetMutableBytePtr(fixedData())); }, "not mutable"},
    // text
    {[] { EXPECT_EQ(ZoStringGetLength(numberAs<ZoStringRef>()), 0); }, "ZoStringGetLength: not a string"},
    {[] { EXPECT_EQ(ZoStringGetCharacterAtIndex(ZOSTR("a"), 1), 0); }, "index outside"},
    {[] {
         ZoStringGetCharacters(numberAs<ZoStringRef>(), {0, 0}, nullptr);
     },
     "not a string"},
    {[] { EXPECT_EQ(ZoStringCompare(numberAs<ZoStringRef>(), ZOSTR("a"), 0), kZoCompareLessThan); }, "not a string"},
    {[] { EXPECT_EQ(ZoStringGetIntValue(numberAs<ZoStringRef>()), 0); }, "not a string"},
    {[] { EXPECT_FALSE(ZoStringGetCStringPtr(numberAs<ZoStringRef>(), kZoStringEncodingUTF8)); }, "not a string"},
    {[] { EXPECT_FALSE(ZoStringCreateCopy(nullptr, numberAs<ZoStringRef>())); }, "not a string"},
    {[] { EXPECT_FALSE(ZoStringCreateExternalRepresentation(nullptr, numberAs<ZoStringRef>(), 0, 0)); },
     "not a string"},
    {[] { EXPECT_FALSE(ZoStringCreateWithFormat(nullptr, nullptr, numberAs<ZoStringRef>())); }, "not a string"},
    {[] { ZoStringAppend(sString.get(), numberAs<ZoStringRef>()); }, "not a string"},
    {[] { ZoStringAppend(numberAs<ZoMutableStringRef>(), ZOSTR("a")); }, "not a mutable string"},
    {[] { ZoStringLowercase(numberAs<ZoMutableStringRef>(), nullptr); }, "not a mutable string"},
    {[] { ZoStringAppend(const_cast<ZoMutableStringRef>(ZOSTR("fixed")), ZOSTR("a")); }, "not a mutable string"},
    {[] {
         EXPECT_EQ(ZoStringFindAndReplace(numberAs<ZoMutableStringRef>(), ZOSTR("a"), ZOSTR("b"), {0, 1}, 0), 0);
     },
     "not a mutable string"},
    {[] { EXPECT_EQ(ZoAttributedStringGetLength(numberAs<ZoAttributedStringRef>()), 0); }, "not an attributed"},
    {[] { EXPECT_FALSE(isMember(numberAs<ZoCharacterSetRef>())); }, "not a character"},
    // dates and notifications
    {[] { EXPECT_EQ(ZoDateGetAbsoluteTime(numberAs<ZoDateRef>()), 0); }, "not a date"},
    {[] { EXPECT_FALSE(ZoLocaleGetIdentifier(numberAs<ZoLocaleRef>())); }, "not a locale"},
    {[] { EXPECT_FALSE(ZoTimeZoneGetName(numberAs<ZoTimeZoneRef>())); }, "not a time zone"},
    {[] {
         ZoAbsoluteTime at = 1;
         EXPECT_FALSE(ZoCalendarComposeAbsoluteTime(numberAs<ZoCalendarRef>(), &at, "s", 1));
     },
     "not a calendar"},
    {[] {
         int second = 1;
         EXPECT_FALSE(ZoCalendarDecomposeAbsoluteTime(numberAs<ZoCalendarRef>(), 0, "s", &second));
     },
     "not a calendar"},
    {[] {
         ZoAbsoluteTime at = 1;
         const auto formatter = numberAs<ZoDateFormatterRef>();
         EXPECT_FALSE(ZoDateFormatterGetAbsoluteTimeFromString(formatter, ZOSTR("1"), nullptr, &at));
     },
     "not a date formatter"},
    {[] {
         ZoNotificationCenterPostNotification(ZoNotificationCenterGetLocalCenter(), nullptr, nullptr, nullptr, true);
     },
     "absent name"},
};

TEST(Misuse, isReportedOrDefined)
{
    EXPECT_TRUE(ZoEqual(nullptr, nullptr));
    const ZoArrayRef array = fixedArray();  // copied before a row changes what it is a copy of
    const ZoDictionaryRef dictionary = fixedDictionary();
    expectMisuses(kRows);
    EXPECT_EQ(ZoArrayGetCount(array) + ZoDictionaryGetCount(dictionary), 2);
    EXPECT_EQ(text(sString), "text");
    EXPECT_EQ(bytesOf(sData.get()) + bytesOf(fixedData()), "datadata");
}

}  // namespace
