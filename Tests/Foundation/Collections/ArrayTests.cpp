#include <gtest/gtest.h>

#include <algorithm>

#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

namespace {

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
    SeededRandom random;
    auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 3, nullptr));
    Values model;
    for (int step = 0; step < 20000; ++step) {
        const void* value = plain(random.below(16));
        const size_t at = random.below(model.size());
        const auto index = static_cast<ZoIndex>(at);
        const size_t operation = random.below(16);
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
            const auto count = static_cast<ZoIndex>((model.size() - at) / 2);
            ZoArrayAppendArray(array.get(), array.get(), {index, count});
            const Values part(model.begin() + index, model.begin() + index + count);
            model.insert(model.end(), part.begin(), part.end());
        } else if (random.below(100) == 0) {
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
    SeededRandom random;
    const auto byTens = [](const void* a, const void* b, void* context) -> ZoComparisonResult {
        ++*static_cast<int*>(context);
        const auto x = reinterpret_cast<uintptr_t>(a) / 16, y = reinterpret_cast<uintptr_t>(b) / 16;
        return x < y ? -1 : x > y;
    };
    for (ZoIndex count = 0; count < 300; count += count < 40 ? 1 : 37) {
        Values model(static_cast<size_t>(count));
        for (const void*& value : model) value = plain(random.below(512));
        const auto array = zoAdopt(ZoArrayCreate(nullptr, model.data(), count, nullptr));
        const auto sorted = zoAdopt(ZoArrayCreateMutableCopy(nullptr, 0, array.get()));
        const ZoIndex skipped = count / 5;
        int comparisons = 0;
        ZoArraySortValues(sorted.get(), {skipped, count - skipped}, byTens, &comparisons);
        std::stable_sort(model.begin() + skipped, model.end(),
                         [&](const void* a, const void* b) { return byTens(a, b, &comparisons) < 0; });
        EXPECT_EQ(valuesOf(sorted.get()), model) << count;
    }
}

TEST(Array, retainsItsObjectsAndComparesThemByValue)
{
    const auto asReal = real(7e9);
    const auto asWhole = number(7000000000);
    const void *a = asReal.get(), *b = asWhole.get();
    auto values = array({a});
    EXPECT_EQ(ZoGetRetainCount(a), 2);
    EXPECT_TRUE(ZoArrayContainsValue(values.get(), {0, 1}, b));
    EXPECT_FALSE(ZoArrayContainsValue(values.get(), {1, 0}, b));
    auto copy = zoAdopt(ZoArrayCreateCopy(nullptr, values.get()));
    EXPECT_EQ(ZoGetRetainCount(a), 3);
    ZoArraySetValueAtIndex(values.get(), 0, b);
    EXPECT_EQ(ZoArrayGetValueAtIndex(copy.get(), 0), a) << "a copy is not changed";
    EXPECT_TRUE(ZoEqual(values.get(), copy.get()));
    EXPECT_EQ(ZoHash(values.get()), ZoHash(copy.get()));
    ZoArrayAppendValue(values.get(), a);
    EXPECT_FALSE(ZoEqual(values.get(), copy.get()) || ZoEqual(copy.get(), values.get()));
    ZoArrayRemoveAllValues(values.get());
    copy.reset();
    EXPECT_EQ(ZoGetRetainCount(a), 1);
    EXPECT_EQ(ZoGetRetainCount(b), 1);
}

// Callbacks are foreign code: a release finds the array in order, and a retain may have nothing to give.
TEST(Array, isWholeWhileItsCallbacksRun)
{
    static ZoMutableArrayRef array;
    static std::vector<ZoIndex> counts;
    const ZoArrayCallBacks callBacks = {
        .retain = [](ZoAllocatorRef, const void* value) { return value == plain(9) ? nullptr : value; },
        .release = [](ZoAllocatorRef, const void*) { counts.push_back(ZoArrayGetCount(array)); }};
    array = ZoArrayCreateMutable(nullptr, 0, &callBacks);
    for (uintptr_t i = 1; i <= 4; ++i) ZoArrayAppendValue(array, plain(i));
    ZoArrayRemoveValueAtIndex(array, 0);
    const void* values[] = {plain(1), plain(2), plain(9)};
    const auto other = zoAdopt(ZoArrayCreate(nullptr, values, 3, nullptr));
    ZoArrayAppendArray(array, other.get(), {0, 3});  // two are given back
    ZoArrayRemoveAllValues(array);
    EXPECT_EQ(counts, (std::vector<ZoIndex>{3, 3, 3, 0, 0, 0}));
    ZoRelease(array);
}

}  // namespace
