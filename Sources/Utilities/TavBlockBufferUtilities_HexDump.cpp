// Hex dumps of block buffers, in several layouts.

#include <algorithm>
#include <bitset>
#include <cctype>
#include <cstdarg>
#include <cstdio>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Utilities/TavBlockBufferUtilities.h"

static constexpr size_t kDefaultBytesPerLine = 16;
static constexpr size_t kMaximumBytesPerLine = 128;

namespace {

// One line; what does not fit is cut off.
class LineText {
public:
    const char* text() const { return text_; }
    void append(const char* format, ...) ZO_PRINTF(2, 3)
    {
        va_list arguments;
        va_start(arguments, format);
        const int wanted = std::vsnprintf(text_ + used_, sizeof text_ - used_, format, arguments);
        va_end(arguments);
        if (wanted > 0) used_ = std::min(used_ + static_cast<size_t>(wanted), sizeof text_ - 1);
    }

private:
    char text_[1024] = "";
    size_t used_ = 0;
};

struct Line {
    size_t offset;  // from the start of the dump
    size_t count;
    uint8_t bytes[kMaximumBytesPerLine];
    std::bitset<kMaximumBytesPerLine> endsPiece;

    bool isAllZeros() const
    {
        return std::all_of(bytes, bytes + count, [](uint8_t byte) { return byte == 0; });
    }
};

class HexDump {
public:
    HexDump(LuBlockBufferRef buffer, size_t offset, size_t length, size_t bytesPerLine,
            TavBlockBufferHexDumpFlags flags, TavBlockBufferHexDumpEmitter emitter, void* emitterContext)
        : cursor_(buffer, offset),
          length_(length),
          bytesPerLine_(bytesPerLine),
          asArray_(flags & kTavBlockBufferHexDump_CArray),
          marksPieces_(!asArray_ && (flags & kTavBlockBufferHexDump_MarkSubBlocks)),
          groupsByFour_(!asArray_ && !marksPieces_ && (flags & kTavBlockBufferHexDump_GroupByFour)),
          collapsesZeros_(!asArray_ && (flags & kTavBlockBufferHexDump_CollapseZeroLines)),
          hexOffsets_(flags & kTavBlockBufferHexDump_HexOffsets),
          emitter_(emitter),
          emitterContext_(emitterContext)
    {}

    // False if the emitter stopped the dump.
    bool emitLines()
    {
        size_t pendingZeros = 0;
        Line line;
        while (line.offset = done_, done_ < length_ && gather(&line)) {
            done_ += line.count;
            if (collapsesZeros_ && done_ < length_ && line.isAllZeros()) {
                pendingZeros += line.count;
                continue;
            }
            if (!emitZeros(&pendingZeros)) return false;
            LineText text;
            format(line, &text);
            if (!emit(text.text())) return false;
        }
        return emitZeros(&pendingZeros);
    }
    bool emit(const char* line) { return emitter_(emitterContext_, line) == 0; }
    size_t done() const { return done_; }

private:
    // False if the bytes cannot be read.
    bool gather(Line* line)
    {
        line->count = std::min(bytesPerLine_, length_ - done_);
        line->endsPiece.reset();
        for (size_t at = 0; at < line->count;) {
            char* run = nullptr;
            size_t runLength = 0;
            if (cursor_.getRun(&run, &runLength) != 0) return false;
            const size_t taken = std::min(runLength, line->count - at);
            std::copy_n(run, taken, line->bytes + at);
            at += taken;
            if (taken == runLength) line->endsPiece.set(at - 1);
            cursor_.advance(taken);
        }
        return true;
    }

    bool emitZeros(size_t* pending)
    {
        if (*pending == 0) return true;
        LineText text;
        text.append("    * %zd zeroes", *pending);
        *pending = 0;
        return emit(text.text());
    }

    void format(const Line& line, LineText* text) const
    {
        if (asArray_)
            text->append(hexOffsets_ ? "/* %#6zx: */ " : "/* %5zd: */ ", line.offset);
        else
            text->append(hexOffsets_ ? "%#6zx: " : "%5zd: ", line.offset);
        for (size_t i = 0; i < bytesPerLine_; ++i) {
            if (i >= line.count)
                text->append("%s%s", asArray_ ? "      " : "  ", asArray_ ? "" : blankBehind(i));
            else if (asArray_)
                text->append("0x%02X, ", line.bytes[i]);
            else
                text->append("%02X%s", line.bytes[i], marksPieces_ && line.endsPiece[i] ? "|" : blankBehind(i));
        }
        text->append("  %s", asArray_ ? "/* " : "");
        for (size_t i = 0; i < line.count; ++i) {
            const int byte = line.bytes[i];
            text->append("%c", std::isprint(byte) && !std::iscntrl(byte) ? byte : '.');
        }
        if (asArray_) text->append(" */");
    }
    const char* blankBehind(size_t index) const { return groupsByFour_ && index % 4 != 3 ? "" : " "; }

    TavBlockBufferCursor cursor_;
    size_t length_;
    size_t done_ = 0;
    size_t bytesPerLine_;
    bool asArray_;
    bool marksPieces_;
    bool groupsByFour_;
    bool collapsesZeros_;
    bool hexOffsets_;
    TavBlockBufferHexDumpEmitter emitter_;
    void* emitterContext_;
};

}  // namespace

void TavBlockBufferHexDumpWithEmitter(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines,
                                      size_t bytesPerLine, TavBlockBufferHexDumpFlags flags,
                                      TavBlockBufferHexDumpEmitter emitter, void* emitterContext)
{
    const size_t total = LuBlockBufferGetDataLength(buffer);
    if (offset >= total || !emitter) return;
    bytesPerLine = bytesPerLine == 0 ? kDefaultBytesPerLine : std::min(bytesPerLine, kMaximumBytesPerLine);
    if (length == 0 || length > total - offset) length = total - offset;
    size_t mostBytes = 0;
    if (maxLines > 0 && !__builtin_mul_overflow(maxLines, bytesPerLine, &mostBytes)) {
        length = std::min(length, mostBytes);
    }

    HexDump dump(buffer, offset, length, bytesPerLine, flags, emitter, emitterContext);
    if (!dump.emitLines()) return;
    if (offset + dump.done() < total && !dump.emit("  ...")) return;
    dump.emit(nullptr);
}

static int DefaultBBufHexDumpEmitter(void*, const char* line)
{
    if (line) std::fprintf(stderr, "%s\n", line);
    return 0;
}

static int zoStringBBufHexDumpEmitter(void* context, const char* line)
{
    if (line) ZoStringAppendFormat(static_cast<ZoMutableStringRef>(context), nullptr, ZOSTR("%s\n"), line);
    return 0;
}

void TavBlockBufferHexDump(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines, size_t bytesPerLine,
                           TavBlockBufferHexDumpFlags flags)
{
    TavBlockBufferHexDumpWithEmitter(buffer, offset, length, maxLines, bytesPerLine, flags, DefaultBBufHexDumpEmitter,
                                     nullptr);
}

void TavBlockBufferAppendHexDumpToZoString(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines,
                                           size_t bytesPerLine, TavBlockBufferHexDumpFlags flags,
                                           ZoMutableStringRef string)
{
    if (!string) return;
    TavBlockBufferHexDumpWithEmitter(buffer, offset, length, maxLines, bytesPerLine, flags, zoStringBBufHexDumpEmitter,
                                     string);
}
