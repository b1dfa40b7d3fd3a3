#include "inspect/Inspection.h"

#include <algorithm>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Utilities/TavAtomLayout.h"
#include "Utilities/TavAtomStream.h"
#include "inspect/Payload.h"

namespace {

constexpr int kDeepest = 32;
constexpr size_t kMostMessages = 100;
constexpr size_t kBoxesBetweenReleases = 2048;

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + '"';
}

class Walk {
public:
    Walk(std::span<const uint8_t> bytes, const InspectionOptions& options, FILE* out)
        : bytes_(bytes), options_(options), out_(out)
    {
        TavAssetAnalysisReporterCreate(nullptr, reporter_.outParam());
    }

    bool run()
    {
        if (options_.json) fprintf(out_, "{\"size\":%zu,\"boxes\":[", bytes_.size());
        TavAtomStream top;
        const OSStatus status =
            TavAtomStreamInitWithMemoryBlockAndReporter(bytes_.data(), bytes_.size(), 0, true, reporter_.get(), &top);
        if (status == 0)
            walkSiblings(top, {}, 0);
        else
            noteEnd(status, 0, bytes_, nullptr);
        printMessages();
        return failures_ == 0;
    }

private:
    // The reporter while it takes messages; a hostile file could fill it without end.
    TavAssetAnalysisReporterRef reporter() const { return failures_ < kMostMessages ? reporter_.get() : nullptr; }

    template <typename... Arguments>
    void fail(OSType type, const char* format, Arguments... arguments)
    {
        char text[128];
        snprintf(text, sizeof(text), format, arguments...);
        AtomStreamReportErrorMessage(reporter(), kTavAtomStream_BadLengthInAtom, type, text);
        ++failures_;
    }

    void walkSiblings(TavAtomStream& stream, const TavAtomParent& parent, int depth)
    {
        OSStatus status = 0;
        for (bool isFirst = true; status == 0; isFirst = false) {
            if (options_.json && !isFirst) fputc(',', out_);
            visit(stream, parent, depth);
            stream.reporter = reporter();
            status = TavAtomStreamAdvanceToNextAtom(&stream);
        }
        const int64_t end = stream.dataOffset + stream.dataLength;
        noteEnd(status, parent.type,
                bytes_.subspan(static_cast<size_t>(stream.containerOffset + end),
                               static_cast<size_t>(stream.containerLength - end)),
                &stream);
    }

    // What stands behind the last box: nothing, a terminator of zeros as movie files have it, or what cannot be read.
    void noteEnd(OSStatus status, OSType parent, std::span<const uint8_t> rest, const TavAtomStream* stream)
    {
        if (status == kTavAtomStream_AtEnd) return;
        if (rest.size() >= kTavAtomHeaderSize) {
            ++failures_;  // reported by the stream
            return;
        }
        if (stream && std::all_of(rest.begin(), rest.end(), [](uint8_t byte) { return byte == 0; })) return;
        fail(parent, "%zd stray bytes at offset %zd", rest.size(), static_cast<size_t>(rest.data() - bytes_.data()));
    }

    void visit(const TavAtomStream& stream, const TavAtomParent& parent, int depth)
    {
        int64_t offset = 0, size = 0, headerSize = 0;
        TavAtomStreamGetCurrentAtomGlobalOffset(&stream, &offset, &size);
        TavAtomStreamGetCurrentAtomHeaderSize(&stream, &headerSize);
        if (++boxes_ % kBoxesBetweenReleases == 0 && options_.releasePages)
            options_.releasePages(static_cast<size_t>(offset));
        const auto data =
            bytes_.subspan(static_cast<size_t>(offset + headerSize), static_cast<size_t>(stream.dataLength));
        const TavAtomLayout layout = TavAtomLayoutOf(stream.type, parent, data);

        const std::string type = AtomTypeToString(stream.type).text;
        if (options_.json)
            fprintf(out_, "\n%*s{\"type\":%s,\"offset\":%lld,\"size\":%lld,\"header\":%lld", depth, "",
                    quoted(type).c_str(), static_cast<long long>(offset), static_cast<long long>(size),
                    static_cast<long long>(headerSize));
        else
            fprintf(out_, "%*s%s  offset %lld  size %lld  header %lld", 2 * depth, "", type.c_str(),
                    static_cast<long long>(offset), static_cast<long long>(size), static_cast<long long>(headerSize));
        const uint8_t version = printInside(stream, layout, data);
        if (!options_.json) fputc('\n', out_);
        if (layout.isContainer) descend(stream, layout.childrenOffset, {stream.type, version}, depth);
        if (options_.json) fputc('}', out_);
    }

    // Version and flags, the extended type, and the values that the type's own reader finds. The box's version.
    uint8_t printInside(const TavAtomStream& stream, const TavAtomLayout& layout, std::span<const uint8_t> data)
    {
        uint8_t version = 0, uuid[kTavAtomExtendedTypeSize];
        uint32_t flags = 0;
        if (layout.isFull && TavAtomStreamGetCurrentAtomVersionAndFlags(&stream, &version, &flags) == 0) {
            printField({"version", std::to_string(version), true});
            printField({"flags", std::to_string(flags), true});
        } else if (layout.isFull) {
            ++failures_;  // reported by the stream
        }
        if (TavAtomStreamGetCurrentAtomUUIDType(&stream, uuid) == 0) {
            char text[2 * sizeof(uuid) + 1];
            for (size_t i = 0; i < sizeof(uuid); ++i) snprintf(text + 2 * i, 3, "%02x", uuid[i]);
            printField({"uuid", text});
        }
        for (const PayloadField& field : readPayload(stream.type, data)) printField(field);
        return version;
    }

    void printField(const PayloadField& field)
    {
        if (options_.json)
            fprintf(out_, ",\"%s\":%s", field.name.c_str(),
                    field.isNumber ? field.value.c_str() : quoted(field.value).c_str());
        else
            fprintf(out_, "  %s %s", field.name.c_str(), field.value.c_str());
    }

    void descend(const TavAtomStream& stream, size_t childrenOffset, const TavAtomParent& self, int depth)
    {
        if (options_.json) fputs(",\"children\":[", out_);
        const auto dataLength = static_cast<uint64_t>(stream.dataLength);
        TavAtomStream parent = stream, child;
        parent.reporter = reporter();
        if (dataLength < childrenOffset) {
            fail(stream.type, "'%s' atom ends before its children", AtomTypeToString(stream.type).text);
        } else if (dataLength == childrenOffset) {
            // empty
        } else if (depth == kDeepest) {
            fail(stream.type, "Atoms nested more than %d deep", kDeepest);
        } else if (const OSStatus status = TavAtomStreamInitWithParent(&parent, childrenOffset, &child); status == 0) {
            walkSiblings(child, self, depth + 1);
        } else {
            const int64_t start = stream.containerOffset + stream.dataOffset;
            noteEnd(status, stream.type,
                    bytes_.subspan(static_cast<size_t>(start) + childrenOffset, dataLength - childrenOffset), &parent);
        }
        if (options_.json) fputc(']', out_);
    }

    void printMessages()
    {
        ZoRef<ZoArrayRef> messages;
        if (TavAssetAnalysisReporterCopyMessages(reporter_.get(), messages.outParam()) != 0) ++failures_;
        const ZoIndex count = messages ? ZoArrayGetCount(messages.get()) : 0;
        if (options_.json) fputs("\n],\"messages\":[", out_);
        for (ZoIndex i = 0; i < count; ++i) {
            const auto message = static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(messages.get(), i));
            int32_t code = 0;
            char text[256] = "";
            if (const void* number = ZoDictionaryGetValue(message, kTavAssetAnalysisMovieMessageKey_FailureCode))
                ZoNumberGetValue(static_cast<ZoNumberRef>(number), kZoNumberSInt32Type, &code);
            if (const void* string = ZoDictionaryGetValue(message, kTavAssetAnalysisKey_DiagnosticInformation))
                ZoStringGetCString(static_cast<ZoStringRef>(string), text, sizeof(text), kZoStringEncodingASCII);
            if (options_.json)
                fprintf(out_, "%s\n{\"code\":%d,\"text\":%s}", i == 0 ? "" : ",", code, quoted(text).c_str());
            else
                fprintf(out_, "malformed (%d): %s\n", code, text);
        }
        if (options_.json) fprintf(out_, "],\"failures\":%zu}\n", failures_);
        if (!options_.json && failures_ > static_cast<size_t>(count))
            fprintf(out_, "malformed: %zu more\n", failures_ - static_cast<size_t>(count));
    }

    std::span<const uint8_t> bytes_;
    const InspectionOptions& options_;
    FILE* out_;
    ZoRef<TavAssetAnalysisReporterRef> reporter_;
    size_t failures_ = 0;
    size_t boxes_ = 0;
};

}  // namespace

bool inspectBoxes(std::span<const uint8_t> bytes, const InspectionOptions& options, FILE* out)
{
    return Walk(bytes, options, out).run();
}
