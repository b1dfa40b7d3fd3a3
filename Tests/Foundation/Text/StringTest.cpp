#include <gtest/gtest.h>

#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

TEST(StringForms, areEqualAndHashAlike)
{
    const char* texts[] = {
        "", "a", "abcdefg", "abcdefgh", "com.example.some.long.key.of.a.dictionary", "h\u00e9", "\u20ac\U0001F600"};
    for (const char* text : texts) {
        const auto plain = fromUTF8(text);
        const auto borrowed =
            zoAdopt(ZoStringCreateWithCStringNoCopy(nullptr, text, kZoStringEncodingUTF8, kZoAllocatorNull));
        const auto wide = mutableFrom(ZOSTR("x"));  // wide storage, whatever it holds in the end
        ZoStringAppend(wide.get(), fromUTF16(u"\u20ac").get());
        ZoStringReplace(wide.get(), {0, 2}, plain.get());
        const ZoConstantString record = {__ZoConstantStringClassReference, ZO_CONSTANT_STRING_FLAGS, text,
                                         ZoStringGetLength(plain.get())};
        const bool ascii = ZoStringGetCStringPtr(plain.get(), kZoStringEncodingASCII) != nullptr;
        for (ZoTypeRef other : {static_cast<ZoTypeRef>(borrowed.get()), static_cast<ZoTypeRef>(wide.get()),
                                ascii ? static_cast<ZoTypeRef>(&record) : plain.get()}) {
            EXPECT_TRUE(ZoEqual(plain.get(), other)) << text;
            EXPECT_EQ(ZoHash(plain.get()), ZoHash(other)) << text;
        }
    }
    EXPECT_FALSE(ZoEqual(ZOSTR("abc"), ZOSTR("abd")) || ZoEqual(fromUTF8("ab").get(), fromUTF8("abc").get()));
    EXPECT_FALSE(ZoEqual(fromUTF16(u"\u20ac").get(), fromUTF16(u"\u20acx").get()));
    const auto nothing =
        zoAdopt(ZoStringCreateWithBytesNoCopy(nullptr, nullptr, 0, kZoStringEncodingUTF8, false, kZoAllocatorNull));
    EXPECT_TRUE(ZoEqual(nothing.get(), ZOSTR("")) && ZoEqual(mutableFrom(nothing.get()).get(), nothing.get()));
    EXPECT_EQ(ZoStringCompare(nothing.get(), ZOSTR(""), 0), kZoCompareEqualTo);
}

TEST(StringForms, giveTheirBytesWhereTheyStandInTheEncoding)
{
    const auto ascii = fromUTF8("text"), other = fromUTF8("t\u00e9xt");
    for (ZoStringEncoding encoding : {0x0u, 0x600u, 0x201u, 0x8000100u}) {
        EXPECT_STREQ(ZoStringGetCStringPtr(ascii.get(), encoding), "text");
        EXPECT_STREQ(ZoStringGetCStringPtr(ZOSTR("key"), encoding), "key");
        EXPECT_EQ(ZoStringGetCStringPtr(other.get(), encoding), nullptr);
    }
    EXPECT_EQ(ZoStringGetCStringPtr(ascii.get(), kZoStringEncodingUTF16), nullptr);
    const uint8_t unterminated[] = {'a', 'b', 'c'};
    const auto slice = zoAdopt(
        ZoStringCreateWithBytesNoCopy(nullptr, unterminated, 2, kZoStringEncodingASCII, false, kZoAllocatorNull));
    EXPECT_EQ(ZoStringGetCStringPtr(slice.get(), kZoStringEncodingASCII), nullptr);
    EXPECT_EQ(toUTF8(slice), "ab");
    const auto grown = mutableFrom(ascii.get());
    ZoStringAppendCString(grown.get(), " and more", kZoStringEncodingASCII);
    EXPECT_STREQ(ZoStringGetCStringPtr(grown.get(), kZoStringEncodingUTF8), "text and more");
}

TEST(StringOwnership, borrowedTextGoesToItsDeallocatorOnce)
{
    FailingAllocator lender;
    const auto create = [&](const char* text, ZoStringEncoding encoding) {
        return zoAdopt(ZoStringCreateWithCStringNoCopy(nullptr, text, encoding, lender.get()));
    };
    {
        char* text = lender.lend("ascii");
        auto kept = create(text, kZoStringEncodingUTF8);
        EXPECT_EQ(ZoStringGetCStringPtr(kept.get(), kZoStringEncodingASCII), text);
        auto converted = create(lender.lend("\xC3\xA9"), kZoStringEncodingUTF8);
        EXPECT_EQ(lender.liveBlocks(), 1);
    }
    EXPECT_EQ(lender.liveBlocks(), 0);
    char* bad = lender.lend("\xFF");
    EXPECT_FALSE(create(bad, kZoStringEncodingUTF8));
    EXPECT_EQ(lender.liveBlocks(), 1) << "the caller still owns what no string was made of";
    ZoAllocatorDeallocate(lender.get(), bad);
}

TEST(StringOwnership, copiesShareOnlyWhatCannotChange)
{
    const auto text = fromUTF8("text");
    EXPECT_EQ(zoAdopt(ZoStringCreateCopy(nullptr, text.get())).get(), text.get());
    const auto changing = mutableFrom(text.get());
    const auto snapshot = zoAdopt(ZoStringCreateCopy(nullptr, changing.get()));
    ZoStringAppend(changing.get(), ZOSTR("!"));
    EXPECT_EQ(toUTF8(snapshot), "text");
    char buffer[] = "caller's";
    const auto borrowed =
        zoAdopt(ZoStringCreateWithCStringNoCopy(nullptr, buffer, kZoStringEncodingUTF8, kZoAllocatorNull));
    const auto own = zoAdopt(ZoStringCreateCopy(nullptr, borrowed.get()));
    buffer[0] = 'X';
    EXPECT_EQ(toUTF8(own), "caller's");
    FailingAllocator memory;
    const auto once = zoAdopt(ZoStringCreateWithCString(memory.get(), "contents and record", kZoStringEncodingUTF8));
    EXPECT_EQ(memory.calls(), 1);
}

TEST(StringBytes, stopAtTheLastCharacterThatFits)
{
    const auto text = fromUTF8("a\u20ac\U0001F600");
    const struct {
        ZoIndex room, converted, used;
    } rows[] = {{0, 0, 0}, {1, 1, 1}, {3, 1, 1}, {4, 2, 4}, {7, 2, 4}, {8, 4, 8}, {100, 4, 8}};
    for (const auto& row : rows) {
        std::vector<uint8_t> buffer(static_cast<size_t>(row.room) + 1);
        ZoIndex used = -1;
        EXPECT_EQ(ZoStringGetBytes(text.get(), {0, 4}, kZoStringEncodingUTF8, 0, false, buffer.data(), row.room, &used),
                  row.converted);
        EXPECT_EQ(used, row.used) << row.room;
    }
    ZoIndex used = 0;
    EXPECT_EQ(ZoStringGetBytes(text.get(), {1, 3}, kZoStringEncodingASCII, '?', false, nullptr, 0, &used), 3);
    EXPECT_EQ(used, 2) << "a pair is one character";
    EXPECT_EQ(ZoStringGetBytes(text.get(), {0, 4}, kZoStringEncodingASCII, 0, false, nullptr, 0, &used), 1);
}

TEST(StringBytes, fillCAndPascalBuffersOrClearThem)
{
    char c[5] = "????";
    EXPECT_TRUE(ZoStringGetCString(ZOSTR("mp4a"), c, 5, kZoStringEncodingASCII));
    EXPECT_STREQ(c, "mp4a");
    EXPECT_FALSE(ZoStringGetCString(ZOSTR("mp4aX"), c, 5, kZoStringEncodingASCII));
    EXPECT_STREQ(c, "");
    uint8_t pascal[5];
    EXPECT_TRUE(ZoStringGetPascalString(ZOSTR("avc1"), pascal, 5, kZoStringEncodingClassicRoman));
    EXPECT_EQ(std::string(pascal, pascal + 5), "\4avc1");
    EXPECT_FALSE(ZoStringGetPascalString(ZOSTR("avc1x"), pascal, 5, kZoStringEncodingClassicRoman));
    EXPECT_EQ(pascal[0], 0);
    const std::string longText(256, 'x');
    std::vector<uint8_t> big(1000);
    EXPECT_FALSE(ZoStringGetPascalString(fromUTF8(longText).get(), big.data(), 1000, kZoStringEncodingASCII));
    EXPECT_TRUE(ZoStringGetPascalString(fromUTF8(longText.substr(1)).get(), big.data(), 1000, kZoStringEncodingASCII));
    EXPECT_EQ(big[0], 255);
    const auto back = zoAdopt(ZoStringCreateWithPascalString(nullptr, big.data(), kZoStringEncodingASCII));
    EXPECT_EQ(toUTF8(back), longText.substr(1));
}

TEST(StringNumbers, readWhatStandsAtTheStart)
{
    const struct {
        const char* text;
        int32_t integer;
        double real;
    } rows[] = {
        {"", 0, 0},
        {"abc", 0, 0},
        {"inf", 0, 0},
        {"nan", 0, 0},
        {"0x10", 0, 0},
        {" \t-42abc", -42, -42},
        {"+7", 7, 7},
        {"+-7", 0, 0},
        {"2147483647", INT32_MAX, 2147483647.0},
        {"2147483648", INT32_MAX, 2147483648.0},
        {"-2147483648", INT32_MIN, -2147483648.0},
        {"-99999999999999999999", INT32_MIN, -1e20},
        {"1.5e3x", 1, 1500},
        {"-.25", 0, -0.25},
        {"1e", 1, 1},
        {"1e400", 1, HUGE_VAL},
        {"-1e400", -1, -HUGE_VAL},
        {"1e-400", 1, 0},
        {"0.0000001e-400", 0, 0},
        {"0.00000000000000000000000000000000000001e400", 0, HUGE_VAL},
        {"7\u20ac", 7, 7},
        {"\u0663", 0, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ZoStringGetIntValue(fromUTF8(row.text).get()), row.integer) << row.text;
        EXPECT_EQ(ZoStringGetDoubleValue(fromUTF8(row.text).get()), row.real) << row.text;
    }
}

/// A mutable string and a std::u16string that undergo the same.
TEST(StringModel, agreesUnderRandomChanges)
{
    SeededRandom random;
    const std::u16string pieces[] = {
        u"", u"a", u"ab", u"\u00e9", u"\u20ac\U0001F600", u"the quick brown fox", std::u16string(70, u'z')};
    for (int round = 0; round < 40; ++round) {
        const auto string = zoAdopt(ZoStringCreateMutable(nullptr, 0));
        std::u16string model;
        for (int step = 0; step < 60; ++step) {
            const bool self = random() % 16 == 0 && model.size() < 2000;
            const std::u16string piece = self ? model : pieces[random() % std::size(pieces)];
            const auto text = self ? String::retain(string.get()) : fromUTF16(piece);
            const size_t at = random.below(model.size() + 1),
                         count = random.below(std::min<size_t>(model.size() - at, 9) + 1);
            const ZoRange range = {static_cast<ZoIndex>(at), static_cast<ZoIndex>(count)};
            switch (random.below(4)) {
                case 0:
                    ZoStringAppend(string.get(), text.get());
                    model += piece;
                    break;
                case 1:
                    ZoStringInsert(string.get(), static_cast<ZoIndex>(at), text.get());
                    model.insert(at, piece);
                    break;
                default: ZoStringReplace(string.get(), range, text.get()); model.replace(at, count, piece);
            }
            ASSERT_EQ(toUTF16(string.get()), model);
        }
        ASSERT_TRUE(ZoEqual(string.get(), fromUTF16(model).get()));
        ASSERT_EQ(ZoHash(string.get()), ZoHash(fromUTF16(model).get()));
    }
}

TEST(StringExternal, carriesAMarkOnlyWhereTheOrderIsOpen)
{
    const auto text = fromUTF8("a\u20ac");
    auto bytes = [&](ZoStringEncoding encoding) {
        const auto data = zoAdopt(ZoStringCreateExternalRepresentation(nullptr, text.get(), encoding, 0));
        const auto back = zoAdopt(ZoStringCreateFromExternalRepresentation(nullptr, data.get(), encoding));
        EXPECT_TRUE(back && ZoEqual(back.get(), text.get()));
        const uint8_t* first = ZoDataGetBytePtr(data.get());
        return std::string(first, first + ZoDataGetLength(data.get()));
    };
    using namespace std::string_literals;
    EXPECT_EQ(bytes(kZoStringEncodingUTF16BE), "\0a\x20\xAC"s);
    EXPECT_EQ(bytes(kZoStringEncodingUTF16LE), "a\0\xAC\x20"s);
    EXPECT_EQ(bytes(kZoStringEncodingUTF16),
              "\xFF\xFE"
              "a\0\xAC\x20"s);
    EXPECT_EQ(bytes(kZoStringEncodingUTF8), "a\xE2\x82\xAC"s);
    EXPECT_FALSE(zoAdopt(ZoStringCreateExternalRepresentation(nullptr, text.get(), kZoStringEncodingASCII, 0)));
    const auto lossy = zoAdopt(ZoStringCreateExternalRepresentation(nullptr, text.get(), kZoStringEncodingASCII, '?'));
    EXPECT_EQ(std::string(ZoDataGetBytePtr(lossy.get()), ZoDataGetBytePtr(lossy.get()) + 2), "a?");
}

TEST(StringAllocators, needNotReallocate)
{
    ZoAllocatorContext context = {};
    context.allocate = [](ZoIndex size, ZoOptionFlags, void*) { return malloc(static_cast<size_t>(size)); };
    context.deallocate = [](void* memory, void*) { free(memory); };
    const auto allocator = zoAdopt(ZoAllocatorCreate(nullptr, &context));
    const std::string piece(300, 'x');
    const auto grown = zoAdopt(ZoStringCreateMutable(allocator.get(), 0));
    for (int i = 0; i < 4; ++i) ZoStringAppendCString(grown.get(), piece.c_str(), kZoStringEncodingASCII);
    ZoStringAppend(grown.get(), fromUTF8("\u20ac").get());
    const auto formatted =
        zoAdopt(ZoStringCreateWithFormat(allocator.get(), nullptr, ZOSTR("%s%s%s%s%C"), piece.c_str(), piece.c_str(),
                                         piece.c_str(), piece.c_str(), 0x20AC));
    EXPECT_EQ(ZoStringGetLength(grown.get()), 1201);
    EXPECT_TRUE(formatted && ZoEqual(formatted.get(), grown.get()));
}
