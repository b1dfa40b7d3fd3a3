// Atoms as text, for inputs that a test builds by hand: atom("moov", fullAtom("mvhd", 0, 0, zeros(96)) + atom("free")).

#pragma once

#include <string>

#include "Platform/Common/LuBase.h"
#include "Tests/Support/Bytes.h"

namespace luvia_test {

inline OSType fourCC(const char* text) { return LU_FOURCC(text[0], text[1], text[2], text[3]); }
/// A header alone, of a size that may be a lie.
inline std::string atomHeader(uint32_t size, const std::string& type) { return be32(size) + type; }
inline std::string atom(const std::string& type, const std::string& data = "")
{
    return atomHeader(static_cast<uint32_t>(8 + data.size()), type) + data;
}
inline std::string fullAtom(const std::string& type, uint8_t version, uint32_t flags, const std::string& data = "")
{
    return atom(type, be(version, 1) + be24(flags) + data);
}
inline std::string wideAtom(const std::string& type, const std::string& data = "")
{
    return atomHeader(1, type) + be64(16 + data.size()) + data;
}
/// `uuid` has 16 bytes.
inline std::string uuidAtom(const std::string& uuid, const std::string& data = "") { return atom("uuid", uuid + data); }

}  // namespace luvia_test
