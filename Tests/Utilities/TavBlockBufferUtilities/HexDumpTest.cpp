// Dumps as people read them, one row a layout.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Tests/Core/TavBlockBuffer/Pieces.h"
#include "Tests/Support/Objects.h"

using namespace luvia_test;

namespace {

enum : uint32_t { zeros = 1, hex = 2, marks = 4, fours = 8, cArray = 16 };

std::string zeroBytes(size_t count) { return std::string(count, '\0'); }

struct Collected {
    std::string text;
    int stopAt = -1;
};
int collect(void* context, const char* line)
{
    auto* to = static_cast<Collected*>(context);
    to->text.append(line ? line : "END").append(line ? "\n" : "");
    return to->stopAt >= 0 && to->stopAt-- == 0;
}

struct Dump {
    const char* what;
    Buffer buffer;
    size_t offset, length, maxLines, bytesPerLine;
    uint32_t flags;
    const char* expected;
};

}  // namespace

TEST(HexDump, hasManyLayouts)
{
    const std::string twenty = "0123456789abcdef\x01\x7f\xffz";
    const Dump dumps[] = {
        {"two lines, the second padded", bufferOf({twenty}), 0, 0, 0, 0, 0,
         "    0: 30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66   0123456789abcdef\n"
         "   16: 01 7F FF 7A                                       ...z\nEND"},
        {"offsets count from the start of the dump", bufferOf({twenty}), 10, 8, 0, 4, hex,
         "     0: 61 62 63 64   abcd\n   0x4: 65 66 01 7F   ef..\n  ...\nEND"},
        {"grouped by four", bufferOf({"0123456789"}), 0, 0, 0, 8, fours,
         "    0: 30313233 34353637   01234567\n    8: 3839                89\nEND"},
        {"marks at the ends of pieces, not groups", bufferOf({"abc", "de", "fgh"}), 0, 7, 0, 4, marks | fours,
         "    0: 61 62 63|64   abcd\n    4: 65|66 67      efg\n  ...\nEND"},
        {"a C array, short line, no marks and no collapsing", bufferOf({zeroBytes(4), "A*"}), 0, 0, 0, 4,
         cArray | marks | zeros | fours,
         "/*     0: */ 0x00, 0x00, 0x00, 0x00,   /* .... */\n"
         "/*     4: */ 0x41, 0x2A,               /* A* */\nEND"},
        {"a C array with hexadecimal offsets", bufferOf({"abc"}), 0, 0, 0, 2, cArray | hex,
         "/*      0: */ 0x61, 0x62,   /* ab */\n/*    0x2: */ 0x63,         /* c */\nEND"},
        {"zeros before data", bufferOf({zeroBytes(64), "data"}), 0, 0, 0, 16, zeros,
         "    * 64 zeroes\n   64: 64 61 74 61                                       data\nEND"},
        {"zeros at the end keep the last line", bufferOf({std::string("x").append(7, 0), zeroBytes(24)}), 0, 0, 0, 8,
         zeros,
         "    0: 78 00 00 00 00 00 00 00   x.......\n    * 16 zeroes\n"
         "   24: 00 00 00 00 00 00 00 00   ........\nEND"},
        {"lines limited", bufferOf({twenty, twenty}), 0, 0, 2, 4, 0,
         "    0: 30 31 32 33   0123\n    4: 34 35 36 37   4567\n  ...\nEND"},
        {"a limit that is not reached, and one past all numbers", bufferOf({"ab"}), 1, 99, SIZE_MAX, 4, 0,
         "    0: 62            b\nEND"},
        {"from the end", bufferOf({"ab"}), 2, 0, 0, 0, 0, ""},
        {"of nothing", Buffer(), 0, 0, 0, 0, 0, ""},
    };
    for (const Dump& dump : dumps) {
        Collected lines;
        TavBlockBufferHexDumpWithEmitter(dump.buffer.get(), dump.offset, dump.length, dump.maxLines, dump.bytesPerLine,
                                         dump.flags, collect, &lines);
        EXPECT_EQ(lines.text, dump.expected) << dump.what;
    }
}

TEST(HexDump, keepsToItsLimits)
{
    Collected lines;
    const Buffer long_ = bufferOf({std::string(300, '\xfe')});
    TavBlockBufferHexDumpWithEmitter(long_.get(), 0, 0, 0, 200, cArray, collect, &lines);
    EXPECT_EQ(std::count(lines.text.begin(), lines.text.end(), '\n'), 3);  // 128 a line

    Collected stopped{"", 1};  // at the second line: nothing follows, nor the end
    TavBlockBufferHexDumpWithEmitter(long_.get(), 0, 0, 0, 1, 0, collect, &stopped);
    EXPECT_EQ(stopped.text, "    0: FE   .\n    1: FE   .\n");

    // What cannot be read is left over.
    Buffer half = bufferOf({"ab", zeroBytes(4)});
    LuBlockBufferAppendMemoryBlock(half.get(), nullptr, 4, nullptr, nullptr, 0, 4, 0);
    Collected unread;
    TavBlockBufferHexDumpWithEmitter(half.get(), 0, 0, 0, 2, zeros, collect, &unread);
    EXPECT_EQ(unread.text, "    0: 61 62   ab\n    * 4 zeroes\n  ...\nEND");
}

TEST(HexDump, goesToStringsAndStandardError)
{
    const Buffer buffer = bufferOf({"abc"});
    const ZoRef<ZoMutableStringRef> string = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    TavBlockBufferAppendHexDumpToZoString(buffer.get(), 0, 0, 1, 2, 0, string.get());
    EXPECT_EQ(text(string), "    0: 61 62   ab\n  ...\n");
    testing::internal::CaptureStderr();
    TavBlockBufferHexDump(buffer.get(), 2, 0, 0, 1, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "    0: 63   c\n");
}
