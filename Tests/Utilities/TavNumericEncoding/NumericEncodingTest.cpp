// Base32, base64 and hexadecimal text.

#include <bitset>
#include <random>

#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"
#include "Utilities/TavNumericEncoding.h"

using namespace luvia_test;

namespace {

const uint8_t* bytesOf(std::string_view text) { return reinterpret_cast<const uint8_t*>(text.data()); }

template <auto kEncode>
std::string encoded(std::string_view bytes, bool padded)
{
    ZoRef<ZoStringRef> string;
    const OSStatus status = kEncode(nullptr, bytesOf(bytes), bytes.size(), padded, string.outParam());
    return status == 0 ? text(string) : std::to_string(status);
}
constexpr auto base32 = encoded<TavCreateBase32EncodedStringFromBytes>;
constexpr auto base64 = encoded<TavCreateBase64EncodedStringFromBytes>;

/// The bytes of a range, or the status and what was signalled.
std::string decoded(ZoStringRef string, ZoIndex location, ZoIndex length)
{
    const SignalProbe probe;
    ZoRef<ZoDataRef> bytes;
    const OSStatus status =
        TavCreateDataFromBase64EncodedStringRange(nullptr, string, location, length, bytes.outParam());
    if (status != 0) return bytes ? "written" : std::to_string(status) + " " + probe.message();
    return {reinterpret_cast<const char*>(ZoDataGetBytePtr(bytes.get())),
            static_cast<size_t>(ZoDataGetLength(bytes.get()))};
}
std::string decoded(std::string_view encodedText)
{
    const auto string = str(encodedText);
    return decoded(string.get(), 0, ZoStringGetLength(string.get()));
}

// RFC 4648 10.
TEST(NumericEncoding, agreesWithRFC4648)
{
    const char* rows[][3] = {{"f", "MY======", "Zg=="},         {"fo", "MZXQ====", "Zm8="},
                             {"foo", "MZXW6===", "Zm9v"},       {"foob", "MZXW6YQ=", "Zm9vYg=="},
                             {"fooba", "MZXW6YTB", "Zm9vYmE="}, {"foobar", "MZXW6YTBOI======", "Zm9vYmFy"}};
    for (const auto& [plain, in32, in64] : rows) {
        EXPECT_EQ(base32(plain, true), in32);
        EXPECT_EQ(base64(plain, true), in64);
        EXPECT_EQ(decoded(in64), plain);
    }
    EXPECT_EQ(base32("f", false) + base64("f", false), "MYZg");
}

std::string model(std::string_view bytes, unsigned bitsPerChar)
{
    std::string bits, out;
    for (const char byte : bytes) bits += std::bitset<8>(static_cast<uint8_t>(byte)).to_string();
    while (bits.size() % bitsPerChar) bits += '0';
    for (size_t at = 0; at < bits.size(); at += bitsPerChar)
        out += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[std::stoul(
            bits.substr(at, bitsPerChar), nullptr, 2)];
    return out;
}

// The standard alphabet of base64 has a way of its own through the encoder.
TEST(NumericEncoding, agreesWithAModelBitByBit)
{
    std::mt19937 random;
    for (size_t length = 1; length < 120; ++length) {
        std::string bytes(length, '\0');
        for (char& byte : bytes) byte = static_cast<char>(random());
        ASSERT_EQ(base64(bytes, false), model(bytes, 6));
        ASSERT_EQ(decoded(base64(bytes, length % 2)), bytes);
        for (const unsigned bits : {1, 3, 5}) {
            ZoRef<ZoStringRef> string;
            tavNumericsCreateEncodedStringFromBytes(nullptr, bits, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdef", bytesOf(bytes),
                                                    length, true, string.outParam());
            ASSERT_EQ(text(string).substr(0, text(string).find('=')), model(bytes, bits)) << length;
        }
    }
}

TEST(NumericEncoding, decodesRangesAndRefusesWhatIsNoText)
{
    const std::string invalid = "-17452 invalid character encountered";
    const std::pair<const char*, std::string> rows[] = {
        {"====", ""},       {"!", ""},    // too short to be looked at
        {"Zg=======", "f"}, {"Zh", "f"},  // bits left over
        {"Zm9vZ", "foo"},   {"Zm 9", invalid}, {"Zm9v\n", invalid}, {"Z=g=", invalid}, {"Zm9vZm\xC3\xA9", invalid}};
    for (const auto& [from, expected] : rows) EXPECT_EQ(decoded(from), expected) << from;
    for (size_t place = 0; place < 8; ++place)
        EXPECT_EQ(decoded(std::string("Zm9vZm9v").replace(place, 1, "*")), invalid) << place;
    const auto string = str("\xC3\xA9\xC3\xA9Zm9v");  // positions are characters, not bytes
    EXPECT_EQ(decoded(string.get(), 2, 4), "foo");
    EXPECT_EQ(decoded(string.get(), 6, 0), "");
    for (const auto& [location, length] :
         {ZoRangeMake(-1, 1), ZoRangeMake(0, -1), ZoRangeMake(3, 4), ZoRangeMake(INTPTR_MAX, INTPTR_MAX)})
        EXPECT_EQ(decoded(string.get(), location, length), "-17450 invalid encodedRange") << location << " " << length;
    const UniChar lone[] = {0xD800, 0x3D3D};
    EXPECT_EQ(decoded(zoAdopt(ZoStringCreateWithCharacters(nullptr, lone, 2)).get(), 0, 2),
              "-17450 failed to get string pointer");
}

TEST(NumericEncoding, writesHexadecimalAndReportsEveryLackOfMemory)
{
    EXPECT_EQ(base64({"", SIZE_MAX / 4}, true), "-17451") << "more bits than a word can count";
    const auto bytes = zoAdopt(ZoDataCreate(nullptr, bytesOf("\x01\xAF"), 2));
    sweepAllocationFailures([&](const FailingAllocator& allocator) {
        ZoRef<ZoStringRef> hex, reversed;
        ZoRef<ZoDataRef> back;
        TavCreateHexStringFromZoData(allocator.get(), bytes.get(), true, hex.outParam());
        TavCreateHexStringFromZoData(allocator.get(), bytes.get(), false, reversed.outParam());
        TavCreateDataFromBase64EncodedStringRange(allocator.get(), ZOSTR("Zm9v"), 0, 4, back.outParam());
        EXPECT_EQ(!hex + !reversed + !back, allocator.hasFailed());
        EXPECT_TRUE(!back || text(hex) + text(reversed) == "0x01af0xaf01" || allocator.hasFailed());
    });
}

}  // namespace
