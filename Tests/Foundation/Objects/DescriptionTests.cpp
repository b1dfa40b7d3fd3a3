#include <gtest/gtest.h>

#include <string>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoError.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

std::string describe(ZoTypeRef object)
{
    const auto text = zoAdopt(ZoCopyDescription(object));
    std::string out(static_cast<size_t>(ZoStringGetLength(text.get())) * 4 + 1, '\0');
    EXPECT_TRUE(ZoStringGetCString(text.get(), out.data(), static_cast<ZoIndex>(out.size()), kZoStringEncodingUTF8));
    return out.c_str();
}

template <typename T>
ZoRef<ZoTypeRef> number(ZoNumberType type, T value)
{
    return zoAdopt<ZoTypeRef>(ZoNumberCreate(nullptr, type, &value));
}

TEST(Description, isTheSameForEqualContents)
{
    uint8_t bytes[100] = {0x0a, 0xff};
    const void* values[] = {ZOSTR("a"), kZoNull};
    const void* keys[] = {ZOSTR("first"), ZOSTR("second")};
    const void* numbers[] = {kZoBooleanFalse};
    auto inner = zoAdopt<ZoTypeRef>(ZoArrayCreate(nullptr, values, 2, &kZoTypeArrayCallBacks));
    const void* nested[] = {inner.get(), inner.get()};
    const void* pointers[] = {bytes};
    const ZoAllocatorContext context = {.copyDescription = [](const void*) { return ZOSTR("a pool"); }};
    const struct {
        ZoRef<ZoTypeRef> object;
        std::string text;
    } rows[] = {
        {ZoRef<ZoTypeRef>::retain(ZOSTR("text")), "text"},
        {ZoRef<ZoTypeRef>::retain(kZoNull), "null"},
        {ZoRef<ZoTypeRef>::retain(kZoBooleanTrue), "true"},
        {ZoRef<ZoTypeRef>::retain(kZoAllocatorDefault), "<ZoAllocator>"},
        {zoAdopt<ZoTypeRef>(ZoAllocatorCreate(nullptr, &context)), "a pool"},
        {number(kZoNumberSInt64Type, INT64_MIN), "-9223372036854775808"},
        {number(kZoNumberSInt128Type, ZoSInt128{INT64_MIN, 0}), "-170141183460469231731687303715884105728"},
        {number(kZoNumberDoubleType, 0.1), "0.1"},
        {number(kZoNumberDoubleType, 1e300), "1e+300"},
        {zoAdopt<ZoTypeRef>(ZoDataCreate(nullptr, bytes, 0)), "<0 bytes>"},
        {zoAdopt<ZoTypeRef>(ZoDataCreate(nullptr, bytes, 1)), "<1 byte: 0a>"},
        {zoAdopt<ZoTypeRef>(ZoDataCreate(nullptr, bytes, 100)), "<100 bytes: 0aff" + std::string(124, '0') + "...>"},
        {zoAdopt<ZoTypeRef>(ZoArrayCreate(nullptr, nested, 2, &kZoTypeArrayCallBacks)),
         "[[\"a\", null], [\"a\", null]]"},
        {zoAdopt<ZoTypeRef>(ZoArrayCreate(nullptr, pointers, 1, nullptr)), "[(pointer)]"},
        {zoAdopt<ZoTypeRef>(ZoSetCreate(nullptr, numbers, 1, &kZoTypeSetCallBacks)), "(false)"},
        {zoAdopt<ZoTypeRef>(ZoDictionaryCreate(nullptr, keys, values, 2, &kZoTypeDictionaryKeyCallBacks,
                                               &kZoTypeDictionaryValueCallBacks)),
         "{\"first\" = \"a\", \"second\" = null}"},
        {zoAdopt<ZoTypeRef>(ZoErrorCreate(nullptr, ZOSTR("files"), -5, nullptr)), "files error -5"},
    };
    for (const auto& row : rows) EXPECT_EQ(describe(row.object.get()), row.text);
}

TEST(Description, ofWhatHoldsItselfEnds)
{
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    for (int i = 0; i < 3; ++i) ZoArrayAppendValue(array.get(), array.get());
    const std::string text = describe(array.get());
    EXPECT_LT(text.size(), 1000000u);
    EXPECT_NE(text.find("..."), std::string::npos);
    EXPECT_EQ(describe(array.get()), text);
    ZoArrayRemoveAllValues(array.get());
    EXPECT_EQ(describe(array.get()), "[]");
}

}  // namespace
