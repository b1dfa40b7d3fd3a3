#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "Foundation/Text/ZoString.h"
#include "Tests/Core/TavTag/Tags.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

// The definition: a tag goes in front of the first that is greater, unless one that is level comes before.
void insert(Tags& model, const LuTag& tag)
{
    auto place = model.begin();
    for (; place != model.end(); ++place) {
        const ZoComparisonResult order = LuTagCompare(tag, *place);
        if (order == 0) return;
        if (order < 0) break;
    }
    model.insert(place, tag);
}
bool has(const Tags& tags, const LuTag& tag)
{
    return std::any_of(tags.begin(), tags.end(), [&](const LuTag& other) { return LuTagEqualToTag(other, tag); });
}

// Tags of a few categories and types around one place of the circle of 32-bit numbers, with NaNs and zeros of both
// signs.
struct TagMaker {
    explicit TagMaker(uint32_t seed) : random(seed) {}
    std::mt19937 random;
    uint32_t middle = random() % 2 ? random() : (random() % 2 ? 0x80000000u : 0u);

    LuTag one()
    {
        const LuTagCategory category = middle + random() % 3 - 1;
        const uint32_t bit30 = random() % 4 ? 0 : 0x40000000;
        if (random() % 3 == 0) return {category, (random() % 2 ? 0x80000001u : 0x80000002u) | bit30, random() % 12};
        if (random() % 2) return {category, kLuTagDataType_Flags | bit30, random() % 12};
        const double values[] = {-0.0, 0.0, 1.5, -1.5, random() % 12 / 2.0, std::numeric_limits<double>::quiet_NaN()};
        return LuTagMakeWithFloat64Value(category, values[random() % std::size(values)]);
    }
    Tags some(size_t most)
    {
        Tags out(random() % (most + 1));
        std::generate(out.begin(), out.end(), [this] { return one(); });
        return out;
    }
};

// Random operations beside the definition.
TEST(TagCollection, behavesAsASortedSetDoes)
{
    for (int round = 0; round < 40; ++round) {
        const uint32_t seed = std::random_device()();
        SCOPED_TRACE("seed " + std::to_string(seed));
        TagMaker maker(seed);
        Collection collection = collectionOf({});
        Tags model;
        for (int step = 0; step < 300; ++step) {
            const LuTag tag = maker.one();
            switch (maker.random() % 12) {
                case 0:
                    EXPECT_EQ(LuTagCollectionRemoveAllTagsOfCategory(collection.get(), tag.category), 0);
                    std::erase_if(model, [&](const LuTag& other) { return other.category == tag.category; });
                    break;
                case 1: {
                    const auto place = std::find_if(model.begin(), model.end(),
                                                    [&](const LuTag& other) { return LuTagCompare(other, tag) == 0; });
                    EXPECT_EQ(LuTagCollectionRemoveTag(collection.get(), tag),
                              place != model.end() ? 0 : kLuTagCollectionError_TagNotFound);
                    if (place != model.end()) model.erase(place);
                    break;
                }
                case 2:
                    EXPECT_EQ(LuTagCollectionRemoveAllTags(collection.get()), 0);
                    model.clear();
                    break;
                case 3: {
                    Tags many = maker.some(200);
                    many.push_back(tag);
                    for (const LuTag& other : many) insert(model, other);
                    EXPECT_EQ(LuTagCollectionAddTagsFromArray(collection.get(), many.data(), many.size()), 0);
                    break;
                }
                case 4: {
                    const auto source = collectionOf(maker.some(200));
                    for (const LuTag& other : tagsOf(source.get())) insert(model, other);
                    EXPECT_EQ(LuTagCollectionAddTagsFromCollection(collection.get(), source.get()), 0);
                    break;
                }
                default: EXPECT_EQ(LuTagCollectionAddTag(collection.get(), tag), 0); insert(model, tag);
            }
            ASSERT_TRUE(tagsOf(collection.get()) == model) << step;
            ASSERT_EQ(LuTagCollectionContainsTag(collection.get(), tag), has(model, tag));
        }
    }
}

TEST(TagCollection, combinesSets)
{
    struct Row {
        const char* what;
        OSStatus (*create)(LuTagCollectionRef, LuTagCollectionRef, LuMutableTagCollectionRef*);
        bool own1, shared1, own2, shared2, ofSame;
    };
    const Row rows[] = {
        {"intersection", LuTagCollectionCreateIntersection, false, true, false, false, true},
        {"union", LuTagCollectionCreateUnion, true, true, true, true, true},
        {"difference", LuTagCollectionCreateDifference, true, false, false, false, false},
        {"exclusive or", LuTagCollectionCreateExclusiveOr, true, false, true, false, false},
    };
    for (int round = 0; round < 100; ++round) {
        const uint32_t seed = std::random_device()();
        TagMaker maker(seed);
        const auto a = collectionOf(maker.some(300)), b = collectionOf(maker.some(300));
        const Tags tagsA = tagsOf(a.get()), tagsB = tagsOf(b.get());
        const bool isPart = std::all_of(tagsB.begin(), tagsB.end(), [&](const LuTag& tag) { return has(tagsA, tag); });
        EXPECT_EQ(LuTagCollectionContainsTagsOfCollection(a.get(), b.get()), isPart);
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(row.what) + ", seed " + std::to_string(seed));
            Tags model;
            for (const LuTag& tag : tagsA)
                if (has(tagsB, tag) ? row.shared1 : row.own1) insert(model, tag);
            for (const LuTag& tag : tagsB)
                if (has(tagsA, tag) ? row.shared2 : row.own2) insert(model, tag);
            Collection result;
            EXPECT_EQ(row.create(a.get(), b.get(), result.outParam()), 0);
            EXPECT_TRUE(tagsOf(result.get()) == model);
            EXPECT_EQ(row.create(a.get(), a.get(), result.outParam()), 0);
            EXPECT_TRUE(tagsOf(result.get()) == (row.ofSame ? tagsA : Tags()));
            EXPECT_EQ(LuTagCollectionAddTag(result.get(), numbered(0)), 0) << "the result is mutable";
        }
    }
    const auto some = collectionOf(numbers(0, 2));
    Collection result;
    SignalProbe probe;
    EXPECT_EQ(LuTagCollectionCreateUnion(nullptr, some.get(), result.outParam()), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(probe.message(), "tagCollection2 is NULL or not a LuTagCollection");
}

// Spread over the whole circle: LuTagCompare has no order for them, and the time of the square would be minutes.
TEST(TagCollection, keepsManyTagsWithoutAnOrder)
{
    std::mt19937 random;
    Tags tags;
    for (uint32_t i = 0; i < 100000; ++i) tags.push_back({i * 0x9E3779B9u, i % 7 * 0x3000001u, i});
    const auto collection = collectionOf(tags);
    const Tags kept = tagsOf(collection.get());
    EXPECT_EQ(kept.size(), tags.size());
    for (size_t i = 1; i < kept.size(); ++i) ASSERT_LT(LuTagCompare(kept[i - 1], kept[i]), 0);
    std::shuffle(tags.begin(), tags.end(), random);
    EXPECT_TRUE(ZoEqual(collectionOf(tags).get(), collection.get())) << "whichever comes first";
    const auto half = collectionOf(Tags(tags.begin(), tags.begin() + 50000));
    const auto rest = collectionOf(Tags(tags.begin() + 50000, tags.end()));
    Collection either, none;
    EXPECT_EQ(LuTagCollectionCreateUnion(half.get(), rest.get(), either.outParam()), 0);
    EXPECT_TRUE(ZoEqual(either.get(), collection.get()));
    EXPECT_EQ(LuTagCollectionCreateIntersection(half.get(), rest.get(), none.outParam()), 0);
    EXPECT_TRUE(LuTagCollectionIsEmpty(none.get()));
}

TEST(TagCollection, staysWholeWithoutMemory)
{
    FailingAllocator allocator;
    Collection collection;
    const Tags sixteen = numbers(0, 16), many = numbers(100, 100);
    LuTagCollectionCreateMutable(allocator.get(), 0, collection.outParam());
    LuTagCollectionAddTagsFromArray(collection.get(), sixteen.data(), 16);
    EXPECT_EQ(allocator.calls(), 1) << "sixteen stand in the object";
    SignalProbe probe;
    for (const Tags& more : {Tags{numbered(99)}, many}) {
        allocator.failAt(1);
        EXPECT_EQ(LuTagCollectionAddTagsFromArray(collection.get(), more.data(), more.size()),
                  kLuTagCollectionError_AllocationFailed);
        EXPECT_TRUE(tagsOf(collection.get()) == sixteen);
    }
    EXPECT_EQ(probe.function(), "LuTagCollectionAddTagsFromArray");
    EXPECT_EQ(LuTagCollectionAddTag(collection.get(), numbered(99)), 0);
    LuTagCollectionRef copy = nullptr;
    EXPECT_EQ(LuTagCollectionCreateCopy(collection.get(), allocator.get(), &copy), 0);
    EXPECT_TRUE(ZoEqual(copy, collection.get()));
    EXPECT_NE(ZoHash(copy), ZoHash(collection.get())) << "whether it is mutable is in the hash";
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
    const auto empty = collectionOf({});
    const LuTag wanted[] = {kLuTagStereoLeftEye, kLuTagPackingTypeNone};
    EXPECT_TRUE(LuTagCollectionContainsTagsOfCollection(collection.get(), empty.get()));
    EXPECT_TRUE(LuTagCollectionContainsTagsOfCollection(collection.get(), nullptr));
    EXPECT_TRUE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, 1));
    EXPECT_FALSE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, 2));
    EXPECT_TRUE(LuTagCollectionContainsSpecifiedTags(empty.get(), wanted, 0));
    EXPECT_FALSE(LuTagCollectionContainsSpecifiedTags(collection.get(), wanted, -1));
    EXPECT_FALSE(LuTagCollectionContainsSpecifiedTags(collection.get(), nullptr, 0));
    EXPECT_TRUE(LuTagCollectionContainsCategory(empty.get(), 0));
    EXPECT_FALSE(LuTagCollectionContainsCategory(empty.get(), kLuTagStereoNone.category));
    EXPECT_EQ(LuTagCollectionGetCountOfCategory(collection.get(), kLuTagStereoNone.category), 2);
    const auto isVideo = [](LuTag tag, void*) -> Boolean { return LuTagEqualToTag(tag, kLuTagMediaTypeVideo); };
    EXPECT_EQ(LuTagCollectionCountTagsWithFilterFunction(collection.get(), isVideo, nullptr), 1);
    EXPECT_TRUE(LuTagCollectionApplyUntil(collection.get(), isVideo, nullptr) == kLuTagMediaTypeVideo);
    EXPECT_TRUE(LuTagCollectionApplyUntil(empty.get(), isVideo, nullptr) == kLuTagInvalid);
    Collection chosen = collectionOf({});
    EXPECT_EQ(LuTagCollectionAddTagsFromCollectionWithFilterFunction(chosen.get(), collection.get(), isVideo, nullptr),
              0);
    EXPECT_TRUE(tagsOf(chosen.get()) == Tags{kLuTagMediaTypeVideo});
    const LuTagCategory categories[] = {kLuTagMediaTypeVideo.category, fourCC("none")};
    EXPECT_EQ(LuTagCollectionCopyTagsOfCategories(nullptr, collection.get(), categories, 2, chosen.outParam()), 0);
    EXPECT_TRUE(tagsOf(chosen.get()) == Tags{kLuTagMediaTypeVideo});
    EXPECT_EQ(LuTagCollectionCopyTagsOfCategories(nullptr, collection.get(), categories, 0, chosen.outParam()),
              kLuTagCollectionError_ParamErr);
}

TEST(TagCollection, fillsBuffers)
{
    const auto collection = collectionOf(numbers(1, 3));
    Tags tags(5, numbered(77));
    ZoIndex copied = 99;
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags.data(), 2, &copied),
              kLuTagCollectionError_ExhaustedBufferSize);
    EXPECT_EQ(copied, 2);
    EXPECT_TRUE(tags[2] == numbered(77));
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags.data(), 5, &copied), 0);
    EXPECT_EQ(copied, 3);
    EXPECT_TRUE(tags == (Tags{numbered(1), numbered(2), numbered(3), kLuTagInvalid, kLuTagInvalid}));
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), tags.data(), 3, nullptr), 0) << "exactly full is not exhausted";
    EXPECT_EQ(LuTagCollectionGetTags(collection.get(), nullptr, 3, &copied), kLuTagCollectionError_ParamErr);
    EXPECT_EQ(copied, 0);
    EXPECT_EQ(LuTagCollectionGetTagsWithCategory(collection.get(), 1, tags.data(), 5, &copied), 0);
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
        EXPECT_EQ(probe.function(), "LuTagCollectionContainsTag");
        EXPECT_EQ(probe.subsystem(), "<<<< TavTagCollection >>>>");
        EXPECT_EQ(probe.count(), 3u);
    }
    const Tags few = numbers(3, 2);
    const LuTag twice[] = {few[1], few[0], few[1]};
    LuTagCollectionRef immutable = nullptr;
    ASSERT_EQ(LuTagCollectionCreate(nullptr, twice, 3, &immutable), 0);
    EXPECT_TRUE(tagsOf(immutable) == few);
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
