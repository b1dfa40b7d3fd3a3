// What every codec type is to the framework: one table of four-character codes with their traits, and the pairs of
// codes that stand for each other. All sets of codec types are traits here; nobody else lists codes. Constants; no
// state.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "Platform/Common/LuBase.h"

namespace tavcodec {

/// The code that a literal of four characters spells.
consteval OSType code(const char (&text)[5]) { return LU_FOURCC(text[0], text[1], text[2], text[3]); }

enum Trait : uint64_t {
    H264 = uint64_t{1} << 0,               ///< sets of parameters in avcC; fallback extensions from them
    HEVC = uint64_t{1} << 1,               ///< sets of parameters in hvcC; fallback extensions from them
    AV1 = uint64_t{1} << 2,                ///< sequence header in av1C; fallback extensions from it
    DolbyVision = uint64_t{1} << 3,        ///< of HEVC or of AV1
    SEI = uint64_t{1} << 4,                ///< extensions from messages in hvcC; alternative transfer is written
    AlwaysHDR = uint64_t{1} << 5,          ///< high dynamic range, whatever the extensions say
    Protected = uint64_t{1} << 6,          ///< has a plaintext type and a scheme
    ConciseVideo = uint64_t{1} << 7,       ///< written as 'encv'
    InStreamSets = uint64_t{1} << 8,       ///< may have parameter sets in the stream; of the flavor for such
    ISOFamily = uint64_t{1} << 9,          ///< may be written to ISO files
    Family3GP = uint64_t{1} << 10,         ///< may be written to 3GP files
    MPEG2Profile = uint64_t{1} << 11,      ///< read as 'mp2v'
    Lyrec = uint64_t{1} << 12,             ///< bit depth and alpha by the depth
    LyrecDeep = uint64_t{1} << 13,         ///< 16 bits a component
    LyrecDeepAlpha = uint64_t{1} << 14,    ///< 16 bits a component where there is alpha
    PCM = uint64_t{1} << 15,               ///< plain samples in records up to version 1, as code 0 is
    ObsoletePCM = uint64_t{1} << 16,       ///< of records only, as code 0 is; descriptions say 'lpcm'
    MPEGLayer = uint64_t{1} << 17,         ///< not to be written to ISO files
    ISOSampleEntry = uint64_t{1} << 18,    ///< sample entry types of ISO files
    AnyFormatInWave = uint64_t{1} << 19,   ///< 'frma' in 'wave' may name another format
    DependentPackets = uint64_t{1} << 20,  ///< packets depend on earlier ones
    WrittenAsMP4A = uint64_t{1} << 21,     ///< with every other code 'aac' and a character; see isWrittenAsMP4A
    WrittenAsENCA = uint64_t{1} << 22,     ///< written as 'enca'
    WrittenAsDRMS = uint64_t{1} << 23,     ///< written as 'drms'
    ESDSWithHeader = uint64_t{1} << 24,    ///< the cookie is an 'esds' atom with 8 bytes before it
    AtomCookie = uint64_t{1} << 25,        ///< the cookie is a run of atoms
    XKOVCookie = uint64_t{1} << 26,
    FLACCookie = uint64_t{1} << 27,
    BareCookie = uint64_t{1} << 28,  ///< the cookie is never put into 'wave'

    /// Extensions that no atom gave are completed from the codec's own configuration.
    FallbackFromConfiguration = H264 | HEVC | AV1,
};
constexpr Trait operator|(Trait a, Trait b) { return static_cast<Trait>(uint64_t{a} | uint64_t{b}); }

struct CodecRow {
    OSType codec;
    Trait traits;
};

namespace rows {

// clang-format off
inline constexpr CodecRow kCodecs[] = {
    // video
    {code("avc1"), H264 | ISOFamily | Family3GP},
    {code("avc3"), H264 | InStreamSets},
    {code("cavc"), H264 | Protected | ConciseVideo},
    {code("drmi"), H264 | Protected | ISOFamily},
    {code("eavc"), H264 | Protected},
    {code("qavc"), H264 | Protected | ConciseVideo}, {code("qave"), H264 | Protected | ConciseVideo},
    {code("zavc"), H264},
    {code("hvc1"), HEVC | SEI | ISOFamily | Family3GP},
    {code("hev1"), HEVC | SEI | InStreamSets},
    {code("dvh1"), HEVC | DolbyVision | AlwaysHDR | ISOFamily},
    {code("dvhe"), HEVC | DolbyVision | AlwaysHDR | InStreamSets},
    {code("chvc"), HEVC | SEI | Protected | ConciseVideo},
    {code("cdh1"), HEVC | DolbyVision | AlwaysHDR | Protected | ConciseVideo},
    {code("qhvc"), HEVC | SEI | Protected | ConciseVideo}, {code("qhev"), HEVC | SEI | Protected | ConciseVideo},
    {code("qdh1"), HEVC | DolbyVision | AlwaysHDR | Protected | ConciseVideo},
    {code("qdhe"), HEVC | DolbyVision | AlwaysHDR | Protected | ConciseVideo},
    {code("muxa"), HEVC | SEI},
    {code("dmux"), HEVC | DolbyVision | AlwaysHDR},
    {code("qmux"), HEVC | SEI | Protected | ConciseVideo},
    {code("qdmx"), HEVC | DolbyVision | AlwaysHDR | Protected | ConciseVideo},
    {code("ftvh"), HEVC | SEI},
    {code("av01"), AV1 | ISOFamily},
    {code("qav1"), AV1 | Protected | ConciseVideo},
    {code("dav1"), AV1 | DolbyVision | AlwaysHDR | ISOFamily},
    {code("qdav"), AV1 | DolbyVision | AlwaysHDR | Protected | ConciseVideo},
    {code("vp09"), ISOFamily},
    {code("qvp9"), Protected},
    {code("ly0h"), Lyrec}, {code("ly2h"), Lyrec},
    {code("ly4h"), Lyrec | LyrecDeepAlpha}, {code("ly4x"), Lyrec | LyrecDeepAlpha},
    {code("lych"), Lyrec}, {code("lycn"), Lyrec}, {code("lyco"), Lyrec}, {code("lycs"), Lyrec},
    {code("lyrh"), AlwaysHDR | Lyrec | LyrecDeep},
    {code("lyrl"), Lyrec},
    {code("lyrn"), AlwaysHDR | Lyrec | LyrecDeep},
    {code("dmb1"), ISOFamily},
    {code("encv"), Protected | ISOFamily | Family3GP},
    {code("h263"), ISOFamily | Family3GP},
    {code("jpeg"), ISOFamily}, {code("mjpg"), ISOFamily},
    {code("mp4v"), ISOFamily | Family3GP},
    {code("hdv1"), MPEG2Profile}, {code("hdv2"), MPEG2Profile}, {code("hdv3"), MPEG2Profile},
    {code("hdv4"), MPEG2Profile}, {code("hdv5"), MPEG2Profile}, {code("hdv6"), MPEG2Profile},
    {code("hdv7"), MPEG2Profile}, {code("hdv8"), MPEG2Profile}, {code("hdv9"), MPEG2Profile},
    {code("hdva"), MPEG2Profile}, {code("xdv2"), MPEG2Profile}, {code("xdv3"), MPEG2Profile},
    {code("xdv6"), MPEG2Profile}, {code("xdv7"), MPEG2Profile}, {code("xdv8"), MPEG2Profile},
    {code("xdv4"), MPEG2Profile}, {code("xdv5"), MPEG2Profile}, {code("xdv1"), MPEG2Profile},
    {code("xdva"), MPEG2Profile}, {code("xdv9"), MPEG2Profile}, {code("xdvb"), MPEG2Profile},
    {code("xdvc"), MPEG2Profile}, {code("xdvd"), MPEG2Profile}, {code("xdve"), MPEG2Profile},
    {code("xdvf"), MPEG2Profile}, {code("xd5a"), MPEG2Profile}, {code("xd59"), MPEG2Profile},
    {code("xd5b"), MPEG2Profile}, {code("xd5c"), MPEG2Profile}, {code("xd5d"), MPEG2Profile},
    {code("xd5e"), MPEG2Profile}, {code("xd5f"), MPEG2Profile}, {code("xdhd"), MPEG2Profile},
    {code("xdh2"), MPEG2Profile}, {code("xd54"), MPEG2Profile}, {code("xd55"), MPEG2Profile},
    {code("xd51"), MPEG2Profile}, {code("xfz1"), MPEG2Profile}, {code("m2v1"), MPEG2Profile},

    // audio
    {code("NONE"), PCM | ObsoletePCM}, {code("raw "), PCM | ObsoletePCM}, {code("twos"), PCM | ObsoletePCM},
    {code("sowt"), PCM | ObsoletePCM}, {code("in24"), PCM | ObsoletePCM}, {code("in32"), PCM | ObsoletePCM},
    {code("fl32"), PCM | ObsoletePCM}, {code("fl64"), PCM | ObsoletePCM},
    {code("lpcm"), PCM},
    {code(".mp1"), MPEGLayer}, {code(".mp2"), MPEGLayer}, {code(".mp3"), MPEGLayer},
    {code("ac-3"), ISOSampleEntry | AtomCookie},
    {code("xkov"), ISOSampleEntry | XKOVCookie},
    {code("drms"), ISOSampleEntry | AnyFormatInWave},
    {code("ec-3"), ISOSampleEntry | AtomCookie},
    {code("enca"), Protected | ISOSampleEntry | AnyFormatInWave},
    {code("fLaC"), ISOSampleEntry}, {code("fpcm"), ISOSampleEntry}, {code("ipcm"), ISOSampleEntry},
    {code("m4ae"), ISOSampleEntry}, {code("mp4a"), ISOSampleEntry}, {code("samr"), ISOSampleEntry},
    {code("aavd"), AnyFormatInWave},
    {code("aace"), WrittenAsMP4A}, {code("aacf"), WrittenAsMP4A}, {code("aacg"), WrittenAsMP4A},
    {code("aach"), WrittenAsMP4A}, {code("aacl"), WrittenAsMP4A}, {code("aacp"), WrittenAsMP4A},
    {code("aacs"), WrittenAsMP4A}, {code("aac "), WrittenAsMP4A}, {code("celp"), WrittenAsMP4A},
    {code("hvxc"), WrittenAsMP4A}, {code("slsn"), WrittenAsMP4A}, {code("twvq"), WrittenAsMP4A},
    {code("usac"), DependentPackets | WrittenAsMP4A},
    {code("ac-4"), DependentPackets},
    {code("apac"), DependentPackets | BareCookie},
    {code("capc"), Protected | DependentPackets | WrittenAsENCA | BareCookie},
    {code("cusa"), Protected | DependentPackets | WrittenAsENCA | ESDSWithHeader},
    {code("pusa"), Protected | DependentPackets | WrittenAsDRMS | ESDSWithHeader},
    {code("qapc"), Protected | DependentPackets | WrittenAsENCA | BareCookie},
    {code("qusa"), Protected | DependentPackets | WrittenAsENCA | ESDSWithHeader},
    {code("zusa"), Protected | DependentPackets},
    {code("ca-3"), Protected | WrittenAsENCA | AtomCookie},
    {code("cac3"), AtomCookie},
    {code("ce-3"), Protected | WrittenAsENCA | AtomCookie},
    {code("pac3"), Protected | WrittenAsDRMS | AtomCookie}, {code("pec3"), Protected | WrittenAsDRMS | AtomCookie},
    {code("qac3"), Protected | WrittenAsENCA | AtomCookie}, {code("qec3"), Protected | WrittenAsENCA | AtomCookie},
    {code("zac3"), Protected | AtomCookie}, {code("zec3"), Protected | AtomCookie},
    {code("ckov"), Protected | WrittenAsENCA | XKOVCookie}, {code("qkov"), Protected | WrittenAsENCA | XKOVCookie},
    {code("zkov"), Protected | XKOVCookie},
    {code("flac"), FLACCookie},
    {code("cflc"), Protected | WrittenAsENCA | FLACCookie}, {code("qflc"), Protected | WrittenAsENCA | FLACCookie},
    {code("caac"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("cach"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("cacp"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("qaac"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("qach"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("qacp"), Protected | WrittenAsENCA | ESDSWithHeader},
    {code("paac"), Protected | WrittenAsDRMS | ESDSWithHeader},
    {code("pach"), Protected | WrittenAsDRMS | ESDSWithHeader},
    {code("pacp"), Protected | WrittenAsDRMS | ESDSWithHeader},
    {code("aaac"), Protected | ESDSWithHeader},

    // protected, without more to say of them
    {code("ce+3"), Protected}, {code("p608"), Protected}, {code("pc+3"), Protected}, {code("qc+3"), Protected},
    {code("zaac"), Protected}, {code("zach"), Protected}, {code("zacp"), Protected}, {code("zc+3"), Protected},
};
// clang-format on

/// The rows in the order of their codes, for a search of eight steps.
inline constexpr auto kByCode = [] {
    std::array<CodecRow, std::size(kCodecs)> sorted;
    std::copy(std::begin(kCodecs), std::end(kCodecs), sorted.begin());
    std::sort(sorted.begin(), sorted.end(), [](const CodecRow& a, const CodecRow& b) { return a.codec < b.codec; });
    return sorted;
}();
static_assert(std::adjacent_find(kByCode.begin(), kByCode.end(), [](const CodecRow& a, const CodecRow& b) {
                  return a.codec == b.codec;
              }) == kByCode.end());

}  // namespace rows

/// All traits of a codec type, none for one that is not listed.
constexpr Trait traitsOf(OSType codec)
{
    const auto row = std::lower_bound(rows::kByCode.begin(), rows::kByCode.end(), codec,
                                      [](const CodecRow& a, OSType b) { return a.codec < b; });
    return row != rows::kByCode.end() && row->codec == codec ? row->traits : Trait{};
}

/// Whether a codec type has one of `traits`.
constexpr bool hasTrait(OSType codec, Trait traits) { return (traitsOf(codec) & traits) != 0; }

/// Every code of 'aac' and one more character is written as 'mp4a', listed or not.
constexpr bool isWrittenAsMP4A(OSType codec)
{
    return codec >> 8 == code("aac ") >> 8 || hasTrait(codec, WrittenAsMP4A);
}

/// The concise type of what was of type `original` before it was protected by `scheme`. Several rows have one concise
/// type; the first of them is what it is taken back to.
struct ConciseRow {
    OSType original, scheme, concise;
};
inline constexpr ConciseRow kConciseTypes[] = {
    {code("avc1"), code("cenc"), code("cavc")}, {code("avc1"), code("cbcs"), code("qavc")},
    {code("avc1"), code("cbc2"), code("qavc")}, {code("avc3"), code("cenc"), code("cavc")},
    {code("avc3"), code("cbcs"), code("qave")}, {code("avc3"), code("cbc2"), code("qave")},
    {code("hvc1"), code("cenc"), code("chvc")}, {code("hvc1"), code("cbcs"), code("qhvc")},
    {code("hvc1"), code("cbc2"), code("qhvc")}, {code("hev1"), code("cenc"), code("chvc")},
    {code("hev1"), code("cbcs"), code("qhev")}, {code("hev1"), code("cbc2"), code("qhev")},
    {code("dvh1"), code("cenc"), code("cdh1")}, {code("dvh1"), code("cbcs"), code("qdh1")},
    {code("dvh1"), code("cbc2"), code("qdh1")}, {code("dvhe"), code("cenc"), code("cdh1")},
    {code("dvhe"), code("cbcs"), code("qdhe")}, {code("dvhe"), code("cbc2"), code("qdhe")},
    {code("av01"), code("cbcs"), code("qav1")}, {code("dav1"), code("cbcs"), code("qdav")},
    {code("vp09"), code("cbcs"), code("qvp9")},
};

/// The type of a stream whose parameter sets have been moved out of it, into its description.
struct InStreamRow {
    OSType inStream, inDescription;
};
inline constexpr InStreamRow kInStreamTypes[] = {
    {code("hev1"), code("hvc1")}, {code("qhev"), code("qhvc")}, {code("qdhe"), code("qdh1")},
    {code("avc3"), code("avc1")}, {code("dvhe"), code("dvh1")},
};
constexpr OSType withSetsInDescription(OSType codec)
{
    for (const InStreamRow& row : kInStreamTypes)
        if (row.inStream == codec) return row.inDescription;
    return codec;
}

}  // namespace tavcodec
