#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Misuse.h"

namespace {

using luvia_test::FailingAllocator;
using Values = std::vector<const void*>;

const void* plain(uintptr_t value) { return reinterpret_cast<const void*>(value); }

ZoRange whole(ZoArrayRef array) { return {0, ZoArrayGetCount(array)}; }

Values valuesOf(ZoArrayRef array)
{
    Values values(static_cast<size_t>(ZoArrayGetCount(array)));
    ZoArrayGetValues(array, whole(array), values.data());
    return values;
}

TEST(Array, agreesWithAVectorUnderRandomChanges)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 3, nullptr));
    Values model;
    for (int step = 0; step < 20000; ++step) {
        const void* value = plain(random() % 16);
        const size_t at = model.empty() ? 0 : random() % model.size();
        const auto index = static_cast<ZoIndex>(at);
        const unsigned operation = random() % 16;
        if (operation < 5) {
            ZoArrayAppendValue(array.get(), value);
            model.push_back(value);
        } else if (operation < 7) {
            ZoArrayInsertValueAtIndex(array.get(), index, value);
            model.insert(model.begin() + index, value);
        } else if (operation < 9 && !model.empty()) {
            ZoArraySetValueAtIndex(array.get(), index, value);
            model[at] = value;
        } else if (operation < 14 && !model.empty()) {
            ZoArrayRemoveValueAtIndex(array.get(), index);
            model.erase(model.begin() + index);
        } else if (operation == 14 && model.size() < 200) {  // itself, in part
            const size_t count = (model.size() - at) / 2;
            ZoArrayAppendArray(array.get(), array.get(), {index, static_cast<ZoIndex>(count)});
            const Values part(model.begin() + index, model.begin() + index + static_cast<ZoIndex>(count));
            model.insert(model.end(), part.begin(), part.end());
        } else if (random() % 100 == 0) {
            ZoArrayRemoveAllValues(array.get());
            model.clear();
        }
        ASSERT_EQ(valuesOf(array.get()), model) << "step " << step;
        const auto first = std::find(model.begin(), model.end(), value);
        const auto last = std::find(model.rbegin(), model.rend(), value);
        const ZoIndex firstIndex = first == model.end() ? kZoNotFound : first - model.begin();
        const ZoIndex lastIndex = last == model.rend() ? kZoNotFound : model.rend() - last - 1;
        ASSERT_EQ(ZoArrayGetFirstIndexOfValue(array.get(), whole(array.get()), value), firstIndex);
        ASSERT_EQ(ZoArrayGetLastIndexOfValue(array.get(), whole(array.get()), value), lastIndex);
    }
}

TEST(Array, sortsStably)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto byTens = [](const void* a, const void* b, void* context) -> ZoComparisonResult {
        ++*static_cast<int*>(context);
        const auto x = reinterpret_cast<uintptr_t>(a) / 16, y = reinterpret_cast<uintptr_t>(b) / 16;
        return x < y ? -1 : x > y;
    };
    for (size_t count = 0; count < 300; count += count < 40 ? 1 : 37) {
        Values model(count);
        for (const void*& value : model) value = plain(random() % 512);
        const auto array = zoAdopt(ZoArrayCreate(nullptr, model.data(), static_cast<ZoIndex>(count), nullptr));
        const auto sorted = zoAdopt(ZoArrayCreateMutableCopy(nullptr, 0, array.get()));
        const size_t skipped = count / 5;
        int comparisons = 0;
        ZoArraySortValues(sorted.get(), {static_cast<ZoIndex>(skipped), static_cast<ZoIndex>(count - skipped)}, byTens,
                          &comparisons);
        std::stable_sort(model.begin() + static_cast<ZoIndex>(skipped), model.end(),
                         [&](const void* a, const void* b) { return byTens(a, b, &comparisons) < 0; });
        EXPECT_EQ(valuesOf(sorted.get()), model) << count;
    }
}

TEST(Array, sortsStringsWithTheirOwnComparison)
{
    const void* words[] = {ZOSTR("red"), ZOSTR("blue"), ZOSTR("green")};
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    for (const void* word : words) ZoArrayAppendValue(array.get(), word);
    ZoArraySortValues(
        array.get(), whole(array.get()),
        [](const void* a, const void* b, void*) {
            return ZoStringCompare(static_cast<ZoStringRef>(a), static_cast<ZoStringRef>(b), 0);
        },
        nullptr);
    const Values expected = {words[1], words[2], words[0]};
    EXPECT_EQ(valuesOf(array.get()), expected);
}

TEST(Array, retainsItsObjectsAndComparesThemByValue)
{
    const double real = 7e9;
    const int64_t whole64 = 7000000000;
    auto asReal = zoAdopt(ZoNumberCreate(nullptr, kZoNumberDoubleType, &real));
    auto asWhole = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &whole64));
    const void *a = asReal.get(), *b = asWhole.get();
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    ZoArrayAppendValue(array.get(), a);
    EXPECT_EQ(ZoGetRetainCount(a), 2);
    EXPECT_TRUE(ZoArrayContainsValue(array.get(), {0, 1}, b));
    EXPECT_FALSE(ZoArrayContainsValue(array.get(), {1, 0}, b));
    auto copy = zoAdopt(ZoArrayCreateCopy(nullptr, array.get()));
    EXPECT_EQ(ZoGetRetainCount(a), 3);
    ZoArraySetValueAtIndex(array.get(), 0, b);
    EXPECT_EQ(ZoArrayGetValueAtIndex(copy.get(), 0), a) << "a copy is not changed";
    EXPECT_TRUE(ZoEqual(array.get(), copy.get()));
    EXPECT_EQ(ZoHash(array.get()), ZoHash(copy.get()));
    ZoArrayAppendValue(array.get(), a);
    EXPECT_FALSE(ZoEqual(array.get(), copy.get()));
    ZoArrayRemoveAllValues(array.get());
    copy.reset();
    EXPECT_EQ(ZoGetRetainCount(a), 1);
    EXPECT_EQ(ZoGetRetainCount(b), 1);
}

// Release callbacks are foreign code; they find the array in order.
TEST(Array, isWholeWhileItReleases)
{
    static ZoMutableArrayRef array;
    static std::vector<ZoIndex> counts;
    counts.clear();
    const ZoArrayCallBacks callBacks = {
        .release = [](ZoAllocatorRef, const void*) { counts.push_back(ZoArrayGetCount(array)); }};
    array = ZoArrayCreateMutable(nullptr, 0, &callBacks);
    for (uintptr_t i = 1; i <= 4; ++i) ZoArrayAppendValue(array, plain(i));
    ZoArrayRemoveValueAtIndex(array, 0);
    ZoArrayRemoveAllValues(array);
    EXPECT_EQ(counts, (std::vector<ZoIndex>{3, 0, 0, 0}));
    ZoRelease(array);
}

TEST(Array, staysAsItWasWhenMemoryFails)
{
    EXPECT_GE(luvia_test::sweepAllocationFailures([](FailingAllocator& allocator) {
                  auto array = zoAdopt(ZoArrayCreateMutable(allocator.get(), 2, &kZoTypeArrayCallBacks));
                  if (!array) return;
                  Values model;
                  for (int i = 0; i < 40; ++i) {
                      ZoArrayAppendValue(array.get(), i % 2 ? static_cast<const void*>(kZoNull) : kZoBooleanTrue);
                      if (ZoArrayGetCount(array.get()) > static_cast<ZoIndex>(model.size()))
                          model.push_back(i % 2 ? static_cast<const void*>(kZoNull) : kZoBooleanTrue);
                      EXPECT_EQ(valuesOf(array.get()), model);
                  }
                  auto copy = zoAdopt(ZoArrayCreateCopy(allocator.get(), array.get()));
                  auto mutableCopy = zoAdopt(ZoArrayCreateMutableCopy(allocator.get(), 0, array.get()));
              }),
              6);
    EXPECT_MISUSE(EXPECT_EQ(ZoArrayCreate(nullptr, nullptr, 3, nullptr), nullptr), "absent values");
}

TEST(Array, misuseIsReportedOrDefined)
{
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    ZoArrayAppendValue(array.get(), kZoNull);
    for (ZoIndex index : {ZoIndex{-1}, ZoIndex{1}, INTPTR_MAX, INTPTR_MIN}) {
        EXPECT_MISUSE(EXPECT_EQ(ZoArrayGetValueAtIndex(array.get(), index), nullptr), "index outside");
        EXPECT_MISUSE(ZoArrayRemoveValueAtIndex(array.get(), index), "index outside");
    }
    const void* out = kZoBooleanTrue;
    EXPECT_MISUSE(ZoArrayGetValues(array.get(), {0, 2}, &out), "range outside");
    EXPECT_EQ(out, kZoBooleanTrue);
    EXPECT_MISUSE(EXPECT_EQ(ZoArrayGetCount(reinterpret_cast<ZoArrayRef>(kZoNull)), 0), "not an array");
    EXPECT_MISUSE(ZoArrayAppendValue(array.get(), nullptr), "absent object");
    auto fixed = zoAdopt(ZoArrayCreateCopy(nullptr, array.get()));
    const ZoIndex count = ZoArrayGetCount(fixed.get());
    EXPECT_MISUSE(ZoArrayAppendValue(const_cast<ZoMutableArrayRef>(fixed.get()), kZoNull), "not mutable");
    EXPECT_EQ(ZoArrayGetCount(fixed.get()), count);
}

}  // namespace
