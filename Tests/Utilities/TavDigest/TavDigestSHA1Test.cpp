#include "Utilities/TavDigestSHA1.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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

// What sha1sum of coreutils says of the bytes that `write` gives it.
template <typename Write>
std::string sha1sumOf(Write write)
{
    char path[] = "/tmp/luvia-sha1sum-XXXXXX", expected[41] = {};
    close(mkstemp(path));
    FILE* judge = popen((std::string("sha1sum > ") + path).c_str(), "w");
    write(judge);
    pclose(judge);
    FILE* said = fopen(path, "r");
    EXPECT_EQ(fread(expected, 1, 40, said), 40u);
    fclose(said);
    unlink(path);
    return expected;
}

// Every length around one, two and four blocks.
TEST(DigestSHA1, equalsSha1sumAtEveryLengthTo300)
{
    std::string text;
    for (int length = 0; length <= 300; ++length, text.push_back(static_cast<char>(length * 7))) {
        const std::string expected =
            sha1sumOf([&](FILE* judge) { EXPECT_EQ(fwrite(text.data(), 1, text.size(), judge), text.size()); });
        for (const size_t piece : {1000, 1, 63})
            ASSERT_EQ(digestOf(text, piece), expected) << length << " in " << piece;
    }
}

// More bits than 32 count, in pieces that grow by one each turn, so that they fall everywhere in a block.
TEST(DigestSHA1, equalsSha1sumOfALongRun)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr size_t kLength = 16777259;
#else
    constexpr size_t kLength = (size_t{1} << 29) + 77;
#endif
    std::string pattern(1 << 20, '\0');
    for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<char>(i % 251);
    TavDigestSHA1* context = TavDigestSHA1Create();
    const std::string expected = sha1sumOf([&](FILE* judge) {
        for (size_t done = 0, piece = 1; done < kLength; done += piece++) {
            if (piece > pattern.size() || piece > kLength - done) piece = std::min(pattern.size(), kLength - done);
            TavDigestSHA1AppendData(context, pattern.data(), piece);
            fwrite(pattern.data(), 1, piece, judge);
        }
    });
    EXPECT_EQ(hexDigest(context), expected);
    TavDigestSHA1Destroy(context);
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
