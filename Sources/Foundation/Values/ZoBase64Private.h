// Bytes as text of some bits a character (RFC 4648), for property lists and for all that writes or reads such text.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::string_view kZoBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Characters that `count` bytes take; with padding, in groups that hold whole bytes (4 of base64, 8 of base32).
constexpr size_t zoEncodedLength(size_t count, unsigned bitsPerCharacter, bool isPadded) noexcept
{
    size_t length = (count * 8 + bitsPerCharacter - 1) / bitsPerCharacter;
    while (isPadded && length * bitsPerCharacter % 8 != 0) ++length;
    return length;
}

/// Writes zoEncodedLength characters to `out`, the most significant bits of each byte first, and gives their end.
inline char* zoEncode(const uint8_t* bytes, size_t count, unsigned bitsPerCharacter, std::string_view alphabet,
                      bool isPadded, char* out) noexcept
{
    const uint32_t mask = (1u << bitsPerCharacter) - 1;
    char* const end = out + zoEncodedLength(count, bitsPerCharacter, isPadded);
    uint32_t bits = 0;
    unsigned pending = 0;
    for (size_t i = 0; i < count; ++i) {
        bits = bits << 8 | bytes[i];
        for (pending += 8; pending >= bitsPerCharacter;)
            *out++ = alphabet[bits >> (pending -= bitsPerCharacter) & mask];
    }
    if (pending) *out++ = alphabet[bits << (bitsPerCharacter - pending) & mask];
    while (out < end) *out++ = '=';
    return end;
}

inline char* zoEncodeBase64(const uint8_t* bytes, size_t count, bool isPadded, char* out) noexcept
{
    return zoEncode(bytes, count, 6, kZoBase64Alphabet, isPadded, out);
}

/// The six bits of a character, or -1.
constexpr int zoBase64Digit(char c) noexcept
{
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}
