#include <gtest/gtest.h>

#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

static constexpr ZoStringCompareFlags kInsensitive = kZoCompareCaseInsensitive, kBackwards = kZoCompareBackwards,
                                      kAnchored = kZoCompareAnchored;

TEST(StringSearch, comparesByUnits)
{
    const struct {
        const char *left, *right;
        ZoStringCompareFlags flags;
        ZoComparisonResult order;
    } rows[] = {
        {"a", "B", 0, 1},
        {"a", "B", kInsensitive, -1},
        {"HeLLo", "hEllO", kInsensitive, 0},
        {"[", "a", kInsensitive, -1},
        {"\u00c9T\u00c9", "\u00e9t\u00e9", kInsensitive, 0},
        {"\u03a3", "\u03c2", kInsensitive, 0},
        {"\U00010400", "\U00010428", kInsensitive, 0},
        {"\U00010400", "\U00010428", 0, -1},
        {"z", "\u00e9", 0, -1},
        {"\uff5e", "\U00010000", 0, 1},
        {"stra\u00dfe", "STRASSE", kInsensitive, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ZoStringCompare(fromUTF8(row.left).get(), fromUTF8(row.right).get(), row.flags), row.order)
            << row.left << ' ' << row.right;
        EXPECT_EQ(ZoStringCompare(fromUTF8(row.right).get(), fromUTF8(row.left).get(), row.flags), -row.order)
            << row.left << ' ' << row.right;
    }
    EXPECT_EQ(ZoStringCompareWithOptions(ZOSTR("xxabcxx"), ZOSTR("ABC"), {2, 3}, kInsensitive), kZoCompareEqualTo);
    EXPECT_TRUE(ZoStringHasPrefix(ZOSTR("abc"), ZOSTR("ab")) && ZoStringHasPrefix(ZOSTR("abc"), ZOSTR("")));
    EXPECT_FALSE(ZoStringHasPrefix(ZOSTR("ab"), ZOSTR("abc")) || ZoStringHasPrefix(ZOSTR("abc"), ZOSTR("AB")));
    EXPECT_TRUE(ZoStringHasSuffix(fromUTF8("a\u20ac").get(), fromUTF8("\u20ac").get()));
}

TEST(StringSearch, findsWithEachOption)
{
    const struct {
        const char *text, *wanted;
        ZoRange range;
        ZoStringCompareFlags flags;
        ZoIndex found;
    } rows[] = {
        {"abcabc", "bc", {2, 4}, 0, 4},
        {"abcabc", "bc", {2, 3}, 0, -1},
        {"abcabc", "bc", {0, 5}, kBackwards, 1},
        {"abcabc", "BC", {0, 6}, 0, -1},
        {"abcabc", "bc", {0, 6}, kAnchored, -1},
        {"abcabc", "abc", {0, 6}, kAnchored, 0},
        {"abcabc", "abc", {0, 6}, kAnchored | kBackwards, 3},
        {"abcabc", "bc", {1, 3}, kAnchored, 1},
        {"abc", "", {0, 3}, 0, -1},
        {"x\u20acab", "AB", {0, 4}, kInsensitive, 2},
    };
    for (const auto& row : rows) {
        ZoRange found;
        const bool there =
            ZoStringFindWithOptions(fromUTF8(row.text).get(), fromUTF8(row.wanted).get(), row.range, row.flags, &found);
        EXPECT_EQ(there, row.found >= 0) << row.text << ' ' << row.wanted;
        EXPECT_EQ(found.location, row.found) << row.text << ' ' << row.wanted;
        EXPECT_EQ(found.length, there ? ZoStringGetLength(fromUTF8(row.wanted).get()) : 0);
    }
}

TEST(StringSearch, replacesWithoutOverlap)
{
    const struct {
        const char *text, *wanted, *replacement;
        ZoRange range;
        ZoStringCompareFlags flags;
        ZoIndex count;
        const char* result;
    } rows[] = {
        {"aaa", "aa", "b", {0, 3}, 0, 1, "ba"},
        {"aaa", "aa", "b", {0, 3}, kBackwards, 1, "ab"},
        {"a.b.c", ".", "::", {0, 5}, 0, 2, "a::b::c"},
        {"a.b.c", ".", "", {2, 3}, 0, 1, "a.bc"},
        {"aXbx", "x", "\u20ac", {0, 4}, kInsensitive, 2, "a\u20acb\u20ac"},
        {"aaa", "a", "aa", {0, 3}, kAnchored, 1, "aaaa"},
        {"abc", "x", "y", {0, 3}, 0, 0, "abc"},
        {"\u20acb\u20ac", "\u20ac", "e", {0, 3}, kBackwards, 2, "ebe"},
    };
    for (const auto& row : rows) {
        const auto string = mutableFrom(fromUTF8(row.text).get());
        EXPECT_EQ(ZoStringFindAndReplace(string.get(), fromUTF8(row.wanted).get(), fromUTF8(row.replacement).get(),
                                         row.range, row.flags),
                  row.count)
            << row.text;
        EXPECT_EQ(toUTF8(string.get()), row.result);
    }
    const auto self = mutableFrom(ZOSTR("a-a"));
    EXPECT_EQ(ZoStringFindAndReplace(self.get(), ZOSTR("-"), self.get(), {0, 3}, 0), 1);
    EXPECT_EQ(toUTF8(self.get()), "aa-aa");
}

TEST(StringSearch, agreesWithAModelOnFewLetters)
{
    SeededRandom random;
    const auto make = [&](size_t limit) {
        std::u16string text(random.below(limit + 1), 0);
        const char16_t high = random.below(2) ? u'b' : u'\u20ac';
        for (char16_t& unit : text) unit = random.below(3) ? u'a' : high;
        return text;
    };
    for (int round = 0; round < 3000; ++round) {
        const std::u16string text = make(24), wanted = make(4);
        if (wanted.empty()) continue;
        const auto string = fromUTF16(text), other = fromUTF16(wanted);
        const auto first = static_cast<ZoIndex>(text.find(wanted)), last = static_cast<ZoIndex>(text.rfind(wanted));
        for (ZoStringCompareFlags fold : {ZoStringCompareFlags{0}, kInsensitive}) {
            ASSERT_EQ(ZoStringFind(string.get(), other.get(), fold).location, first);
            ASSERT_EQ(ZoStringFind(string.get(), other.get(), fold | kBackwards).location, last);
            const int order = text.compare(wanted);
            ASSERT_EQ(ZoStringCompare(string.get(), other.get(), fold), order < 0 ? -1 : order > 0);
        }
    }
}

TEST(StringSearch, findsCharactersOfSets)
{
    const auto upper = ZoCharacterSetGetPredefined(kZoCharacterSetUppercaseLetter);
    const struct {
        const char* text;
        ZoRange range;
        ZoStringCompareFlags flags;
        ZoRange found;
    } rows[] = {
        {"abCdE", {0, 5}, 0, {2, 1}},
        {"abCdE", {0, 5}, kBackwards, {4, 1}},
        {"abCdE", {3, 1}, 0, {-1, 0}},
        {"abC", {0, 3}, kAnchored, {-1, 0}},
        {"abC", {0, 3}, kAnchored | kBackwards, {2, 1}},
        {"x\u00c9", {0, 2}, 0, {1, 1}},
        {"x\U00010400y", {0, 4}, 0, {1, 2}},
        {"x\U00010400y", {0, 4}, kBackwards, {1, 2}},
        {"", {0, 0}, 0, {-1, 0}},
    };
    for (const auto& row : rows) {
        ZoRange found;
        EXPECT_EQ(ZoStringFindCharacterFromSet(fromUTF8(row.text).get(), upper, row.range, row.flags, &found),
                  row.found.length > 0);
        EXPECT_EQ(found.location, row.found.location) << row.text;
        EXPECT_EQ(found.length, row.found.length) << row.text;
    }
    const struct {
        ZoCharacterSetPredefinedSet set;
        std::u16string in, out;
    } sets[] = {
        {kZoCharacterSetControl, u"\x1f\x7f\u0085\u200e", u" a"},
        {kZoCharacterSetWhitespace, u" \t\u00a0\u2003", u"\na\u2028"},
        {kZoCharacterSetWhitespaceAndNewline, u" \t\n\r\u0085\u2028", u"a"},
        {kZoCharacterSetDecimalDigit, u"09\u0663", u"a\u00b2"},
        {kZoCharacterSetLetter, u"aZ\u00e9\u4e2d", u"1 "},
        {kZoCharacterSetLowercaseLetter, u"a\u00e9", u"A1"},
        {kZoCharacterSetUppercaseLetter, u"A\u00c9\u01c5", u"a1"},
    };
    for (const auto& row : sets) {
        const auto set = ZoCharacterSetGetPredefined(row.set);
        for (char16_t unit : row.in)
            EXPECT_TRUE(ZoCharacterSetIsCharacterMember(set, unit)) << row.set << ' ' << int{unit};
        for (char16_t unit : row.out)
            EXPECT_FALSE(ZoCharacterSetIsCharacterMember(set, unit)) << row.set << ' ' << int{unit};
    }
}
