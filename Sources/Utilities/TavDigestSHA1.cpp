#include "Utilities/TavDigestSHA1.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Utilities/TavBigEndian.h"

namespace {

constexpr size_t kBlockLength = sizeof(TavDigestSHA1::buffer);
constexpr size_t kLengthOffset = kBlockLength - sizeof(uint64_t);
constexpr uint32_t kInitialState[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

constexpr uint32_t rotateLeft(uint32_t value, int count) { return value << count | value >> (32 - count); }

// FIPS 180-4, 4.1.1 and 4.2.1: the function and constant of the round's quarter.
template <int quarter>
constexpr uint32_t mix(uint32_t b, uint32_t c, uint32_t d)
{
    if constexpr (quarter == 0) return ((d ^ (b & (c ^ d)))) + 0x5A827999;
    if constexpr (quarter == 1) return (b ^ c ^ d) + 0x6ED9EBA1;
    if constexpr (quarter == 2) return ((b & c) | (d & (b | c))) + 0x8F1BBCDC;
    if constexpr (quarter == 3) return (b ^ c ^ d) + 0xCA62C1D6;
}

struct Rounds {
    uint32_t v[5];
    uint32_t w[16];
    const uint8_t* block;

    // The five working variables stay where they are; instead of moving them, each round names them one further.
    template <int t>
    [[gnu::always_inline]] void round()
    {
        if constexpr (t < 16) {
            w[t] = loadBE32(block + 4 * t);
        } else {
            w[t & 15] = rotateLeft(w[(t + 13) & 15] ^ w[(t + 8) & 15] ^ w[(t + 2) & 15] ^ w[t & 15], 1);
        }
        constexpr int shift = 80 - t;
        uint32_t& b = v[(shift + 1) % 5];
        v[(shift + 4) % 5] +=
            rotateLeft(v[shift % 5], 5) + mix<t / 20>(b, v[(shift + 2) % 5], v[(shift + 3) % 5]) + w[t & 15];
        b = rotateLeft(b, 30);
    }

    template <int... t>
    [[gnu::always_inline]] void all(std::integer_sequence<int, t...>)
    {
        (round<t>(), ...);
    }
};

void sha1Compress(TavDigestSHA1& context, const uint8_t* block)
{
    Rounds rounds;
    std::copy_n(context.state, 5, rounds.v);
    rounds.block = block;
    rounds.all(std::make_integer_sequence<int, 80>());
    for (int i = 0; i < 5; ++i) context.state[i] += rounds.v[i];
    context.bitCount += 8 * kBlockLength;
}

}  // namespace

TavDigestSHA1* TavDigestSHA1Create(void)
{
    auto* context = static_cast<TavDigestSHA1*>(calloc(1, sizeof(TavDigestSHA1)));
    TavDigestSHA1Reset(context);
    return context;
}

void TavDigestSHA1Reset(TavDigestSHA1* context)
{
    if (!context) return;
    *context = {};
    std::copy_n(kInitialState, 5, context->state);
}

void TavDigestSHA1AppendData(TavDigestSHA1* context, const void* bytes, size_t length)
{
    if (!context || !bytes) return;
    const auto* next = static_cast<const uint8_t*>(bytes);
    while (length > 0) {
        if (context->bufferedBytes == 0 && length >= kBlockLength) {
            sha1Compress(*context, next);
            next += kBlockLength;
            length -= kBlockLength;
            continue;
        }
        const size_t count = std::min<size_t>(length, kBlockLength - context->bufferedBytes);
        std::copy_n(next, count, context->buffer + context->bufferedBytes);
        context->bufferedBytes += count;
        next += count;
        length -= count;
        if (context->bufferedBytes == kBlockLength) {
            sha1Compress(*context, context->buffer);
            context->bufferedBytes = 0;
        }
    }
}

void TavDigestSHA1GetDigest(TavDigestSHA1* context, uint8_t* digestOut)
{
    if (!context || !digestOut) return;
    const uint64_t bitCount = context->bitCount + 8 * context->bufferedBytes;
    size_t used = context->bufferedBytes;
    context->buffer[used++] = 0x80;
    if (used > kLengthOffset) {
        std::fill(context->buffer + used, context->buffer + kBlockLength, uint8_t{0});
        sha1Compress(*context, context->buffer);
        used = 0;
    }
    std::fill(context->buffer + used, context->buffer + kLengthOffset, uint8_t{0});
    storeBE64(context->buffer + kLengthOffset, bitCount);
    sha1Compress(*context, context->buffer);
    for (int i = 0; i < 5; ++i) storeBE32(digestOut + 4 * i, context->state[i]);
    *context = {};
}

void TavDigestSHA1Destroy(TavDigestSHA1* context) { free(context); }
