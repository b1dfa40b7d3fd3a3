// Frames of any code, with any texts and payload; the tag that comes out is walked by a reader of its own.
//
// Input: one frame after another. A byte of frame code (its top bits say which texts are absent), then four texts and
// the payload, each with a length byte in front.

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "Fuzz/Support/Require.h"
#include "id3tag/ID3Builder.h"
#include "id3tag/Malloced.h"

namespace {

class Input {
public:
    Input(const uint8_t* bytes, size_t length) : rest_(reinterpret_cast<const char*>(bytes), length) {}

    bool empty() const { return rest_.empty(); }
    uint8_t byte()
    {
        if (rest_.empty()) return 0;
        const auto value = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }
    std::string bytes()
    {
        const std::string taken(rest_.substr(0, byte()));
        rest_.remove_prefix(std::min(taken.size(), rest_.size()));
        return taken;
    }

private:
    std::string_view rest_;
};

struct Added {
    uint32_t code;
    std::string subtype, description, fileName, payload;
};

uint32_t readSynchsafe(std::string_view bytes)
{
    uint32_t value = 0;
    for (const char c : bytes.substr(0, 4)) {
        require((c & 0x80) == 0);
        value = value << 7 | static_cast<uint32_t>(c);
    }
    return value;
}

void checkTag(std::string_view tag, const std::vector<Added>& frames)
{
    require(tag.size() >= 10 && tag.substr(0, 6) == std::string_view("ID3\4\0\0", 6));
    require(readSynchsafe(tag.substr(6)) == tag.size() - 10);
    tag.remove_prefix(10);
    for (auto added = frames.rbegin(); added != frames.rend(); ++added) {
        require(tag.size() >= 10);
        const size_t size = readSynchsafe(tag.substr(4));
        require(tag[8] == 0 && tag[9] == 0 && size <= tag.size() - 10);
        require(tag.substr(10, size).ends_with(added->payload));
        tag.remove_prefix(10 + size);
    }
    require(tag.empty());
}

std::string generate(ID3TagRef tag)
{
    uint8_t* bytes = nullptr;
    uint64_t length = 0;
    require(ID3GenerateTag(tag, &bytes, &length) == 0);
    const Malloced<uint8_t> owner(bytes);
    return std::string(bytes, bytes + length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t length)
{
    Input input(bytes, length);
    ID3TagRef tag = ID3CreateTag();
    require(tag != nullptr);
    std::vector<Added> frames;
    while (!input.empty()) {
        const uint8_t head = input.byte();
        Added added = {head & 0x0Fu, input.bytes(), input.bytes(), input.bytes(), input.bytes()};
        const char* const subtype = head & 0x10 ? nullptr : added.subtype.c_str();
        const char* const description = head & 0x20 ? nullptr : added.description.c_str();
        const char* const fileName = head & 0x40 ? nullptr : added.fileName.c_str();
        const OSStatus status =
            ID3AddFrame(tag, added.code, subtype, description, fileName, added.payload.data(), added.payload.size());
        require(status == 0 || status == kID3Err_Failure);
        const bool lacksSubtype = !subtype && (added.code % 2 == 1 || added.code == 6) && added.code != 7;
        if (added.code < 1 || added.code > 7 || lacksSubtype) require(status != 0);
        if (status == 0) frames.push_back(std::move(added));
    }
    const std::string once = generate(tag);
    require(once == generate(tag));
    ID3DestroyTag(tag);
    checkTag(once, frames);
    return 0;
}
