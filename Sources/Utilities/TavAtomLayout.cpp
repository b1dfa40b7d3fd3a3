#include "Utilities/TavAtomLayout.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "Utilities/TavBigEndian.h"

namespace {

enum Kind : uint8_t { kBox, kFullBox };
// Where children start: an offset in the data, or a rule of the box itself.
constexpr int16_t kNone = -1;
constexpr int16_t kSound = -2;           // SoundSampleEntry: behind its fields, whose length its version tells
constexpr int16_t kVisual = -3;          // VisualSampleEntry: behind its fields, and a color table if there is one
constexpr int16_t kAfterItemCount = -4;  // ISO/IEC 14496-12 8.11.6: a count of 16 bits in version 0, else of 32
constexpr int16_t kMetaChildren = -5;    // a full box, but in movie files, where the children start at once
constexpr int16_t kEntry = 8;

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
    // The entries of the sample description, where no handler tells their kind; and what tags hold, by names of their
    // own.
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
    addRows(rows, n, kBox, kEntry, "stsd", "wvtt mp4s enct encs encm mebx");
    addRows(rows, n, kBox, 16, "stsd", "rtp  srtp rrtp rsrp");
    addRows(rows, n, kBox, 26, "stsd", "tmcd");
    addRows(rows, n, kBox, 38, "stsd", "tx3g");
    addRows(rows, n, kBox, 0, "mebx", "keys");
    addRows(rows, n, kBox, 0, "keys", "any ");
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

// Whether atoms from `offset` on end where the data ends, or with a terminator.
bool endsWithAtoms(std::span<const uint8_t> data, size_t offset)
{
    if (offset > data.size()) return false;
    data = data.subspan(offset);
    constexpr int kMostLookedAt = 32;
    for (int i = 0; i < kMostLookedAt && !data.empty(); ++i) {
        if (data.size() < 8) return std::all_of(data.begin(), data.end(), [](uint8_t byte) { return byte == 0; });
        const uint32_t size = loadBE32(&data[0]);
        if (loadBE32(&data[4]) == 0) return data.size() == 8;
        if (size < 8 || size > data.size()) return false;
        data = data.subspan(size);
    }
    return true;
}

// 8.5.2: version 1 of the table means that an entry's own version changes nothing of its length. Elsewhere versions 1
// and 2 are those of movie files, where version 2 tells its own size; but some ISO files write version 1 into a table
// of version 0, which only their atoms tell apart.
size_t soundFieldsLength(const TavAtomParent& parent, std::span<const uint8_t> data)
{
    constexpr size_t kFields = 28, kMovieFieldsOfVersion1 = 44, kMovieFieldsOfVersion2 = 64, kHeader = 8;
    const uint16_t version = data.size() >= 10 && parent.version == 0 ? loadBE16(&data[8]) : 0;
    if (version == 2) {
        const size_t told = data.size() >= kFields + 4 ? loadBE32(&data[kFields]) : 0;
        return std::max(told < kHeader || told - kHeader > data.size() ? 0 : told - kHeader, kMovieFieldsOfVersion2);
    }
    if (version != 1 || (endsWithAtoms(data, kFields) && !endsWithAtoms(data, kMovieFieldsOfVersion1))) return kFields;
    return kMovieFieldsOfVersion1;
}

// A color table stands behind the fields if the table's id says so, which some ISO files leave 0 without having one.
size_t visualFieldsLength(std::span<const uint8_t> data)
{
    constexpr size_t kFields = 78, kTableIDOffset = 76, kTableHeader = 8, kCountOffset = 6, kEntrySize = 8;
    if (data.size() < kFields + kTableHeader || loadBE16(&data[kTableIDOffset]) != 0) return kFields;
    const size_t count = size_t{loadBE16(&data[kFields + kCountOffset])} + 1;
    const size_t behind = kFields + kTableHeader + count * kEntrySize;
    return behind <= data.size() ? behind : kFields;
}

// How an entry of a track with this handler is laid out; kNone where the handler does not tell.
int16_t entryLayoutOf(OSType handler)
{
    struct HandlerRow {
        OSType handler;
        int16_t children;
    };
    static constexpr HandlerRow kHandlers[] = {
        {codeOf("vide"), kVisual}, {codeOf("auxv"), kVisual}, {codeOf("pict"), kVisual}, {codeOf("soun"), kSound}};
    for (const HandlerRow& row : kHandlers)
        if (row.handler == handler) return row.children;
    return kNone;
}

bool isMovieFileMeta(std::span<const uint8_t> data)
{
    return data.size() >= 8 && loadBE32(&data[4]) == codeOf("hdlr") && loadBE32(&data[0]) >= 8;
}

}  // namespace

static TavAtomLayout layoutOf(const Row& row, const TavAtomParent& parent, std::span<const uint8_t> data)
{
    const bool isFull = row.kind == kFullBox;
    switch (row.children) {
        case kNone: return {isFull, false, 0};
        case kSound: return {isFull, true, soundFieldsLength(parent, data)};
        case kVisual: return {isFull, true, visualFieldsLength(data)};
        case kAfterItemCount: return {isFull, true, data.empty() || data[0] == 0 ? size_t{6} : size_t{8}};
        case kMetaChildren:
            return isMovieFileMeta(data) ? TavAtomLayout{false, true, 0} : TavAtomLayout{isFull, true, 4};
        default: return {isFull, true, static_cast<size_t>(row.children)};
    }
}

TavAtomLayout TavAtomLayoutOf(OSType type, const TavAtomParent& parent, std::span<const uint8_t> data)
{
    if (parent.type == codeOf("stsd")) {
        const int16_t children = entryLayoutOf(parent.handler);
        if (children != kNone) return layoutOf({type, parent.type, kBox, children}, parent, data);
    }
    const Row* row = findRow(type, parent.type);
    if (!row) row = findRow(0, parent.type);
    if (!row) row = findRow(type, 0);
    if (!row || row->type + row->parent == 0) return {};
    return layoutOf(*row, parent, data);
}
