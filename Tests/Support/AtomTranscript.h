// One run of atoms over each kind of source, and everything that a walk over it finds, as text that can be compared.

#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace luvia_test {

/// "code: text" of each message, in order.
inline std::vector<std::string> messagesOf(TavAssetAnalysisReporterRef reporter)
{
    std::vector<std::string> out;
    ZoRef<ZoArrayRef> messages;
    if (TavAssetAnalysisReporterCopyMessages(reporter, messages.outParam()) != 0) return out;
    for (ZoIndex i = 0; i < ZoArrayGetCount(messages.get()); ++i) {
        const auto message = static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(messages.get(), i));
        int32_t code = 0;
        char text[256] = "";
        ZoNumberGetValue(
            static_cast<ZoNumberRef>(ZoDictionaryGetValue(message, kTavAssetAnalysisMovieMessageKey_FailureCode)),
            kZoNumberSInt32Type, &code);
        ZoStringGetCString(
            static_cast<ZoStringRef>(ZoDictionaryGetValue(message, kTavAssetAnalysisKey_DiagnosticInformation)), text,
            sizeof(text), kZoStringEncodingASCII);
        out.push_back(std::to_string(code) + ": " + text);
    }
    return out;
}

enum class AtomSource { memory, blockBuffer, byteStream };
constexpr AtomSource kAtomSources[] = {AtomSource::memory, AtomSource::blockBuffer, AtomSource::byteStream};

/// Bytes as a source of atoms. The block buffer has pieces of `pieceLength` bytes, so that they end inside of headers.
class AtomInput {
public:
    explicit AtomInput(AtomSource source, std::string bytes, size_t pieceLength = 3)
        : source_(source), bytes_(std::move(bytes)), copy_(bytes_.begin(), bytes_.end())
    {
        TavAssetAnalysisReporterCreate(nullptr, reporter_.outParam());
        if (source == AtomSource::memory) return;
        LuBlockBufferCreateEmpty(nullptr, 2, 0, buffer_.outParam());
        for (size_t at = 0; at < bytes_.size(); at += pieceLength) {
            ZoRef<LuBlockBufferRef> piece;
            TavCreateBlockBufferCopyingMemoryBlock(nullptr, bytes_.data() + at,
                                                   std::min(pieceLength, bytes_.size() - at), piece.outParam());
            LuBlockBufferAppendBufferReference(buffer_.get(), piece.get(), 0, 0, 0);
        }
        if (source == AtomSource::byteStream)
            LuByteStreamCreateForBlockBuffer(nullptr, buffer_.get(), 0, stream_.outParam());
    }

    OSStatus open(TavAtomStream* streamOut, bool allowZeroSize = false, size_t offset = 0)
    {
        if (source_ == AtomSource::memory)
            return TavAtomStreamInitWithMemoryBlockAndReporter(copy_.data(), copy_.size(), static_cast<int64_t>(offset),
                                                               allowZeroSize, reporter_.get(), streamOut);
        if (source_ == AtomSource::blockBuffer)
            return TavAtomStreamInitWithBBufAndReporter(buffer_.get(), offset, allowZeroSize, reporter_.get(),
                                                        streamOut);
        return TavAtomStreamInitWithByteStreamAndReporter(stream_.get(), static_cast<int64_t>(offset), allowZeroSize,
                                                          reporter_.get(), streamOut);
    }
    std::vector<std::string> messages() const { return messagesOf(reporter_.get()); }
    ZoRef<ZoArrayRef> rawMessages() const
    {
        ZoRef<ZoArrayRef> out;
        TavAssetAnalysisReporterCopyMessages(reporter_.get(), out.outParam());
        return out;
    }

private:
    AtomSource source_;
    std::string bytes_;
    std::vector<char> copy_;  ///< without room behind the end, so that a read past it is noticed
    ZoRef<TavAssetAnalysisReporterRef> reporter_;
    ZoRef<LuBlockBufferRef> buffer_;
    ZoRef<LuByteStreamRef> stream_;
};

namespace atom_transcript {

inline void number(std::string& out, const char* name, int64_t value)
{
    out += std::string(" ") + name + "=" + std::to_string(value);
}

inline void describe(const TavAtomStream& stream, std::string& out)
{
    OSType type = 0;
    int64_t length = 0, offset = 0, size = 0, header = 0, inParent = 0, dataOffset = 0;
    uint8_t uuid[16] = {}, version = 0, bytes[8] = {};
    uint32_t flags = 0;
    TavAtomStreamGetCurrentAtomTypeAndDataLength(&stream, &type, &length);
    TavAtomStreamGetCurrentAtomGlobalOffset(&stream, &offset, &size);
    TavAtomStreamGetCurrentAtomHeaderSize(&stream, &header);
    TavAtomStreamGetCurrentAtomOffsetInParent(&stream, &inParent);
    out += std::string("\n") + AtomTypeToString(type).text;
    number(out, "at", offset);
    number(out, "size", size);
    number(out, "header", header);
    number(out, "data", length);
    number(out, "in", inParent);
    if (TavAtomStreamGetCurrentAtomUUIDType(&stream, uuid) == 0) out.append(reinterpret_cast<char*>(uuid), 16);
    number(out, "full", TavAtomStreamGetCurrentAtomVersionAndFlags(&stream, &version, &flags));
    number(out, "version", version);
    number(out, "flags", flags);
    number(out, "last", TavAtomStreamReadCurrentAtomData(&stream, length - 8, sizeof(bytes), bytes));
    out.append(reinterpret_cast<char*>(bytes), sizeof(bytes));
    number(out, "past", TavAtomStreamReadCurrentAtomData(&stream, length - 1, 2, bytes));
    number(out, "where", TavAtomStreamGetCurrentAtomDataGlobalOffset(&stream, 3, &dataOffset));
    number(out, "", dataOffset);
    if (size > 4096) return;
    ZoRef<LuBlockBufferRef> whole, data;
    number(out, "whole", TavAtomStreamReadCurrentAtomAndCreateBBuf(&stream, whole.outParam()));
    if (whole) number(out, "length", static_cast<int64_t>(LuBlockBufferGetDataLength(whole.get())));
    number(out, "tail", TavAtomStreamReadCurrentAtomDataAndCreateBBuf(&stream, 2, 0, data.outParam()));
    if (data) number(out, "length", static_cast<int64_t>(LuBlockBufferGetDataLength(data.get())));
    if (data && !LuBlockBufferIsRangeContiguous(data.get(), 0, 0)) out += " IN PIECES";
}

inline void walk(TavAtomStream& stream, int depth, std::string& out)
{
    for (int count = 0; count < 64; ++count) {
        describe(stream, out);
        TavAtomStream child;
        if (depth < 4) {
            for (const size_t offset : {size_t{0}, size_t{4}}) {
                const OSStatus status = TavAtomStreamInitWithParent(&stream, offset, &child);
                number(out, "child", status);
                if (status != 0) continue;
                walk(child, depth + 1, out);
                break;
            }
        }
        const TavAtomStream before = stream;
        const OSStatus status = TavAtomStreamAdvanceToNextAtom(&stream);
        number(out, "next", status);
        if (status == 0) continue;
        if (stream.dataOffset != before.dataOffset || stream.type != before.type) out += " CURSOR MOVED";
        return;
    }
}

}  // namespace atom_transcript

/// All that there is to find, down to a bounded depth.
inline std::string transcriptOf(AtomInput& input, bool allowZeroSize)
{
    std::string out;
    TavAtomStream stream;
    const OSStatus status = input.open(&stream, allowZeroSize);
    atom_transcript::number(out, "open", status);
    if (status == 0) atom_transcript::walk(stream, 0, out);
    for (const std::string& message : input.messages()) out += "\n" + message;
    return out;
}

}  // namespace luvia_test
