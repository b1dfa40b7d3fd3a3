#include <gtest/gtest.h>

#include "Foundation/Text/ZoAttributedString.h"
#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

static ZoRef<ZoMutableAttributedStringRef> attributed(std::string_view text)
{
    auto plain = zoAdopt(ZoAttributedStringCreate(nullptr, fromUTF8(text).get(), nullptr));
    return zoAdopt(ZoAttributedStringCreateMutableCopy(nullptr, 0, plain.get()));
}

/// The runs of "k" as "start-end:value", with no value where it is not set.
static std::string runsOf(ZoAttributedStringRef string)
{
    std::string text;
    for (ZoIndex at = 0; at < ZoAttributedStringGetLength(string);) {
        ZoRange run;
        auto value = static_cast<ZoStringRef>(ZoAttributedStringGetAttribute(string, at, ZOSTR("k"), &run));
        EXPECT_EQ(run.location, at);
        text += std::to_string(at) + "-" + std::to_string(at + run.length) + ":" + (value ? toUTF8(value) : "") + " ";
        at += run.length;
    }
    return text;
}

TEST(AttributedString, givesNewTextTheAttributesOfWhatItReplaces)
{
    auto replaced = [](ZoRange range, ZoStringRef text) {
        const auto string = attributed("aabbcc");
        ZoAttributedStringSetAttribute(string.get(), {2, 2}, ZOSTR("k"), ZOSTR("b"));
        ZoAttributedStringSetAttribute(string.get(), {4, 2}, ZOSTR("k"), ZOSTR("c"));
        ZoAttributedStringReplaceString(string.get(), range, text);
        return toUTF8(ZoAttributedStringGetString(string.get())) + " " + runsOf(string.get());
    };
    EXPECT_EQ(replaced({1, 3}, ZOSTR("X")), "aXcc 0-2: 2-4:c ");
    EXPECT_EQ(replaced({2, 3}, ZOSTR("XYZ")), "aaXYZc 0-2: 2-5:b 5-6:c ");
    EXPECT_EQ(replaced({4, 0}, ZOSTR("X")), "aabbXcc 0-2: 2-5:b 5-7:c ");
    EXPECT_EQ(replaced({0, 0}, ZOSTR("X")), "Xaabbcc 0-3: 3-5:b 5-7:c ");
    EXPECT_EQ(replaced({6, 0}, ZOSTR("X")), "aabbccX 0-2: 2-4:b 4-7:c ");
    EXPECT_EQ(replaced({1, 4}, ZOSTR("")), "ac 0-1: 1-2:c ");
    EXPECT_EQ(replaced({0, 6}, ZOSTR("")), " ");
    const auto empty = zoAdopt(ZoAttributedStringCreateMutable(nullptr, 0));
    ZoAttributedStringReplaceString(empty.get(), {0, 0}, ZOSTR("new"));
    EXPECT_EQ(runsOf(empty.get()), "0-3: ");
}

TEST(AttributedString, agreesWithAnAttributeACharacter)
{
    SeededRandom random;
    const auto string = attributed("abcdefghijklmnopqrstuvwxyz");
    std::vector<std::string> model(26);
    for (int step = 0; step < 500; ++step) {
        const auto at = static_cast<ZoIndex>(random.below(26));
        const auto count = static_cast<ZoIndex>(random.below(static_cast<size_t>(27 - at)));
        const std::string value(random.below(3), 'v');
        if (value.empty())
            ZoAttributedStringRemoveAttribute(string.get(), {at, count}, ZOSTR("k"));
        else
            ZoAttributedStringSetAttribute(string.get(), {at, count}, ZOSTR("k"), fromUTF8(value).get());
        std::fill_n(model.begin() + at, count, value);
        std::string expected;
        for (size_t start = 0, end; start < 26; start = end) {
            for (end = start; end < 26 && model[end] == model[start];) ++end;
            expected += std::to_string(start) + "-" + std::to_string(end) + ":" + model[start] + " ";
        }
        ASSERT_EQ(runsOf(string.get()), expected);
    }
    const auto copy = zoAdopt(ZoAttributedStringCreateCopy(nullptr, string.get()));
    EXPECT_TRUE(ZoEqual(copy.get(), string.get()));
    ZoAttributedStringSetAttribute(string.get(), {0, 26}, ZOSTR("k"), ZOSTR("other"));
    EXPECT_FALSE(ZoEqual(copy.get(), string.get()));
}
