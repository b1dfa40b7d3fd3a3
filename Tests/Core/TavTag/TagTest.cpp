#include "Core/TavTag/TavTag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/Objects.h"

using namespace luvia_test;

namespace {

constexpr LuTagDataType kBit30 = 0x40000000;

LuTag withBit30(LuTag tag)
{
    tag.dataType |= kBit30;
    return tag;
}

TEST(Tag, isOrderedByCategoryTypeAndValue)
{
    const LuTagCategory a = fourCC("aaaa"), b = fourCC("bbbb");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        const char* what;
        LuTag less, greater;
        ZoComparisonResult order;
    };
    const Row rows[] = {
        {"category first", LuTagMakeWithFlagsValue(a, 9), LuTagMakeWithSInt64Value(b, 1), -1},
        {"then type", LuTagMakeWithSInt64Value(a, 9), LuTagMakeWithFloat64Value(a, 1), -1},
        {"then value", LuTagMakeWithSInt64Value(a, 1), LuTagMakeWithSInt64Value(a, 2), -1},
        {"negative integers come last", LuTagMakeWithSInt64Value(a, 1), LuTagMakeWithSInt64Value(a, -1), -1},
        {"floats as floats", LuTagMakeWithFloat64Value(a, -1.5), LuTagMakeWithFloat64Value(a, 1.5), -1},
        {"NaN is level with all", LuTagMakeWithFloat64Value(a, 1.5), LuTagMakeWithFloat64Value(a, nan), 0},
        {"zeros of both signs", LuTagMakeWithFloat64Value(a, 0.0), LuTagMakeWithFloat64Value(a, -0.0), 0},
        {"half the range apart", {0xFFFFFFFF, 2, 0}, {0, 2, 0}, -1},
        {"bit 30 is none of the type", withBit30(kLuTagStereoLeftEye), kLuTagStereoLeftEye, 0},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LuTagCompare(row.less, row.greater), row.order) << row.what;
        EXPECT_EQ(LuTagCompare(row.greater, row.less), -row.order) << row.what;
    }
    EXPECT_FALSE(LuTagEqualToTag(LuTagMakeWithFloat64Value(a, 0.0), LuTagMakeWithFloat64Value(a, -0.0)));
    EXPECT_TRUE(LuTagEqualToTag(LuTagMakeWithFloat64Value(a, nan), LuTagMakeWithFloat64Value(a, nan)));
    EXPECT_TRUE(LuTagEqualToTag(withBit30(kLuTagStereoLeftEye), kLuTagStereoLeftEye));
    EXPECT_EQ(LuTagHash(withBit30(kLuTagStereoLeftEye)), LuTagHash(kLuTagStereoLeftEye));
}

// Worked out by hand from the definition, so that a hash that was stored once is found again.
TEST(Tag, hashesAsEver)
{
    EXPECT_EQ(LuTagHash(kLuTagInvalid), 0x386c84bfdeu);
    EXPECT_EQ(LuTagHash(kLuTagMediaTypeVideo), 0xd8bea55aceu);
}

TEST(Tag, describesItself)
{
    struct Row {
        LuTag tag;
        const char* text;
    };
    const LuTagCategory c = fourCC("test");
    const Row rows[] = {
        {kLuTagInvalid, "{category:''{INVALID}"},
        {withBit30(kLuTagInvalid), "{category:'' value:<invalid>}"},
        {LuTagMakeWithSInt64Value(c, -5), "{category:'test' value:-5 <int64>}"},
        {LuTagMakeWithFloat64Value(c, 1.256), "{category:'test' value:1.26 <Flt64>}"},
        {kLuTagMediaTypeVideo, "{category:'mdia' value:'vide' <OSType>}"},
        {LuTagMakeWithFlagsValue(c, 0xAB), "{category:'test' value:0xab <flags>}"},
        {{c, 99, 12}, "{category:'test' value:<raw:0x12 type:99>}"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(textOf(TavTagCopyDescription(nullptr, row.tag)), row.text);
    }
    EXPECT_GT(textOf(LuTagCopyDescription(nullptr, LuTagMakeWithFloat64Value(c, -1.7e308))).size(), 310u);
}

TEST(Tag, goesThroughADictionary)
{
    for (const LuTag& tag : {kTavTagProjectionTypeHalfEquirectangular, LuTagMakeWithSInt64Value(0xFFFFFFFF, -1),
                             LuTagMakeWithFloat64Value(1, 0.1), LuTag{1, 0xBFFFFFFF, UINT64_MAX}}) {
        const auto form = zoAdopt(LuTagCopyAsDictionary(tag, nullptr));
        const LuTag back = LuTagMakeFromDictionary(form.get());
        EXPECT_EQ(memcmp(&back, &tag, sizeof(tag)), 0);
        for (const ZoStringRef key : {kLuTagCategoryKey, kLuTagDataTypeKey, kLuTagValueKey}) {
            const auto less = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, form.get()));
            ZoDictionaryRemoveValue(less.get(), key);
            EXPECT_TRUE(LuTagEqualToTag(LuTagMakeFromDictionary(less.get()), kLuTagInvalid));
        }
    }
    const auto masked = zoAdopt(LuTagCopyAsDictionary(withBit30(kLuTagStereoLeftEye), nullptr));
    EXPECT_EQ(LuTagMakeFromDictionary(masked.get()).dataType, kLuTagStereoLeftEye.dataType);
    EXPECT_TRUE(LuTagEqualToTag(LuTagMakeFromDictionary(nullptr), kLuTagInvalid));
    EXPECT_TRUE(LuTagEqualToTag(
        LuTagMakeFromDictionary(static_cast<ZoDictionaryRef>(static_cast<const void*>(ZOSTR("no dictionary")))),
        kLuTagInvalid));
}

}  // namespace
