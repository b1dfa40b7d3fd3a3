// Short spellings of what a tag is expected to hold.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "id3tag/ID3Builder.h"
#include "id3tag/Malloced.h"

using namespace std::string_literals;

inline std::string synchsafe(uint32_t value)
{
    std::string out;
    for (int shift = 21; shift >= 0; shift -= 7) out.push_back(static_cast<char>(value >> shift & 0x7F));
    return out;
}
inline std::string frame(const std::string& frameID, const std::string& body)
{
    return frameID + synchsafe(static_cast<uint32_t>(body.size())) + "\0\0"s + body;
}
inline std::string tagOf(const std::string& frames)
{
    return "ID3\4\0\0"s + synchsafe(static_cast<uint32_t>(frames.size())) + frames;
}

struct TagDestroyed {
    void operator()(ID3TagRef tag) const { ID3DestroyTag(tag); }
};
using OwnedTag = std::unique_ptr<ID3Tag, TagDestroyed>;

/// The finished tag, or nothing if it cannot be generated.
inline std::string generate(ID3TagRef tag)
{
    uint8_t* bytes = nullptr;
    uint64_t length = 0;
    ID3GenerateTag(tag, &bytes, &length);
    const Malloced<uint8_t> owner(bytes);
    return bytes ? std::string(bytes, bytes + length) : std::string();
}
