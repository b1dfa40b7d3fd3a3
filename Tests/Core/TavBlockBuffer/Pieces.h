// Buffers from text and back.

#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace luvia_test {

using Buffer = ZoRef<LuBlockBufferRef>;

inline Buffer memory(const std::string& text)
{
    Buffer buffer;
    TavCreateBlockBufferCopyingMemoryBlock(nullptr, text.data(), text.size(), buffer.outParam());
    return buffer;
}
/// A buffer of these pieces, in the smallest tables.
inline Buffer bufferOf(std::initializer_list<std::string> pieces)
{
    Buffer buffer;
    LuBlockBufferCreateEmpty(nullptr, 0, 0, buffer.outParam());
    for (const std::string& piece : pieces) {
        LuBlockBufferAppendBufferReference(buffer.get(), memory(piece).get(), 0, 0, 0);
    }
    return buffer;
}
inline std::string textOf(const Buffer& buffer)
{
    std::string text(LuBlockBufferGetDataLength(buffer.get()), '?');
    if (text.empty()) return text;
    EXPECT_EQ(LuBlockBufferCopyDataBytes(buffer.get(), 0, text.size(), text.data()), 0);
    return text;
}

}  // namespace luvia_test
