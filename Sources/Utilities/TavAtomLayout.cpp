#include "Utilities/TavAtomLayout.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "Utilities/TavBigEndian.h"

namespace {

enum Kind : uint8_t { kBox, kFullBox };
// Where children start: an offset in the data, or a rule of the box itself.
constexpr int16_t kNone = -1;
constexpr int16_t kAfterSoundFields = -2;  // SoundSampleEntry: 28, and 16 or 36 more in versions 1 and 2
constexpr int16_t kAfterItemCount = -3;    // ISO/IEC 14496-12 8.11.6: a count of 16 bits in version 0, else of 32
constexpr int16_t kMetaChildren = -4;      // a full box, but in movie files, where the children start at once
constexpr int16_t kVisual = 78, kSound = kAfterSoundFields, kEntry = 8;

constexpr OSType codeOf(const char (&text)[5]) { return LU_FOURCC(text[0], text[1], text[2], text[3]); }

struct Row {
    OSType type;
    OSType parent;
    Kind kind;
    int16_t children;
};

// Boxes of the same kind whose children start alike. Type or parent "any" stands for every other one.
template <size_t N>
constexpr void addRows(auto& rows, size_t& count, Kind kind, int16_t children, const char (&parent)[5],
                       const char (&types)[N])
{
    constexpr OSType kAny = codeOf("any ");
    for (size_t i = 0; i + 4 < N; i += 5) {
        const OSType type = LU_FOURCC(types[i], types[i + 1], types[i + 2], types[i + 3]);
        const OSType in = codeOf(parent);
        rows[count++] = {type == kAny ? 0 : type, in == kAny ? 0 : in, kind, children};
    }
}

constexpr auto kRows = [] {
    std::array<Row, 256> rows{};
    size_t n = 0;
    // ISO/IEC 14496-12, -14, -15, -30, 23001-7, 23008-12 and the classic movie file format.
    addRows(rows, n, kBox, 0, "any ",
            "moov trak mdia minf stbl edts dinf udta mvex moof traf mfra sinf schi rinf strk");
    addRows(rows, n, kBox, 0, "any ",
            "strd hnti hinf tref trgr iprp ipco grpl ilst ---- wave gmhd tapt clip matt cmov");
    addRows(rows, n, kBox, 0, "any ", "rmra rmda paen fiin vexu eyes proj prji pack cams cmfy must mvra meco");
    addRows(rows, n, kFullBox, kMetaChildren, "any ", "meta");
    addRows(rows, n, kFullBox, kAfterItemCount, "any ", "iinf");
    addRows(rows, n, kFullBox, 8, "any ", "stsd dref");
    addRows(rows, n, kFullBox, 6, "any ", "ipro");
    addRows(rows, n, kFullBox, 4, "any ", "iref");
    addRows(rows, n, kFullBox, kNone, "any ", "mvhd tkhd mdhd hdlr vmhd smhd hmhd nmhd sthd gmin elst stts ctts cslg");
    addRows(rows, n, kFullBox, kNone, "any ", "stsc stsz stz2 stco co64 stss stsh sdtp stdp padb sbgp sgpd subs saiz");
    addRows(rows, n, kFullBox, kNone, "any ", "saio mehd trex trep leva mfhd tfhd tfdt trun mfro tfra schm pssh tenc");
    addRows(rows, n, kFullBox, kNone, "any ", "senc sidx ssix prft emsg iloc infe pitm xml  bxml cprt kind elng esds");
    addRows(rows, n, kFullBox, kNone, "any ", "url  urn  alis tsel assp srat chnl chan dmix dfLa alac vpcC SmDm CoLL");
    addRows(rows, n, kFullBox, kNone, "any ", "clef prof enof keys iods ispe pixi auxC ipma stri hero prhd data loci");
    addRows(rows, n, kFullBox, kNone, "----", "mean name");
    // The entries of the sample description, of each kind; and what tags hold, by names of their own.
    addRows(rows, n, kBox, kVisual, "stsd",
            "avc1 avc2 avc3 avc4 hvc1 hev1 hvc2 hev2 lhv1 lhe1 dvh1 dvhe dvav dva1 av01");
    addRows(rows, n, kBox, kVisual, "stsd",
            "dav1 vp08 vp09 vvc1 vvi1 mp4v encv s263 h263 jpeg mjp2 mjpa mjpb png  raw ");
    addRows(rows, n, kBox, kVisual, "stsd",
            "rle  ap4h ap4x apcn apch apcs apco dvc  dvcp dvpp dv5p dvh5 2vuy v210 SVQ3");
    addRows(rows, n, kBox, kSound, "stsd",
            "mp4a enca ac-3 ec-3 ac-4 alac fLaC Opus samr sawb sawp lpcm sowt twos in24");
    addRows(rows, n, kBox, kSound, "stsd",
            "in32 fl32 fl64 ulaw alaw .mp3 ima4 mha1 mhm1 dtsc dtsh dtse ipcm fpcm NONE");
    addRows(rows, n, kBox, kEntry, "stsd", "wvtt mp4s enct encs encm");
    addRows(rows, n, kBox, 0, "ilst", "any ");
    // The decoder's sound atoms of movie files have the names of sample entries, and are none.
    addRows(rows, n, kBox, kNone, "wave", "mp4a alac");
    std::sort(rows.begin(), rows.begin() + n,
              [](const Row& a, const Row& b) { return std::tie(a.type, a.parent) < std::tie(b.type, b.parent); });
    return std::pair(rows, n);
}();

const Row* findRow(OSType type, OSType parent)
{
    const Row* const end = kRows.first.data() + kRows.second;
    const Row* const row = std::lower_bound(kRows.first.data(), end, std::tie(type, parent),
                                            [](const Row& a, auto key) { return std::tie(a.type, a.parent) < key; });
    return row != end && row->type == type && row->parent == parent ? row : nullptr;
}

// 8.5.2: version 1 of the table means that an entry's own version changes nothing of its length.
size_t soundFieldsLength(const TavAtomParent& parent, std::span<const uint8_t> data)
{
    const uint16_t version = data.size() >= 10 && parent.version == 0 ? loadBE16(&data[8]) : 0;
    return 28 + (version == 1 ? 16 : version == 2 ? 36 : 0);
}

bool isMovieFileMeta(std::span<const uint8_t> data)
{
    return data.size() >= 8 && loadBE32(&data[4]) == codeOf("hdlr") && loadBE32(&data[0]) >= 8;
}

}  // namespace

TavAtomLayout TavAtomLayoutOf(OSType type, const TavAtomParent& parent, std::span<const uint8_t> data)
{
    const Row* row = findRow(type, parent.type);
    if (!row) row = findRow(0, parent.type);
    if (!row) row = findRow(type, 0);
    if (!row || row->type + row->parent == 0) return {};
    const bool isFull = row->kind == kFullBox;
    switch (row->children) {
        case kNone: return {isFull, false, 0};
        case kAfterSoundFields: return {isFull, true, soundFieldsLength(parent, data)};
        case kAfterItemCount: return {isFull, true, data.empty() || data[0] == 0 ? size_t{6} : size_t{8}};
        case kMetaChildren:
            return isMovieFileMeta(data) ? TavAtomLayout{false, true, 0} : TavAtomLayout{isFull, true, 4};
        default: return {isFull, true, static_cast<size_t>(row->children)};
    }
}
