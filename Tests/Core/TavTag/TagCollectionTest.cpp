#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "Foundation/Text/ZoString.h"
#include "Tests/Core/TavTag/Tags.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

using Values = std::vector<int64_t>;

struct TagLess {
    bool operator()(const LuTag& a, const LuTag& b) const { return LuTagCompare(a, b) < 0; }
};

// Random operations beside a sorted set.
TEST(TagCollection, behavesAsASortedSetDoes)
{
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto randomTag = [&random] {
        const LuTagCategory category = 'a' + random() % 3;
        return random() % 2 ? LuTagMakeWithFlagsValue(category, random() % 12)
                            : LuTagMakeWithFloat64Value(category, random() % 12 / 2.0 - 2);
    };
    Collection collection = collectionOf({});
    std::set<LuTag, TagLess> model;
    for (int step = 0; step < 10000; ++step) {
        const LuTag tag = randomTag();
        switch (random() % 12) {
            case 0: {
                EXPECT_EQ(LuTagCollectionRemoveAllTagsOfCategory(collection.get(), tag.category), 0);
                std::erase_if(model, [&](const LuTag& other) { return other.category == tag.category; });
                break;
            }
            case 1:
            case 2:
                EXPECT_EQ(LuTagCollectionRemoveTag(collection.get(), tag),
                          model.erase(tag) ? 0 : kLuTagCollectionError_TagNotFound);
                break;
            case 3:
                if (random() % 8 == 0) {
                    EXPECT_EQ(LuTagCollectionRemoveAllTags(collection.get()), 0);
                    model.clear();
                }
                break;
            case 4: {
                std::vector<LuTag> many;
                for (size_t n = random() % 100; n > 0; --n) many.push_back(randomTag());
                model.insert(many.begin(), many.end());
                EXPECT_EQ(LuTagCollectionAddTagsFromCollection(collection.get(), collectionOf(many).get()), 0);
                break;
            }
            default: EXPECT_EQ(LuTagCollectionAddTag(collection.get(), tag), 0); model.insert(tag);
        }
        const std::vector<LuTag> tags = tagsOf(collection.get());
        ASSERT_TRUE(std::equal(tags.begin(), tags.end(), model.begin(), model.end(), LuTagEqualToTag)) << step;
        ASSERT_EQ(LuTagCollectionContainsTag(collection.get(), tag), model.count(tag) == 1);
    }
}

TEST(TagCollection, combinesSets)
{
    const auto a = collectionOf(numbers(1, 20)), b = collectionOf(numbers(11, 30)), empty = collectionOf({});
    const auto range = [](int64_t first, int64_t count) {
        Values out;
        for (int64_t n = first; n < first + count; ++n) out.push_back(n);
        return out;
    };
    struct Row {
        const char* what;
        OSStatus (*create)(LuTagCollectionRef, LuTagCollectionRef, LuMutableTagCollectionRef*);
        Values ofBoth, ofSame;
    };
    Values either = range(1, 10);
    for (int64_t n : range(21, 20)) either.push_back(n);
    const Row rows[] = {
        {"intersection", LuTagCollectionCreateIntersection, range(11, 10), range(1, 20)},
        {"union", LuTagCollectionCreateUnion, range(1, 40), range(1, 20)},
        {"difference", LuTagCollectionCreateDifference, range(1, 10), {}},
        {"exclusive or", LuTagCollectionCreateExclusiveOr, either, {}},
    };
    for (const Row& row : rows) {
        Collection result;
        EXPECT_EQ(row.create(a.get(), b.get(), result.outParam()), 0);
        EXPECT_EQ(valuesOf(result.get()), row.ofBoth) << row.what;
        EXPECT_EQ(LuTagCollectionAddTag(result.get(), numbered(0)), 0) << "the result is mutable";
        EXPECT_EQ(row.create(a.get(), a.get(), result.outParam()), 0);
        EXPECT_EQ(valuesOf(result.get()), row.ofSame) << row.what;
        SignalProbe probe;
        EXPECT_EQ(row.create(nullptr, b.get(), result.outParam()), kLuTagCollectionError_ParamErr);
        EXPECT_EQ(probe.message(), "tagCollection2 is NULL or not a LuTagCollection");
        EXPECT_EQ(row.create(a.get(), b.get(), nullptr), kLuTagCollectionError_ParamErr);
        sweepAllocationFailures([&](FailingAllocator& allocator) {
            Collection first, out;
            if (LuTagCollectionCreateMutableCopy(a.get(), allocator.get(), first.outParam()) != 0) return;
            const OSStatus status = row.create(first.get(), b.get(), out.outParam());
            EXPECT_EQ(status == 0, static_cast<bool>(out));
        });
    }
}

TEST(TagCollection, growsOutOfItsInlineStorageAndBack)
{
    Collection collection = collectionOf(numbers(0, 16));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(LuTagCollectionAddTag(collection.get(), numbered(16)), 0);
        EXPECT_EQ(LuTagCollectionGetCount(collection.get()), 17);
        EXPECT_EQ(TavTagCollectionRemoveAllTags(collection.get()), 0);
        EXPECT_TRUE(LuTagCollectionIsEmpty(collection.get()));
        for (const LuTag& tag : numbers(0, 16)) EXPECT_EQ(LuTagCollectionAddTag(collection.get(), tag), 0);
    }
    // Where the seventeenth finds no memory, the sixteen stay.
    FailingAllocator allocator;
    Collection failing;
    const auto sixteen = numbers(0, 16);
    LuTagCollectionCreateMutable(allocator.get(), 0, failing.outParam());
    LuTagCollectionAddTagsFromArray(failing.get(), sixteen.data(), 16);
    allocator.failAt(1);
    EXPECT_EQ(LuTagCollectionAddTag(failing.get(), numbered(99)), kLuTagCollectionError_AllocationFailed);
    EXPECT_EQ(LuTagCollectionGetCount(failing.get()), 16);
    EXPECT_EQ(LuTagCollectionAddTag(failing.get(), numbered(99)), 0);
    LuTagCollectionRef copy = nullptr;
    EXPECT_EQ(LuTagCollectionCreateCopy(failing.get(), allocator.get(), &copy), 0);
    EXPECT_TRUE(ZoEqual(copy, failing.get()));
    EXPECT_NE(ZoHash(copy), ZoHash(failing.get())) << "whether it is mutable is in the hash";
    ZoRelease(copy);
}

TEST(TagCollection, hashesAsEver)
{
    LuTagCollectionRef immutable = nullptr;
    LuTagCollectionCreate(nullptr, &kLuTagMediaTypeVideo, 1, &immutable);
    EXPECT_EQ(ZoHash(immutable), 0xad70a682d08u);
    EXPECT_EQ(ZoHash(collectionOf({kLuTagMediaTypeVideo}).get()), 0xad7f7ba4a08u);
    ZoRelease(immutable);
}

TEST(TagCollection, answersQuestions)
{
    const auto collection = collectionOf({kLuTagStereoLeftEye, kLuTagMediaTypeVideo, kLuTagStereoRightEye});
    const auto part = collectionOf({kLuTagStereoLeftEye}), empty = collectionOf({});
    const LuTag wanted[] = {kLuTagStereoLeftEye, kLuTagPackingTypeNone};
    EXPECT_TRUE(LuTagCollectionContainsTagsOfCollection(collection.get(), part.get()));
    EXPECT_FALSE(LuTagCollectionContainsTagsOfCollection(part.get(), collection.get()));
    EXPECT_TRUE(LuTagCollectionContainsTagsOfCollection(part.get(), empty.get()));
    EXPECT_TRUE(LuTagCollectionContainsTagsOfCollection(part.get(), nullptr));
    EXPECT_TRUE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, 1));
    EXPECT_FALSE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, 2));
    EXPECT_TRUE(LuTagCollectionContainsSpecifiedTags(empty.get(), wanted, 0));
    EXPECT_FALSE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, -1));
    EXPECT_TRUE(LuTagCollectionContainsCategory(empty.get(), 0));
    EXPECT_FALSE(LuTagCollectionContainsCategory(empty.get(), kLuTagStereoNone.category));
    EXPECT_EQ(LuTagCollectionGetCountOfCategory(collection.get(), kLuTagStereoNone.category), 2);
    const auto isVideo = [](LuTag tag, void*) -> Boolean { return LuTagEqualToTag(tag, kLuTagMediaTypeVideo); };
    EXPECT_EQ(LuTagCollectionCountTagsWithFilterFunction(collection.get(), isVideo, nullptr), 1);
    EXPECT_TRUE(LuTagEqualToTag(LuTagCollectionApplyUntil(collection.get(), isVideo, nullptr), kLuTagMediaTypeVideo));
    EXPECT_TRUE(LuTagEqualToTag(LuTagCollectionApplyUntil(part.get(), isVideo, nullptr), kLuTagInvalid));
    const LuTagCategory categories[] = {kLuTagMediaTypeVideo.category, fourCC("none")};
    Collection chosen;
    EXPECT_EQ(LuTagCollectionCopyTagsOfCategories(nullptr, collection.get(), categories, 2, chosen.outParam()), 0);
    EXPECT_EQ(LuTagCollectionGetCount(chosen.get()), 1);
    EXPECT_EQ(LuTagCollectionCopyTagsOfCategories(nullptr, collection.get(), categories, 0, chosen.outParam()),
              kLuTagCollectionError_ParamErr);
}

TEST(TagCollection, fillsBuffers)
{
    const auto collection = collectionOf(numbers(1, 3));
    LuTag tags[5];
    ZoIndex copied = 99;
    std::fill_n(tags, 5, numbered(77));
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags, 2, &copied), kLuTagCollectionError_ExhaustedBufferSize);
    EXPECT_EQ(copied, 2);
    EXPECT_TRUE(LuTagEqualToTag(tags[2], numbered(77)));
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags, 5, &copied), 0);
    EXPECT_EQ(copied, 3);
    EXPECT_TRUE(LuTagEqualToTag(tags[2], numbered(3)));
    EXPECT_TRUE(LuTagEqualToTag(tags[3], kLuTagInvalid));
    EXPECT_TRUE(LuTagEqualToTag(tags[4], kLuTagInvalid));
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags, 3, nullptr), 0) << "exactly full is not exhausted";
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), nullptr, 3, &copied), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(copied, 0);
    EXPECT_EQ(LuTagCollectionGetTagsWithCategory(collection.get(), 1, tags, 5, &copied), 0);
    EXPECT_EQ(copied, 0);
}

TEST(TagCollection, refusesWhatIsNoCollectionOrCannotChange)
{
    const auto foreign = static_cast<LuTagCollectionRef>(static_cast<const void*>(ZOSTR("text")));
    for (const LuTagCollectionRef wrong : {foreign, LuTagCollectionRef(nullptr)}) {
        SignalProbe probe;
        EXPECT_EQ(LuTagCollectionGetCount(wrong), 0);
        EXPECT_TRUE(LuTagCollectionIsEmpty(wrong));
        EXPECT_FALSE(LuTagCollectionContainsTag(wrong, kLuTagInvalid));
        EXPECT_EQ(probe.message(), "tagCollection is NULL or not a LuTagCollection");
        EXPECT_EQ(probe.subsystem(), "<<<< TavTagCollection >>>>");
        EXPECT_EQ(probe.count(), 3u);
    }
    const auto few = numbers(3, 2);
    const LuTag twice[] = {few[1], few[0], few[1]};
    LuTagCollectionRef immutable = nullptr;
    ASSERT_EQ(LuTagCollectionCreate(nullptr, twice, 3, &immutable), 0);
    EXPECT_EQ(valuesOf(immutable), (Values{3, 4}));
    const auto asMutable = const_cast<LuMutableTagCollectionRef>(immutable);
    SignalProbe probe;
    EXPECT_EQ(LuTagCollectionAddTag(asMutable, few[0]), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(LuTagCollectionRemoveTag(asMutable, few[0]), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(LuTagCollectionRemoveAllTags(asMutable), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(probe.message(), "tagCollection is not mutable");
    ZoRelease(immutable);
    EXPECT_EQ(LuTagCollectionCreate(nullptr, nullptr, 1, &immutable), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(LuTagCollectionCreate(nullptr, twice, -1, &immutable), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(LuTagCollectionCreateMutable(nullptr, -1, collectionOf({}).outParam()), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(LuTagCollectionAddTagsFromArray(collectionOf({}).get(), twice, -1), 0) << "and reads no tag";
}

}  // namespace
