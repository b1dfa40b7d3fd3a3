// Arbitrary bytes in every encoding: what is taken must survive the way back and forth, whatever the room it is given.

#include <cstdlib>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Fuzz/Support/Require.h"

static constexpr ZoStringEncoding kEncodings[] = {
    0x08000100, 0x0100, 0x10000100, 0x14000100, 0x0C000100, 0x18000100, 0x1C000100, 0x04000100, 0x0600, 0x0000, 0x0006,
    0x0007,     0x001D, 0x0023,     0x0201,     0x0202,     0x0203,     0x0204,     0x0205,     0x0206, 0x0207, 0x0208,
    0x0209,     0x020A, 0x020B,     0x020D,     0x020E,     0x020F,     0x0400,     0x0405,     0x0406, 0x0410, 0x0411,
    0x0412,     0x0413, 0x0414,     0x0415,     0x0416,     0x0417,     0x0418,     0x0419,     0x041A, 0x041B, 0x041C,
    0x041D,     0x0420, 0x0421,     0x0422,     0x0423,     0x0500,     0x0501,     0x0502,     0x0503, 0x0504, 0x0505,
    0x0506,     0x0507, 0x0508,     0x0631,     0x0632,     0x0820,     0x0821,     0x0822,     0x0830, 0x0831, 0x0840,
    0x0920,     0x0930, 0x0931,     0x0940,     0x0A01,     0x0A02,     0x0A03,     0x0A05,     0x0A06, 0x0A08, 0x0C02,
};

/// Any room: what was used is within it, and decodes.
static void checkPartialBytes(ZoStringRef string, ZoStringEncoding encoding, ZoIndex room)
{
    std::vector<uint8_t> buffer(static_cast<size_t>(room) + 1);
    const ZoIndex length = ZoStringGetLength(string);
    ZoIndex used = -1;
    const ZoIndex converted = ZoStringGetBytes(string, {0, length}, encoding, '?', false, buffer.data(), room, &used);
    require(used >= 0 && used <= room && converted >= 0 && converted <= length);
    require(converted == length || room < ZoStringGetMaximumSizeForEncoding(length, encoding));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) return 0;
    const ZoStringEncoding encoding = kEncodings[data[0] % std::size(kEncodings)];
    const ZoIndex room = data[1];
    const bool isExternal = data[1] & 1;
    const auto string =
        zoAdopt(ZoStringCreateWithBytes(nullptr, data + 2, static_cast<ZoIndex>(size - 2), encoding, isExternal));
    if (!string) return 0;
    checkPartialBytes(string.get(), encoding, room);
    checkPartialBytes(string.get(), kZoStringEncodingASCII, room);

    const auto utf8 = zoAdopt(ZoStringCreateExternalRepresentation(nullptr, string.get(), kZoStringEncodingUTF8, 0));
    require(static_cast<bool>(utf8));
    const auto same = zoAdopt(ZoStringCreateWithBytes(nullptr, ZoDataGetBytePtr(utf8.get()),
                                                      ZoDataGetLength(utf8.get()), kZoStringEncodingUTF8, false));
    require(same && ZoEqual(same.get(), string.get()) && ZoHash(same.get()) == ZoHash(string.get()));

    // Several bytes may stand for one character, so that only the second way is sure to give the same.
    const auto bytes = zoAdopt(ZoStringCreateExternalRepresentation(nullptr, string.get(), encoding, '?'));
    require(static_cast<bool>(bytes));
    const auto once = zoAdopt(ZoStringCreateFromExternalRepresentation(nullptr, bytes.get(), encoding));
    if (!once) return 0;
    const auto lowered = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, once.get()));
    ZoStringLowercase(lowered.get(), nullptr);
    require(ZoStringCompare(once.get(), once.get(), kZoCompareCaseInsensitive) == kZoCompareEqualTo);
    return 0;
}
