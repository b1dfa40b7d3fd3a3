#include "Foundation/Images/WnGeometry.h"

#include "Tests/Support/Objects.h"

using namespace luvia_test;

TEST(Geometry, goesIntoDictionariesAndBack)
{
    const WnRect rect = {{-1.5, 1e300}, {0.1, 1080}};
    const auto whole = zoAdopt(WnRectCreateDictionaryRepresentation(rect));
    WnRect back = {};
    ASSERT_TRUE(WnRectMakeWithDictionaryRepresentation(whole.get(), &back));
    EXPECT_EQ(back.origin.x, rect.origin.x);
    EXPECT_EQ(back.origin.y, rect.origin.y);
    EXPECT_EQ(back.size.width, rect.size.width);
    EXPECT_EQ(back.size.height, rect.size.height);

    // A rectangle's dictionary holds a point's and a size's.
    WnPoint point = {};
    WnSize size = {};
    EXPECT_TRUE(WnPointMakeWithDictionaryRepresentation(whole.get(), &point));
    EXPECT_TRUE(WnSizeMakeWithDictionaryRepresentation(whole.get(), &size));
    EXPECT_EQ(point.y, rect.origin.y);
    EXPECT_EQ(size.width, rect.size.width);
    EXPECT_EQ(ZoDictionaryGetCount(zoAdopt(WnPointCreateDictionaryRepresentation(point)).get()), 2);
    EXPECT_TRUE(
        WnSizeMakeWithDictionaryRepresentation(zoAdopt(WnSizeCreateDictionaryRepresentation(size)).get(), &size));

    // Integers are numbers too; what is missing or none leaves the value alone.
    const auto mixed = dictionary();
    ZoDictionarySetValue(mixed.get(), ZOSTR("X"), number(7).get());
    EXPECT_FALSE(WnPointMakeWithDictionaryRepresentation(mixed.get(), &point));
    ZoDictionarySetValue(mixed.get(), ZOSTR("Y"), ZOSTR("8"));
    EXPECT_FALSE(WnPointMakeWithDictionaryRepresentation(mixed.get(), &point));
    EXPECT_EQ(point.x, rect.origin.x);
    ZoDictionarySetValue(mixed.get(), ZOSTR("Y"), number(8).get());
    EXPECT_TRUE(WnPointMakeWithDictionaryRepresentation(mixed.get(), &point));
    EXPECT_EQ(point.x, 7);
    EXPECT_FALSE(WnRectMakeWithDictionaryRepresentation(mixed.get(), &back));
    EXPECT_FALSE(WnPointMakeWithDictionaryRepresentation(nullptr, &point));
}
