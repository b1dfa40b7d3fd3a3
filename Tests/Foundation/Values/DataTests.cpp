#include <gtest/gtest.h>

#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

namespace {

TEST(Data, agreesWithAStringUnderRandomChanges)
{
    SeededRandom random;
    auto data = zoAdopt(ZoDataCreateMutable(nullptr, 0));
    std::string model;
    for (int step = 0; step < 20000; ++step) {
        if (model.size() > 4096) {
            ZoDataSetLength(data.get(), 0);
            model.clear();
        }
        const size_t at = random.below(model.size() + 1), length = random.below(model.size() - at + 1);
        const ZoRange range = {static_cast<ZoIndex>(at), static_cast<ZoIndex>(length)};
        std::string fresh(random.below(40), '\0');
        for (char& byte : fresh) byte = static_cast<char>(random());
        const auto* bytes = reinterpret_cast<const uint8_t*>(fresh.data());
        const auto count = static_cast<ZoIndex>(fresh.size());
        switch (random.below(6)) {
            case 0:
                ZoDataAppendBytes(data.get(), bytes, count);
                model += fresh;
                break;
            case 1:
                ZoDataDeleteBytes(data.get(), range);
                model.erase(at, length);
                break;
            case 2:
                ZoDataReplaceBytes(data.get(), range, bytes, count);
                model.replace(at, length, fresh);
                break;
            case 3:  // bytes of the data itself
                ZoDataReplaceBytes(data.get(), {0, range.location / 2}, ZoDataGetBytePtr(data.get()) + at,
                                   range.length);
                model.replace(0, at / 2, std::string(model, at, length));
                break;
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
    const auto same = dataOf(model);
    EXPECT_TRUE(ZoEqual(data.get(), same.get()));
    EXPECT_EQ(ZoHash(data.get()), ZoHash(same.get()));
    EXPECT_FALSE(ZoEqual(data.get(), dataOf(model + "x").get()));
    EXPECT_FALSE(ZoEqual(dataOf(std::string(500, 'x') + "a" + std::string(500, 'x')).get(),
                         dataOf(std::string(500, 'x') + "b" + std::string(500, 'x')).get()));
    EXPECT_EQ(ZoHash(dataOf("").get()), ZoHash(zoAdopt(ZoDataCreateMutable(nullptr, 0)).get()));
}

TEST(Data, copiesShareNothingThatCanChange)
{
    auto original = zoAdopt(ZoDataCreateMutableCopy(nullptr, 100, dataOf("abc").get()));
    auto frozen = zoAdopt(ZoDataCreateCopy(nullptr, original.get()));
    auto other = zoAdopt(ZoDataCreateMutableCopy(nullptr, 0, original.get()));
    ZoDataGetMutableBytePtr(original.get())[0] = 'X';
    EXPECT_EQ(bytesOf(frozen.get()) + bytesOf(other.get()), "abcabc");

    uint8_t borrowed[] = {'a', 'b', 'c'};
    auto view = zoAdopt(ZoDataCreateWithBytesNoCopy(nullptr, borrowed, 3, kZoAllocatorNull));
    EXPECT_EQ(ZoDataGetBytePtr(view.get()), borrowed);
    auto copyOfView = zoAdopt(ZoDataCreateCopy(nullptr, view.get()));
    borrowed[0] = 'X';
    EXPECT_EQ(bytesOf(copyOfView.get()), "abc") << "the borrowed bytes may go before the copy";
    FailingAllocator allocator;
    auto elsewhere = zoAdopt(ZoDataCreateCopy(allocator.get(), copyOfView.get()));
    EXPECT_EQ(ZoGetAllocator(elsewhere.get()), allocator.get());
}

// The block buffers lend their memory in this way.
TEST(Data, theDeallocatorMayReleaseAnotherObject)
{
    const auto owner = number(1 << 20);
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
    EXPECT_EQ(ZoDataCreate(nullptr, bytes, INTPTR_MAX), nullptr);
    EXPECT_NE(zoAdopt(ZoDataCreateMutable(nullptr, INTPTR_MAX)).get(), nullptr) << "a capacity is only a hint";
}

}  // namespace
