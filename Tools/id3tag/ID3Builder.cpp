#include "id3tag/ID3Builder.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "id3tag/ConsoleLog.h"
#include "id3tag/Malloced.h"

namespace {

// ID3v2.4.0 structure, 3.1 and 4: the header of the tag and that of a frame both have 10 bytes, and both give the size
// of what follows in 28 bits.
constexpr uint64_t kHeaderSize = 10;
constexpr uint64_t kSizeLimit = 0x10000000;
constexpr uint8_t kEncodingUTF8 = 3;
constexpr unsigned long kPictureTypeCount = 21;

}  // namespace

// A serialised frame; its bytes stand behind the record, in the same allocation.
struct ID3Frame {
    uint64_t size;
    ID3Frame* next;  // the frame added before this one

    uint8_t* bytes() { return reinterpret_cast<uint8_t*>(this + 1); }
};

struct ID3Tag {
    uint64_t totalSize;  // of the finished tag, its header included
    ID3Frame* firstFrame;
    void* (*allocate)(size_t size);
};

namespace {

using OwnedFrame = Malloced<ID3Frame>;

// ID3v2.4.0 frames, 4.2 to 4.27: what stands before the payload. Texts end with a NUL.
enum class Field : uint8_t { None, Encoding, MIMEType, PictureType, FileName, Description };

struct FrameLayout {
    const char* frameID;             // absent: the subtype names the frame
    const char* noSubtypeComplaint;  // absent: the frame takes none
    Field fields[4];
};

constexpr FrameLayout kFrameLayouts[] = {
    {nullptr, "WriteTextFrame - No frame subtype", {Field::Encoding}},
    {"TXXX", nullptr, {Field::Encoding, Field::Description}},
    {nullptr, "WriteURLFrame - No frame subtype", {}},
    {"WXXX", nullptr, {Field::Encoding, Field::Description}},
    {"APIC",
     "WritePictureFrame - No frame subtype",
     {Field::Encoding, Field::MIMEType, Field::PictureType, Field::Description}},
    {"GEOB", nullptr, {Field::Encoding, Field::MIMEType, Field::FileName, Field::Description}},
    {"PRIV", nullptr, {Field::Description}},
};

const FrameLayout* layoutOf(uint32_t frameCode)
{
    const bool known = frameCode >= kID3FrameText && frameCode <= kID3FramePrivate;
    return known ? &kFrameLayouts[frameCode - kID3FrameText] : nullptr;
}

struct FrameArguments {
    uint32_t code;
    const char* subtype;
    std::string_view description;
    std::string_view fileName;
    const uint8_t* payload;
    uint64_t payloadLength;

    std::string_view mimeType() const
    {
        if (code == kID3FrameObject) return subtype;
        return payloadLength != 0 && payload[0] == 0x89 ? "image/png" : "image/jpeg";
    }
};

// Counts bytes, and writes them where there is room to write to: a frame is measured and written by the same walk.
class ByteSink {
public:
    explicit ByteSink(uint8_t* destination = nullptr) : destination_(destination) {}

    uint64_t count() const { return count_; }
    void byte(uint8_t value) { bytes(&value, 1); }
    void text(std::string_view value)
    {
        bytes(value.data(), value.size());
        byte(0);
    }
    void bytes(const void* source, uint64_t length)
    {
        if (destination_ && length) memcpy(destination_ + count_, source, length);
        skip(length);
    }
    /// For a payload of any size: in pieces that find the page under them in the cache, where the system has just
    /// cleared it. One large copy would pass the cache by.
    void payload(const uint8_t* source, uint64_t length)
    {
        constexpr uint64_t kPiece = 256 << 10;
        for (uint64_t done = 0; done < length; done += kPiece) bytes(source + done, std::min(kPiece, length - done));
    }
    void skip(uint64_t length)
    {
        if (__builtin_add_overflow(count_, length, &count_)) count_ = UINT64_MAX;  // far past every limit
    }
    /// 28 bits, 7 a byte.
    void synchsafe(uint64_t value)
    {
        for (int shift = 21; shift >= 0; shift -= 7) byte(value >> shift & 0x7F);
    }

private:
    uint8_t* destination_;
    uint64_t count_ = 0;
};

void writeFields(ByteSink& sink, const FrameLayout& layout, const FrameArguments& arguments, uint8_t pictureType)
{
    for (const Field field : layout.fields) {
        switch (field) {
            case Field::None: break;
            case Field::Encoding: sink.byte(kEncodingUTF8); break;
            case Field::MIMEType: sink.text(arguments.mimeType()); break;
            case Field::PictureType: sink.byte(pictureType); break;
            case Field::FileName: sink.text(arguments.fileName); break;
            case Field::Description: sink.text(arguments.description); break;
        }
    }
}

std::optional<uint64_t> getFrameLen(const FrameLayout* layout, const FrameArguments& arguments)
{
    if (!layout) {
        OutputMessage(0, "GetFrameLen - Unsupported frame type");
        return kHeaderSize;
    }
    if (arguments.code == kID3FrameObject && !arguments.subtype) {
        OutputMessage(0, "GetFrameLen - Invalid Mime Type");
        return std::nullopt;
    }
    ByteSink length;
    length.skip(kHeaderSize);
    writeFields(length, *layout, arguments, 0);
    length.skip(arguments.payloadLength);
    return length.count();
}

bool readPictureType(const char* text, uint8_t* pictureTypeOut)
{
    const auto value = static_cast<unsigned long>(strtol(text, nullptr, 10));
    if (value >= kPictureTypeCount) {
        OutputMessage(0, "WritePictureFrame - Invalid frame subtype");
        return false;
    }
    *pictureTypeOut = static_cast<uint8_t>(value);
    return true;
}

bool writeFrame(ID3Frame& frame, const FrameLayout* layout, const FrameArguments& arguments)
{
    if (!layout) {
        OutputMessage(0, "ID3GenerateID3Frame - Unsupported frame type");
        return false;
    }
    if (layout->noSubtypeComplaint && !arguments.subtype) {
        OutputMessage(0, "%s", layout->noSubtypeComplaint);
        return false;
    }
    uint8_t pictureType = 0;
    if (arguments.code == kID3FramePicture && !readPictureType(arguments.subtype, &pictureType)) return false;

    char frameID[4] = {};  // a shorter one is filled up with NULs
    const char* const name = layout->frameID ? layout->frameID : arguments.subtype;
    memcpy(frameID, name, strnlen(name, sizeof frameID));

    ByteSink sink(frame.bytes());
    sink.bytes(frameID, sizeof frameID);
    sink.synchsafe(frame.size - kHeaderSize);
    sink.bytes("\0\0", 2);
    writeFields(sink, *layout, arguments, pictureType);
    sink.payload(arguments.payload, arguments.payloadLength);
    return true;
}

}  // namespace

ID3TagRef ID3CreateTag(void) { return ID3CreateTagWithMemory(nullptr); }

ID3TagRef ID3CreateTagWithMemory(void* (*allocate)(size_t size))
{
    auto* const tag = static_cast<ID3Tag*>(malloc(sizeof(ID3Tag)));
    if (!tag) {
        OutputMessage(0, "ID3CreateTag - Memory allocation failed");
        return nullptr;
    }
    *tag = {kHeaderSize, nullptr, allocate ? allocate : malloc};
    return tag;
}

OSStatus ID3AddFrame(ID3TagRef tag, uint32_t frameCode, const char* subtype, const char* description,
                     const char* fileName, const void* payload, uint64_t payloadLength)
{
    if (!tag || (!payload && payloadLength != 0)) return kID3Err_Failure;
    const FrameArguments arguments = {
        .code = frameCode,
        .subtype = subtype,
        .description = description ? description : "",
        .fileName = fileName ? fileName : "",
        .payload = static_cast<const uint8_t*>(payload),
        .payloadLength = payloadLength,
    };
    const FrameLayout* const layout = layoutOf(frameCode);

    const std::optional<uint64_t> size = getFrameLen(layout, arguments);
    if (!size) return kID3Err_Failure;
    if (*size >= kSizeLimit) {
        OutputMessage(0, "ID3AddFrame - Invalid frame size");
        return kID3Err_Failure;
    }
    OwnedFrame frame(static_cast<ID3Frame*>(tag->allocate(sizeof(ID3Frame) + *size)));
    if (!frame) {
        OutputMessage(0, "ID3AddFrame - Memory allocation failed");
        return kID3Err_Failure;
    }
    *frame = {*size, tag->firstFrame};
    if (!writeFrame(*frame, layout, arguments)) return kID3Err_Failure;

    tag->firstFrame = frame.release();
    tag->totalSize += *size;
    return 0;
}

OSStatus ID3GenerateTag(ID3TagRef tag, uint8_t** bytesOut, uint64_t* lengthOut)
{
    *lengthOut = 0;
    *bytesOut = static_cast<uint8_t*>(tag->allocate(tag->totalSize));
    if (!*bytesOut) {
        OutputMessage(0, "ID3GenerateTag - Memory allocation failed");
        return -1;
    }
    if (tag->totalSize >= kSizeLimit) {
        OutputMessage(0, "WriteID3Header - Invalid tag size");
        OutputMessage(0, "ID3GenerateTag - Failed Writing ID3 header");
        free(*bytesOut);
        *bytesOut = nullptr;
        return kID3Err_Failure;
    }
    ByteSink sink(*bytesOut);
    sink.bytes("ID3\4\0\0", 6);  // version 2.4.0, no flags
    sink.synchsafe(tag->totalSize - kHeaderSize);
    for (ID3Frame* frame = tag->firstFrame; frame; frame = frame->next) sink.bytes(frame->bytes(), frame->size);
    *lengthOut = sink.count();
    return 0;
}

void ID3DestroyTag(ID3TagRef tag)
{
    if (!tag) return;
    while (ID3Frame* const frame = tag->firstFrame) {
        tag->firstFrame = frame->next;
        free(frame);
    }
    free(tag);
}
