#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Misuse.h"

namespace {

using luvia_test::FailingAllocator;
using Bytes = std::vector<uint8_t>;

Bytes bytesOf(ZoDataRef data)
{
    const uint8_t* bytes = ZoDataGetBytePtr(data);
    return Bytes(bytes, bytes + ZoDataGetLength(data));
}

ZoRef<ZoDataRef> makeData(const Bytes& bytes)
{
    return zoAdopt(ZoDataCreate(nullptr, bytes.data(), static_cast<ZoIndex>(bytes.size())));
}

TEST(Data, agreesWithAVectorUnderRandomChanges)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](size_t limit) { return limit ? static_cast<size_t>(random()) % limit : 0; };
    auto data = zoAdopt(ZoDataCreateMutable(nullptr, 0));
    Bytes model;
    for (int step = 0; step < 20000; ++step) {
        if (model.size() > 4096) {
            ZoDataSetLength(data.get(), 0);
            model.clear();
        }
        const size_t at = below(model.size() + 1), length = below(model.size() - at + 1);
        const ZoRange range = {static_cast<ZoIndex>(at), static_cast<ZoIndex>(length)};
        const auto first = model.begin() + range.location, last = first + range.length;
        Bytes fresh(below(40));
        for (uint8_t& byte : fresh) byte = static_cast<uint8_t>(random());
        const auto count = static_cast<ZoIndex>(fresh.size());
        switch (random() % 6) {
            case 0:
                ZoDataAppendBytes(data.get(), fresh.data(), count);
                model.insert(model.end(), fresh.begin(), fresh.end());
                break;
            case 1:
                ZoDataDeleteBytes(data.get(), range);
                model.erase(first, last);
                break;
            case 2:
                ZoDataReplaceBytes(data.get(), range, fresh.data(), count);
                model.insert(model.erase(first, last), fresh.begin(), fresh.end());
                break;
            case 3: {  // bytes of the data itself
                const Bytes own(first, last);
                ZoDataReplaceBytes(data.get(), {0, range.location / 2}, ZoDataGetBytePtr(data.get()) + at,
                                   range.length);
                model.insert(model.erase(model.begin(), model.begin() + range.location / 2), own.begin(), own.end());
                break;
            }
            case 4:
                ZoDataIncreaseLength(data.get(), count);
                model.resize(model.size() + fresh.size());
                break;
            default:
                ZoDataSetLength(data.get(), range.location + count);
                model.resize(at + fresh.size());
                break;
        }
        ASSERT_EQ(bytesOf(data.get()), model) << "step " << step;
    }
}

TEST(Data, copiesShareNothingThatCanChange)
{
    const Bytes abc = {'a', 'b', 'c'};
    auto original = zoAdopt(ZoDataCreateMutableCopy(nullptr, 100, makeData(abc).get()));
    auto frozen = zoAdopt(ZoDataCreateCopy(nullptr, original.get()));
    auto other = zoAdopt(ZoDataCreateMutableCopy(nullptr, 0, original.get()));
    ZoDataGetMutableBytePtr(original.get())[0] = 'X';
    EXPECT_EQ(bytesOf(frozen.get()), abc);
    EXPECT_EQ(bytesOf(other.get()), abc);

    uint8_t borrowed[] = {'a', 'b', 'c'};
    auto view = zoAdopt(ZoDataCreateWithBytesNoCopy(nullptr, borrowed, 3, kZoAllocatorNull));
    EXPECT_EQ(ZoDataGetBytePtr(view.get()), borrowed);
    auto copyOfView = zoAdopt(ZoDataCreateCopy(nullptr, view.get()));
    borrowed[0] = 'X';
    EXPECT_EQ(bytesOf(copyOfView.get()), abc) << "the borrowed bytes may go before the copy";
    FailingAllocator allocator;
    auto elsewhere = zoAdopt(ZoDataCreateCopy(allocator.get(), copyOfView.get()));
    EXPECT_EQ(ZoGetAllocator(elsewhere.get()), allocator.get());
}

TEST(Data, comparesByContents)
{
    Bytes large(1000, 7);
    auto a = makeData(large), b = makeData(large);
    large[500] ^= 1;
    auto c = makeData(large);
    EXPECT_TRUE(ZoEqual(a.get(), b.get()));
    EXPECT_EQ(ZoHash(a.get()), ZoHash(b.get()));
    EXPECT_FALSE(ZoEqual(a.get(), c.get()));
    auto empty = makeData({});
    auto mutableEmpty = zoAdopt(ZoDataCreateMutable(nullptr, 0));
    EXPECT_TRUE(ZoEqual(empty.get(), mutableEmpty.get()));
    EXPECT_EQ(ZoHash(empty.get()), ZoHash(mutableEmpty.get()));
}

// The block buffers lend their memory in this way.
TEST(Data, theDeallocatorMayReleaseAnotherObject)
{
    int64_t big = 1 << 20;
    auto owner = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &big));
    ZoAllocatorContext context = {};
    context.info = const_cast<void*>(static_cast<const void*>(ZoRetain(owner.get())));
    context.deallocate = [](void*, void* info) { ZoRelease(info); };
    ZoAllocatorRef deallocator = ZoAllocatorCreate(nullptr, &context);
    static const uint8_t bytes[4] = {1, 2, 3, 4};
    auto data = zoAdopt(ZoDataCreateWithBytesNoCopy(nullptr, bytes, 4, deallocator));
    ZoRelease(deallocator);
    auto copy = zoAdopt(ZoDataCreateCopy(nullptr, data.get()));
    data.reset();
    EXPECT_EQ(ZoGetRetainCount(owner.get()), 2);
    copy.reset();
    EXPECT_EQ(ZoGetRetainCount(owner.get()), 1);

    // Absent: the bytes are malloc's.
    ZoRelease(ZoDataCreateWithBytesNoCopy(nullptr, static_cast<uint8_t*>(std::malloc(16)), 16, nullptr));
}

TEST(Data, staysAsItWasWhenMemoryFails)
{
    EXPECT_GE(luvia_test::sweepAllocationFailures([](FailingAllocator& allocator) {
                  auto data = zoAdopt(ZoDataCreateMutable(allocator.get(), 8));
                  if (!data) return;
                  Bytes model;
                  for (uint8_t i = 0; i < 200; ++i) {
                      const ZoIndex before = ZoDataGetLength(data.get());
                      ZoDataAppendBytes(data.get(), &i, 1);
                      if (ZoDataGetLength(data.get()) > before) model.push_back(i);
                      EXPECT_EQ(bytesOf(data.get()), model);
                  }
                  EXPECT_GE(model.size(), allocator.hasFailed() ? 199u : 200u);
                  auto copy = zoAdopt(ZoDataCreateCopy(allocator.get(), data.get()));
                  auto mutableCopy = zoAdopt(ZoDataCreateMutableCopy(allocator.get(), 0, data.get()));
              }),
              6);
    EXPECT_EQ(ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(""), INTPTR_MAX), nullptr);
    EXPECT_NE(zoAdopt(ZoDataCreateMutable(nullptr, INTPTR_MAX)).get(), nullptr) << "a capacity is only a hint";
}

TEST(Data, misuseIsReportedOrDefined)
{
    auto data = zoAdopt(ZoDataCreateMutable(nullptr, 0));
    uint8_t bytes[4] = {9, 9, 9, 9};
    ZoDataAppendBytes(data.get(), bytes, 4);
    const auto notData = reinterpret_cast<ZoMutableDataRef>(const_cast<void*>(static_cast<const void*>(kZoNull)));
    EXPECT_MISUSE(EXPECT_EQ(ZoDataGetLength(notData), 0), "not a data object");
    EXPECT_MISUSE(EXPECT_EQ(ZoDataGetBytePtr(nullptr), nullptr), "not a data object");
    for (ZoRange range : {ZoRange{-1, 1}, ZoRange{5, 0}, ZoRange{4, 1}, ZoRange{1, INTPTR_MAX}, ZoRange{0, -1}}) {
        uint8_t out[4] = {1, 2, 3, 4};
        EXPECT_MISUSE(ZoDataGetBytes(data.get(), range, out), "range outside");
        EXPECT_EQ(out[0], 1);
        EXPECT_MISUSE(ZoDataDeleteBytes(data.get(), range), "range outside");
    }
    EXPECT_MISUSE(ZoDataIncreaseLength(data.get(), INTPTR_MAX), "the length overflows");
    EXPECT_MISUSE(ZoDataSetLength(data.get(), -1), "negative length");
    auto fixed = zoAdopt(ZoDataCreateCopy(nullptr, data.get()));
    const auto notMutable = const_cast<ZoMutableDataRef>(fixed.get());
    EXPECT_MISUSE(ZoDataSetLength(notMutable, 0), "not mutable");
    EXPECT_MISUSE(EXPECT_EQ(ZoDataGetMutableBytePtr(notMutable), nullptr), "not mutable");
    EXPECT_EQ(ZoDataGetLength(data.get()), 4);
    EXPECT_EQ(ZoDataGetLength(fixed.get()), 4);
}

}  // namespace
