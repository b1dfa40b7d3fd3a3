#include <gtest/gtest.h>

#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Values/ZoError.h"
#include "Tests/Support/Objects.h"

using namespace luvia_test;

namespace {

std::string describe(ZoTypeRef object) { return textOf(ZoCopyDescription(object)); }

TEST(Description, isTheSameForEqualContents)
{
    uint8_t bytes[100] = {0x0a, 0xff};
    const void* values[] = {ZOSTR("a"), kZoNull};
    const void* keys[] = {ZOSTR("first"), ZOSTR("second")};
    const void* numbers[] = {kZoBooleanFalse};
    auto inner = zoAdopt<ZoTypeRef>(ZoArrayCreate(nullptr, values, 2, &kZoTypeArrayCallBacks));
    const void* nested[] = {inner.get(), inner.get()};
    const void* pointers[] = {bytes};
    const ZoSInt128 least = {INT64_MIN, 0};
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
        {zoAdopt<ZoTypeRef>(number(INT64_MIN).release()), "-9223372036854775808"},
        {zoAdopt<ZoTypeRef>(ZoNumberCreate(nullptr, kZoNumberSInt128Type, &least)),
         "-170141183460469231731687303715884105728"},
        {zoAdopt<ZoTypeRef>(real(0.1).release()), "0.1"},
        {zoAdopt<ZoTypeRef>(real(1e300).release()), "1e+300"},
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
