#include "Utilities/TavDigestSHA1.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string hexDigest(TavDigestSHA1* context)
{
    uint8_t digest[kTavDigestSHA1Length];
    TavDigestSHA1GetDigest(context, digest);
    std::string out;
    char hex[3];
    for (uint8_t byte : digest) {
        std::snprintf(hex, sizeof(hex), "%02x", byte);
        out += hex;
    }
    return out;
}

std::string digestOf(const std::string& text, size_t piece)
{
    TavDigestSHA1* context = TavDigestSHA1Create();
    for (size_t at = 0; at < text.size(); at += piece)
        TavDigestSHA1AppendData(context, text.data() + at, std::min(piece, text.size() - at));
    const std::string hex = hexDigest(context);
    TavDigestSHA1Destroy(context);
    return hex;
}

// Every length around one, two and four blocks, told by sha1sum of coreutils over the same bytes.
TEST(DigestSHA1, equalsSha1sumAtEveryLengthTo300)
{
    std::string all;
    for (int length = 0; length <= 300; ++length) {
        const std::string text = [&] {
            std::string bytes;
            for (int i = 0; i < length; ++i) bytes.push_back(static_cast<char>('A' + i % 57));
            return bytes;
        }();
        FILE* judge = popen(("printf '%s' '" +
                             [&] {
                                 std::string quoted;
                                 for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
                                 return quoted;
                             }() +
                             "' | sha1sum")
                                .c_str(),
                            "r");
        char expected[41] = {};
        ASSERT_EQ(fread(expected, 1, 40, judge), 40u);
        pclose(judge);
        ASSERT_EQ(digestOf(text, 1000), expected) << length;
        ASSERT_EQ(digestOf(text, 1), expected) << length << " in single bytes";
        ASSERT_EQ(digestOf(text, 63), expected) << length << " in pieces of 63";
    }
}

TEST(DigestSHA1, isWipedByItsDigestAndUsableAfterReset)
{
    TavDigestSHA1* context = TavDigestSHA1Create();
    TavDigestSHA1AppendData(context, "secret", 6);
    hexDigest(context);
    const auto* bytes = reinterpret_cast<const uint8_t*>(context);
    for (size_t i = 0; i < sizeof(*context); ++i) ASSERT_EQ(bytes[i], 0) << "byte " << i << " was left";
    TavDigestSHA1Reset(context);
    EXPECT_EQ(hexDigest(context), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    TavDigestSHA1Destroy(context);
}

TEST(DigestSHA1, ignoresWhatIsAbsent)
{
    uint8_t digest[kTavDigestSHA1Length] = {7};
    TavDigestSHA1AppendData(nullptr, "x", 1);
    TavDigestSHA1GetDigest(nullptr, digest);
    EXPECT_EQ(digest[0], 7);
    TavDigestSHA1* context = TavDigestSHA1Create();
    TavDigestSHA1AppendData(context, nullptr, 5);
    TavDigestSHA1GetDigest(context, nullptr);
    EXPECT_EQ(hexDigest(context), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    TavDigestSHA1Destroy(context);
}

}  // namespace
