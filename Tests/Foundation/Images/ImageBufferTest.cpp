#include <gtest/gtest.h>

#include "Foundation/Images/YxImageBuffer.h"

#include "Tests/Support/Objects.h"
#include "Tests/Support/Together.h"

using namespace luvia_test;

TEST(PixelBuffer, knowsItsShape)
{
    const auto buffer = zoAdopt(YxPixelBufferCreate(nullptr, 641, 480, 0x42475241, 2576));
    ASSERT_TRUE(buffer);
    EXPECT_EQ(ZoGetTypeID(buffer.get()), YxPixelBufferGetTypeID());
    EXPECT_EQ(YxPixelBufferGetWidth(buffer.get()), 641u);
    EXPECT_EQ(YxPixelBufferGetHeight(buffer.get()), 480u);
    EXPECT_EQ(YxPixelBufferGetBytesPerRow(buffer.get()), 2576u);
    EXPECT_EQ(YxPixelBufferGetPixelFormatType(buffer.get()), 0x42475241u);
    EXPECT_EQ(YxImageBufferGetEncodedSize(buffer.get()).width, 641.0);
    EXPECT_EQ(static_cast<uint8_t*>(YxPixelBufferGetBaseAddress(buffer.get()))[480 * 2576 - 1], 0);
    EXPECT_FALSE(zoAdopt(YxPixelBufferCreate(nullptr, 1, SIZE_MAX / 2, 0, 3)));
    EXPECT_FALSE(zoAdopt(YxPixelBufferCreate(nullptr, 0, 1, 0, 1)));
}

TEST(BufferAttachments, haveOneModeEach)
{
    const auto buffer = zoAdopt(YxPixelBufferCreate(nullptr, 1, 1, 0, 4));
    const auto modeOf = [&buffer](ZoStringRef key) {
        YxAttachmentMode mode = 9;
        return zoAdopt<ZoTypeRef>(YxBufferCopyAttachment(buffer.get(), key, &mode)) ? static_cast<int>(mode) : -1;
    };
    const auto countOf = [&buffer](YxAttachmentMode mode) {
        const auto all = zoAdopt(YxBufferCopyAttachments(buffer.get(), mode));
        return all ? ZoDictionaryGetCount(all.get()) : 0;
    };
    EXPECT_EQ(YxBufferCopyAttachments(buffer.get(), 0), nullptr);
    YxBufferSetAttachment(buffer.get(), ZOSTR("a"), ZOSTR("1"), 0);
    YxBufferSetAttachment(buffer.get(), ZOSTR("b"), ZOSTR("2"), 1);
    YxBufferSetAttachment(buffer.get(), ZOSTR("c"), ZOSTR("3"), 2);
    EXPECT_EQ(modeOf(ZOSTR("a")), 0);
    EXPECT_EQ(modeOf(ZOSTR("b")), 1);
    EXPECT_EQ(modeOf(ZOSTR("c")), -1);
    YxBufferSetAttachment(buffer.get(), ZOSTR("a"), ZOSTR("4"), 1);  // moves to the other mode
    EXPECT_EQ(modeOf(ZOSTR("a")), 1);
    EXPECT_TRUE(ZoEqual(YxBufferGetAttachment(buffer.get(), ZOSTR("a"), nullptr), ZOSTR("4")));
    EXPECT_EQ(countOf(0), 0);
    EXPECT_EQ(countOf(1), 2);
    EXPECT_EQ(YxBufferCopyAttachments(buffer.get(), 2), nullptr);
    YxBufferRemoveAttachment(buffer.get(), ZOSTR("a"));
    EXPECT_EQ(modeOf(ZOSTR("a")), -1);
    YxBufferRemoveAllAttachments(buffer.get());
    EXPECT_EQ(countOf(1), 0);
}

TEST(BufferAttachments, areSharedByThreads)
{
    const auto buffer = zoAdopt(YxPixelBufferCreate(nullptr, 1, 1, 0, 4));
    runTogether(4, [&buffer](size_t thread) {
        for (int i = 0; i < 500; ++i) {
            YxBufferSetAttachment(buffer.get(), ZOSTR("k"), number(i).get(), static_cast<YxAttachmentMode>(thread & 1));
            const auto value = zoAdopt<ZoTypeRef>(YxBufferCopyAttachment(buffer.get(), ZOSTR("k"), nullptr));
            EXPECT_TRUE(!value || ZoGetTypeID(value.get()) == ZoNumberGetTypeID());
            zoAdopt(YxBufferCopyAttachments(buffer.get(), 1)).reset();
            if (i % 50 == 0) YxBufferRemoveAllAttachments(buffer.get());
        }
    });
}
