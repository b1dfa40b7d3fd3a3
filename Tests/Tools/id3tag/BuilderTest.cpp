#include <gtest/gtest.h>
#include <sys/mman.h>

#include "LogCapture.h"
#include "TagBytes.h"

namespace {

struct Accepted {
    const char* what;
    uint32_t code;
    const char* subtype;
    const char* description;
    const char* fileName;
    std::string payload;
    std::string expected;
};

const Accepted kAccepted[] = {
    {"text keeps the terminator that was counted", 1, "TIT2", "ignored", "ignored", "a\0"s, "TIT2\0\0\0\3\0\0\3a\0"s},
    {"only four bytes of the frame ID count", 1, "TIT2xyz", nullptr, nullptr, "", frame("TIT2", "\3")},
    {"a short frame ID is filled up, not read past", 1, "TT", nullptr, nullptr, "", frame("TT\0\0"s, "\3")},
    {"user text", 2, "ignored", "d", "ignored", "text", frame("TXXX", "\3d\0text"s)},
    {"user text, no description", 2, nullptr, nullptr, nullptr, "text", frame("TXXX", "\3\0text"s)},
    {"URL has no encoding byte", 3, "WCOM", "ignored", nullptr, "http://u", frame("WCOM", "http://u")},
    {"user URL", 4, nullptr, nullptr, nullptr, "u", frame("WXXX", "\3\0u"s)},
    {"picture told PNG by its first byte alone", 5, "20", "d", "ignored", "\x89",
     frame("APIC", "\3image/png\0\x14"s + "d\0\x89"s)},
    {"picture that is anything else", 5, "0", nullptr, nullptr, "P\x89", frame("APIC", "\3image/jpeg\0\0\0P\x89"s)},
    {"empty picture", 5, "3", "", nullptr, "", frame("APIC", "\3image/jpeg\0\3\0"s)},
    {"picture type without digits is 0", 5, "front", nullptr, nullptr, "", frame("APIC", "\3image/jpeg\0\0\0"s)},
    {"object", 6, "a/b", "d", "f.bin", "\0\1"s, frame("GEOB", "\3a/b\0f.bin\0d\0\0\1"s)},
    {"private", 7, "ignored", "owner", nullptr, "x", frame("PRIV", "owner\0x"s)},
    {"text passes through, whatever its bytes are", 7, nullptr, "\xFF\xFE", nullptr, "\xC0",
     frame("PRIV", "\xFF\xFE\0\xC0"s)},
    {"a body of 128 bytes needs a second size byte", 7, nullptr, "", nullptr, std::string(127, 'p'),
     "PRIV\0\0\1\0\0\0\0"s + std::string(127, 'p')},
};

TEST(ID3Builder, laysOutEveryKindOfFrame)
{
    for (const Accepted& row : kAccepted) {
        SCOPED_TRACE(row.what);
        const OwnedTag tag(ID3CreateTag());
        EXPECT_EQ(ID3AddFrame(tag.get(), row.code, row.subtype, row.description, row.fileName, row.payload.data(),
                              row.payload.size()),
                  0);
        EXPECT_EQ(generate(tag.get()), tagOf(row.expected));
    }
}

struct Refused {
    const char* what;
    uint32_t code;
    const char* subtype;
    uint64_t payloadLength;
    const char* log;
};

const Refused kRefused[] = {
    {"code 0", 0, "TIT2", 1, "GetFrameLen - Unsupported frame type\nID3GenerateID3Frame - Unsupported frame type\n"},
    {"code 8", 8, "TIT2", 1, "GetFrameLen - Unsupported frame type\nID3GenerateID3Frame - Unsupported frame type\n"},
    {"text of no kind", 1, nullptr, 1, "WriteTextFrame - No frame subtype\n"},
    {"URL of no kind", 3, nullptr, 1, "WriteURLFrame - No frame subtype\n"},
    {"picture of no kind", 5, nullptr, 1, "WritePictureFrame - No frame subtype\n"},
    {"object of no kind", 6, nullptr, 1, "GetFrameLen - Invalid Mime Type\n"},
    {"picture type 21", 5, "21", 1, "WritePictureFrame - Invalid frame subtype\n"},
    {"picture type below 0", 5, "-1", 1, "WritePictureFrame - Invalid frame subtype\n"},
    {"picture type past every integer", 5, "18446744073709551616", 1, "WritePictureFrame - Invalid frame subtype\n"},
    {"text that makes the frame 2^28 bytes", 1, "TIT2", 0x10000000 - 11, "ID3AddFrame - Invalid frame size\n"},
    {"the size is looked at before the subtype", 1, nullptr, 0x10000000, "ID3AddFrame - Invalid frame size\n"},
    {"length that wraps round", 7, nullptr, UINT64_MAX - 5, "ID3AddFrame - Invalid frame size\n"},
};

TEST(ID3Builder, refusesFramesAndStaysAsItWas)
{
    LogCapture log;
    const OwnedTag tag(ID3CreateTag());
    ASSERT_EQ(ID3AddFrame(tag.get(), kID3FrameText, "TIT2", nullptr, nullptr, "a", 1), 0);
    for (const Refused& row : kRefused) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(ID3AddFrame(tag.get(), row.code, row.subtype, "d", "f", "a", row.payloadLength), kID3Err_Failure);
        EXPECT_EQ(log.take(), row.log);
    }
    EXPECT_EQ(ID3AddFrame(tag.get(), kID3FrameText, "TALB", nullptr, nullptr, nullptr, 1), kID3Err_Failure);
    EXPECT_EQ(generate(tag.get()), tagOf(frame("TIT2", "\3a")));
}

TEST(ID3Builder, putsTheFrameAddedLastInFrontAndGeneratesAgain)
{
    const OwnedTag tag(ID3CreateTag());
    EXPECT_EQ(generate(tag.get()), "ID3\4\0\0\0\0\0\0"s);
    ID3AddFrame(tag.get(), kID3FrameText, "TIT2", nullptr, nullptr, "a", 1);
    ID3AddFrame(tag.get(), kID3FrameText, "TPE1", nullptr, nullptr, "b", 1);
    const std::string two = tagOf(frame("TPE1", "\3b") + frame("TIT2", "\3a"));
    EXPECT_EQ(generate(tag.get()), two);
    EXPECT_EQ(generate(tag.get()), two);
    ID3AddFrame(tag.get(), kID3FrameText, "TALB", nullptr, nullptr, "c", 1);
    EXPECT_EQ(generate(tag.get()), tagOf(frame("TALB", "\3c") + frame("TPE1", "\3b") + frame("TIT2", "\3a")));
    ID3DestroyTag(nullptr);
}

// 256 MiB of zeros that take memory only where they are copied to.
class Zeros {
public:
    Zeros() : bytes_(mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~Zeros() { munmap(bytes_, kSize); }
    const void* get() const { return bytes_; }

    static constexpr size_t kSize = 0x10000000;

private:
    void* bytes_;
};

TEST(ID3BuilderLimits, theLargestFrameIsAcceptedAndTheLargestTagGenerated)
{
    LogCapture log;
    const Zeros zeros;
    const OwnedTag tag(ID3CreateTag());
    uint8_t* bytes = nullptr;
    uint64_t length = 1;

    // A tag of 0x0FFFFFFF bytes, its header and one private frame of no owner.
    ASSERT_EQ(ID3AddFrame(tag.get(), kID3FramePrivate, nullptr, "", nullptr, zeros.get(), 0x0FFFFFFF - 10 - 11), 0);
    ASSERT_EQ(ID3GenerateTag(tag.get(), &bytes, &length), 0);
    EXPECT_EQ(length, 0x0FFFFFFFu);
    EXPECT_EQ(std::string(bytes + 6, bytes + 10), synchsafe(0x0FFFFFFF - 10));
    free(bytes);

    // One frame more is refused when the tag is generated, not when the frame is added.
    ASSERT_EQ(ID3AddFrame(tag.get(), kID3FramePrivate, nullptr, "", nullptr, "", 0), 0);
    EXPECT_EQ(ID3GenerateTag(tag.get(), &bytes, &length), kID3Err_Failure);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(log.take(), "WriteID3Header - Invalid tag size\nID3GenerateTag - Failed Writing ID3 header\n");

    const OwnedTag other(ID3CreateTag());
    EXPECT_EQ(ID3AddFrame(other.get(), kID3FramePrivate, nullptr, "", nullptr, zeros.get(), 0x0FFFFFFF - 11), 0);
    EXPECT_EQ(ID3AddFrame(other.get(), kID3FramePrivate, nullptr, "", nullptr, zeros.get(), 0x10000000 - 11),
              kID3Err_Failure);
}

}  // namespace
