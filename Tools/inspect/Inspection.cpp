#include "inspect/Inspection.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Memory/Containers.h"
#include "Utilities/TavAtomLayout.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavBigEndian.h"
#include "inspect/Findings.h"
#include "inspect/Payload.h"
#include "inspect/ValueWriter.h"

namespace {

constexpr int kDeepest = 32;
// Of a box's data: what tells its layout, and the most that a reader gets.
constexpr size_t kLayoutLength = 16, kMostRead = size_t{16} << 20;
constexpr OSType kTrack = LU_FOURCC('t', 'r', 'a', 'k'), kMedia = LU_FOURCC('m', 'd', 'i', 'a');
constexpr OSType kHandler = LU_FOURCC('h', 'd', 'l', 'r');
constexpr OSType kSampleDescriptions = LU_FOURCC('s', 't', 's', 'd');

// What files start with, also where the first box is cut or its length is wrong.
constexpr OSType kFirstBoxes[] = {
    LU_FOURCC('f', 't', 'y', 'p'), LU_FOURCC('s', 't', 'y', 'p'), LU_FOURCC('m', 'o', 'o', 'v'),
    LU_FOURCC('m', 'o', 'o', 'f'), LU_FOURCC('m', 'd', 'a', 't'), LU_FOURCC('f', 'r', 'e', 'e'),
    LU_FOURCC('s', 'k', 'i', 'p'), LU_FOURCC('w', 'i', 'd', 'e'), LU_FOURCC('p', 'n', 'o', 't'),
    LU_FOURCC('u', 'u', 'i', 'd'), LU_FOURCC('m', 'e', 't', 'a'), LU_FOURCC('s', 'i', 'd', 'x'),
};

// Any other type must be printable, and its box end inside of the file, of which `bytes` are the first.
bool startsWithBox(std::span<const uint8_t> bytes, uint64_t fileSize)
{
    if (bytes.size() < kTavAtomHeaderSize) return false;
    const OSType type = loadBE32(&bytes[4]);
    if (std::find(std::begin(kFirstBoxes), std::end(kFirstBoxes), type) != std::end(kFirstBoxes)) return true;
    const bool isPrintable =
        std::all_of(&bytes[4], &bytes[8], [](uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
    uint64_t size = loadBE32(bytes.data());
    if (size == 1) size = bytes.size() < 16 ? 0 : loadBE64(&bytes[8]);
    return isPrintable && size >= kTavAtomHeaderSize && size <= fileSize;
}

// The file behind the stream: what it gives less than it had is latched, and no later look makes up for it.
class BoxFile {
public:
    explicit BoxFile(LuByteStreamRef stream) : stream_(stream)
    {
        noteStatus(TavByteStreamGetEntireLength(stream, &length_));
    }

    LuByteStreamRef stream() const { return stream_; }
    uint64_t length() const { return static_cast<uint64_t>(length_); }

    /// Valid until the next call.
    std::span<const uint8_t> read(int64_t offset, size_t count)
    {
        if (count > bytes_.size() && !bytes_.resize(count)) memory::stop();
        size_t got = 0;
        if (count > 0) noteStatus(TavByteStreamRead(stream_, count, offset, bytes_.data(), &got));
        return {bytes_.data(), got};
    }
    /// Reading came to this on the way, here or in the atom stream.
    void noteStatus(OSStatus status)
    {
        if (status > 0 && error_ == 0) error_ = status;
    }
    /// The errno of the first failure, or 0.
    int error() const { return error_; }
    bool hasShrunk() const
    {
        int64_t now = 0;
        return TavByteStreamGetEntireLength(stream_, &now) != 0 || now < length_;
    }

private:
    LuByteStreamRef stream_;
    int64_t length_ = 0;
    int error_ = 0;
    memory::ReportingArray<uint8_t> bytes_;
};

// How many boxes of each type stood on one level so far; types beyond the first few are not told apart by number.
class TypeCounts {
public:
    uint32_t of(OSType type) const
    {
        const size_t i = find(type);
        return i < used_ ? counts_[i] : 0;
    }
    void add(OSType type)
    {
        const size_t i = find(type);
        if (i == std::size(types_)) return;
        if (i == used_) {
            types_[used_++] = type;
            counts_[i] = 0;
        }
        ++counts_[i];
    }

private:
    size_t find(OSType type) const { return static_cast<size_t>(std::find(types_, types_ + used_, type) - types_); }

    OSType types_[24];
    uint32_t counts_[24];
    size_t used_ = 0;
};

class Walk {
public:
    Walk(BoxFile& file, const InspectionOptions& options, FILE* out)
        : file_(file),
          options_(options),
          writer_(out, options.json ? ValueWriter::Form::kJSON : ValueWriter::Form::kText)
    {}

    bool run()
    {
        writer_.beginObject();
        writer_.key("boxes").beginArray(ValueWriter::Layout::kLines);
        TavAtomStream top;
        const OSStatus status = TavAtomStreamInitWithByteStreamAndReporter(file_.stream(), 0, true, reporter(), &top);
        if (status == 0)
            walkSiblings(top, {}, 0);
        else
            noteEnd(status, {}, 0, static_cast<int64_t>(file_.length()), false);
        writer_.endArray();
        if (options_.json) writeSummary();
        findings_.write(writer_);
        writer_.endObject();
        return findings_.count() == 0;
    }

private:
    // A reporter for the next call of the stream; none once enough was found.
    TavAssetAnalysisReporterRef reporter()
    {
        if (!findings_.takeMore()) return nullptr;
        if (!reporter_) TavAssetAnalysisReporterCreate(nullptr, reporter_.outParam());
        return reporter_.get();
    }

    // The stream refused, and told the reporter why: that becomes a finding at `offset`.
    void noteRefusal(OSStatus status, const TypeCounts& counts, int64_t offset)
    {
        OSType type = 0;
        char text[256] = "The box cannot be read";
        ZoRef<ZoArrayRef> messages;
        if (reporter_) TavAssetAnalysisReporterCopyMessages(reporter_.get(), messages.outParam());
        reporter_.reset();
        const ZoIndex count = messages ? ZoArrayGetCount(messages.get()) : 0;
        if (count > 0) {
            const auto message = static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(messages.get(), count - 1));
            if (const void* number = ZoDictionaryGetValue(message, kTavAssetAnalysisAtomStreamMessageKey_AtomType))
                ZoNumberGetValue(static_cast<ZoNumberRef>(number), kZoNumberSInt32Type, &type);
            if (const void* string = ZoDictionaryGetValue(message, kTavAssetAnalysisKey_DiagnosticInformation))
                ZoStringGetCString(static_cast<ZoStringRef>(string), text, sizeof(text), kZoStringEncodingASCII);
        }
        findings_.reportInside({type, counts.of(type), offset}, status, text);
    }

    void walkSiblings(TavAtomStream& stream, const TavAtomParent& parent, int depth)
    {
        TypeCounts counts;
        OSStatus status = 0;
        while (status == 0) {
            visit(stream, parent, counts, depth);
            stream.reporter = reporter();
            status = TavAtomStreamAdvanceToNextAtom(&stream);
        }
        const int64_t end = stream.containerOffset + stream.dataOffset + stream.dataLength;
        const int64_t containerEnd = stream.containerOffset + stream.containerLength;
        noteEnd(status, counts, end, containerEnd, true);
    }

    // What stands behind the last box: nothing, a terminator of zeros as movie files have it, or what cannot be read.
    void noteEnd(OSStatus status, const TypeCounts& counts, int64_t offset, int64_t end, bool mayBeTerminator)
    {
        file_.noteStatus(status);
        if (status == kTavAtomStream_AtEnd) return;
        if (end - offset >= static_cast<int64_t>(kTavAtomHeaderSize)) return noteRefusal(status, counts, offset);
        const auto rest = file_.read(offset, static_cast<size_t>(end - offset));
        if (mayBeTerminator && std::all_of(rest.begin(), rest.end(), [](uint8_t byte) { return byte == 0; })) return;
        char text[64];
        snprintf(text, sizeof(text), "%zu stray bytes at offset %lld", rest.size(), static_cast<long long>(offset));
        findings_.reportInside({0, 0, offset}, kTavAtomStream_BadLengthInAtom, text);
    }

    void visit(const TavAtomStream& stream, const TavAtomParent& parent, TypeCounts& counts, int depth)
    {
        int64_t offset = 0, size = 0, headerSize = 0;
        TavAtomStreamGetCurrentAtomGlobalOffset(&stream, &offset, &size);
        TavAtomStreamGetCurrentAtomHeaderSize(&stream, &headerSize);
        findings_.enter({stream.type, counts.of(stream.type), offset});
        counts.add(stream.type);

        const bool isWholeRead = hasPayloadReader(stream.type) || parent.type == kSampleDescriptions;
        const uint64_t wanted = isWholeRead ? kMostRead : kLayoutLength;
        const auto data = file_.read(offset + headerSize, std::min(static_cast<uint64_t>(stream.dataLength), wanted));
        const TavAtomLayout layout = TavAtomLayoutOf(stream.type, parent, data);
        writer_.beginObject();
        writer_.key("type").code(stream.type);
        writer_.key("offset").integer(offset);
        writer_.key("size").integer(size);
        writer_.key("header").integer(headerSize);
        const uint8_t version = layout.isFull ? writeVersionAndFlags(data) : 0;
        if (stream.type == LU_FOURCC('u', 'u', 'i', 'd')) writer_.key("uuid").hex(stream.uuid);
        readPayload({stream.type, parent.type, parent.handler, data, writer_, findings_, summary_});
        if (layout.isContainer) descend(stream, layout.childrenOffset, {stream.type, version, parent.handler}, depth);
        writer_.endObject();
        findings_.leave();
    }

    uint8_t writeVersionAndFlags(std::span<const uint8_t> data)
    {
        if (data.size() < 4) {
            findings_.report(kTavAtomStream_AtomOffsetOutOfRange, "No version and flags: %zu bytes", data.size());
            return 0;
        }
        writer_.key("version").unsignedInteger(data[0]);
        writer_.key("flags").unsignedInteger(loadBE24(&data[1]));
        return data[0];
    }

    // The handler of a media box, wherever among the first boxes in it; 0 if there is none.
    static OSType findHandler(const TavAtomStream& media)
    {
        constexpr int kMostLookedAt = 64;
        constexpr int64_t kHandlerOffset = 8;  // ISO/IEC 14496-12 8.4.3.2
        TavAtomStream parent = media, child;
        parent.reporter = nullptr;
        OSStatus status = TavAtomStreamInitWithParent(&parent, 0, &child);
        for (int i = 0; status == 0 && child.type != kHandler; ++i)
            status = i < kMostLookedAt ? TavAtomStreamAdvanceToNextAtom(&child) : kTavAtomStream_AtEnd;
        uint8_t code[4];
        if (status != 0 || child.dataLength < kHandlerOffset + 4) return 0;
        return TavAtomStreamReadCurrentAtomData(&child, kHandlerOffset, sizeof(code), code) == 0 ? loadBE32(code) : 0;
    }

    void descend(const TavAtomStream& stream, size_t childrenOffset, TavAtomParent self, int depth)
    {
        if (self.type == kTrack) self.handler = 0;
        if (self.type == kMedia) self.handler = findHandler(stream);
        const auto dataLength = static_cast<uint64_t>(stream.dataLength);
        const int64_t start = stream.containerOffset + stream.dataOffset + static_cast<int64_t>(childrenOffset);
        TavAtomStream parent = stream, child;
        parent.reporter = reporter();
        writer_.key("children").beginArray(ValueWriter::Layout::kLines);
        if (dataLength < childrenOffset) {
            findings_.report(kTavAtomStream_BadLengthInAtom, "'%s' atom ends before its children",
                             AtomTypeToString(stream.type).text);
        } else if (dataLength == childrenOffset) {
            // empty
        } else if (depth == kDeepest) {
            findings_.report(kTavAtomStream_BadLengthInAtom, "Atoms nested more than %d deep", kDeepest);
        } else if (const OSStatus status = TavAtomStreamInitWithParent(&parent, childrenOffset, &child); status == 0) {
            walkSiblings(child, self, depth + 1);
        } else {
            noteEnd(status, {}, start, start + static_cast<int64_t>(dataLength - childrenOffset), true);
        }
        writer_.endArray();
    }

    void writeSummary()
    {
        writer_.key("file").beginObject();
        writer_.key("name").string(options_.name);
        writer_.key("size").unsignedInteger(file_.length());
        writer_.key("wellFormed").boolean(findings_.count() == 0);
        if (const auto& brands = summary_.brands) {
            writer_.key("brands").beginObject();
            writer_.key("major").code(brands->major);
            writer_.key("minor").unsignedInteger(brands->minor);
            writer_.key("compatible").beginArray();
            for (const OSType brand : brands->compatible) writer_.code(brand);
            writer_.endArray();
            writer_.endObject();
        }
        writer_.endObject();
        if (const auto& movie = summary_.movie) {
            writer_.key("movie").beginObject();
            writer_.key("timescale").unsignedInteger(movie->timescale);
            if (movie->duration) writer_.key("duration").unsignedInteger(*movie->duration);
            writer_.key("fragmented").boolean(summary_.isFragmented);
            writer_.endObject();
        }
    }

    BoxFile& file_;
    const InspectionOptions& options_;
    ValueWriter writer_;
    Findings findings_;
    FileSummary summary_;
    ZoRef<TavAssetAnalysisReporterRef> reporter_;
};

}  // namespace

Inspected inspectBoxes(LuByteStreamRef stream, const InspectionOptions& options, FILE* out)
{
    BoxFile file(stream);
    const bool isMovie = startsWithBox(file.read(0, 16), file.length());
    const bool isWellFormed = isMovie && Walk(file, options, out).run();
    errno = file.error();
    if (file.error() != 0) return Inspected::kUnreadable;
    if (file.hasShrunk()) return Inspected::kCut;
    if (!isMovie) return Inspected::kNotAMovie;
    return isWellFormed ? Inspected::kWellFormed : Inspected::kMalformed;
}
