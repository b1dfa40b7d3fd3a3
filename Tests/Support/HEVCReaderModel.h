// A bit reader of ITU-T H.265 that is too simple to be wrong: it removes emulation prevention from the whole buffer
// first and reads one bit at a time. `readerDisagrees` runs operations on it, on HEVCBitstream and on a walker side by
// side.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace luvia_test {

class HEVCReaderModel {
public:
    HEVCReaderModel(const uint8_t* data, size_t size, bool escaped) : size_(size)
    {
        for (size_t i = 0; i < size;) {
            const bool isEscape = escaped && size - i >= 3 && data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 3;
            bytes_.push_back({data[i], i});
            if (isEscape) {
                bytes_.push_back({0, i + 1});
                escapes_.push_back(i + 2);
            }
            i += isEscape ? 3 : 1;
        }
    }

    bool atEnd() const { return bit_ == bitCount(); }
    size_t bitOffset() const { return bit_ % 8; }
    size_t bytesLeft() const { return bytes_.size() - bit_ / 8; }
    uint8_t byteAhead(size_t i) const { return bytes_[bit_ / 8 + i].value; }
    /// Offset in the buffer of the byte that holds the next bit.
    size_t position() const { return atEnd() ? size_ : bytes_[bit_ / 8].offset; }
    /// After a skip past the whole look-ahead, the emulation prevention byte behind the next byte counts as read.
    bool mayNameEscape() const { return jumped_; }
    size_t escapesBefore(size_t offset) const
    {
        return static_cast<size_t>(std::lower_bound(escapes_.begin(), escapes_.end(), offset) - escapes_.begin());
    }
    /// Zeros stand behind the end.
    uint32_t peek(size_t bits) const
    {
        uint32_t value = 0;
        for (size_t i = 0; i < bits; ++i) value = value << 1 | bitAt(bit_ + i);
        return value;
    }

    // Each gives the message of its failure, or nothing.

    std::string advance(uint64_t bits)
    {
        const uint64_t bytes = (bit_ % 8 + bits) / 8;
        if (bytes > 0) jumped_ = bytes > 4;
        if (bits > bitCount() - bit_) return "end of bitstream";
        bit_ += bits;
        return {};
    }
    std::string pull(int bits, uint32_t& out)
    {
        out = 0;
        if (atEnd()) return "end of bit stream";
        if (bits < 1) return "U_PULL should: (numBits)>0";
        if (bits > 25) return "U_PULL should: (numBits)<=25";
        return take(bits, out);
    }
    std::string pullLong(int bits, uint32_t& out)
    {
        out = 0;
        if (atEnd()) return "end of bit stream";
        if (bits < 1) return "U_PULLlong should: numBits>0";
        if (bits > 32) return "U_PULLlong should: numBits<=32";
        if (bits <= 24) return take(bits, out);
        uint32_t high = 0, low = 0;
        std::string failure = take(bits - 16, high);
        if (failure.empty()) failure = pull(16, low);
        if (failure.empty()) out = high << 16 | low;
        return failure;
    }
    std::string pullUE(uint32_t& out)
    {
        out = 0;
        if (atEnd()) return "end of bit stream";
        uint32_t zeros = 0, suffix = 0;
        while (zeros < 13 && bitAt(bit_ + zeros) == 0) ++zeros;
        if (zeros < 13) {
            const std::string failure = take(static_cast<int>(2 * zeros + 1), suffix);
            if (failure.empty()) out = suffix - 1;
            return failure;
        }
        std::string failure = pullZeros(zeros);
        if (failure.empty() && zeros >= 32) failure = "UE_PULLlong: data too large for UINT";
        if (failure.empty()) failure = pullLong(static_cast<int>(zeros), suffix);
        if (failure.empty()) out = (1u << zeros) - 1 + suffix;
        return failure;
    }
    std::string skipUE()
    {
        if (atEnd()) return "end of bit stream";
        uint32_t zeros = 0;
        while (zeros < 25 && bitAt(bit_ + zeros) == 0) ++zeros;
        if (zeros < 25) return advance(2 * zeros + 1);
        std::string failure = pullZeros(zeros);
        if (failure.empty() && zeros >= 32) failure = "UE_SKIPlong: data too large for UINT";
        return failure.empty() ? advance(zeros) : failure;
    }
    bool moreRBSPData() const
    {
        if (size_ - position() <= 1) return false;
        for (size_t i = bit_ + 1; i < bitCount(); ++i)
            if (bitAt(i)) return true;
        return false;
    }

private:
    struct Byte {
        uint8_t value;
        size_t offset;
    };

    size_t bitCount() const { return bytes_.size() * 8; }
    uint32_t bitAt(size_t bit) const { return bit < bitCount() ? bytes_[bit / 8].value >> (7 - bit % 8) & 1 : 0; }
    std::string take(int bits, uint32_t& out)
    {
        const uint32_t value = peek(static_cast<size_t>(bits));
        std::string failure = advance(static_cast<uint64_t>(bits));
        if (failure.empty()) out = value;
        return failure;
    }
    std::string pullZeros(uint32_t& zeros)
    {
        std::string failure = advance(1);
        uint32_t bit = 0;
        for (zeros = 0; failure.empty() && bit == 0; ++zeros) failure = pull(1, bit);
        return failure;
    }

    std::vector<Byte> bytes_;
    std::vector<size_t> escapes_;  // offsets of the bytes removed
    size_t size_;
    size_t bit_ = 0;
    bool jumped_ = false;
};

/// What a caller can see of the reader, beside the model; nothing where they agree.
inline std::string stateDisagrees(const HEVCBitstream& reader, const HEVCReaderModel& model)
{
    const auto position = static_cast<size_t>(reader.position - reader.data);
    if (position != model.position() && !(model.mayNameEscape() && position == model.position() + 1))
        return "position " + std::to_string(position) + " is not " + std::to_string(model.position());
    if (reader.endOfData != model.atEnd()) return "endOfData";
    if (reader.bitOffset != model.bitOffset()) return "bitOffset";
    if (reader.bits >> 7 != model.peek(25)) return "bits";
    if (hevcbridgeMoreRBSPData(&reader, nullptr) != model.moreRBSPData() && position == model.position())
        return "more_rbsp_data";
    if (!reader.removeEmulationPrevention) return {};
    if (reader.lookaheadCount < static_cast<int32_t>(std::min<size_t>(model.bytesLeft(), 4)) ||
        reader.lookaheadCount > 5)
        return "lookaheadCount";
    for (int32_t i = 0; i < reader.lookaheadCount; ++i)
        if (reader.lookahead[i] != model.byteAhead(static_cast<size_t>(i))) return "lookahead";
    if (reader.removedCount != model.escapesBefore(static_cast<size_t>(reader.rawNext - reader.data)))
        return "removedCount";
    return {};
}

/// What differs between records that stand at one place, or nothing.
inline std::string recordsDiffer(const HEVCBitstream& a, const HEVCBitstream& b)
{
    if (a.position != b.position || a.bitOffset != b.bitOffset) return "walker's position";
    if (a.bits != b.bits || a.endOfData != b.endOfData) return "walker's bits";
    if (!a.removeEmulationPrevention) return {};
    const auto count = static_cast<size_t>(std::max(a.lookaheadCount, 0));
    if (a.rawNext != b.rawNext || a.lookaheadCount != b.lookaheadCount || memcmp(a.lookahead, b.lookahead, count) != 0)
        return "walker's look-ahead";
    return a.removedCount == b.removedCount && a.removedMask == b.removedMask ? "" : "walker's removed bytes";
}

/// An operation of readerDisagrees by a walker.
inline uint32_t walk(HEVCWalker& w, int operation, uint8_t argument)
{
    switch (operation) {
        case 0: return w.skip(argument), 0;
        case 1: return w.pull(argument % 27);
        case 2: return w.pull(argument % 34);
        case 3: return w.skipUE(), 0;
        default: return w.pullUE();
    }
}

/// Runs operations, two bytes each, until the first failure, on the reader, on a walker over a second one, and on the
/// model. `lastMessage` gives the message signalled last. What differs, or nothing.
template <typename LastMessage>
std::string readerDisagrees(const std::string& bytes, bool escaped, const std::string& operations,
                            LastMessage lastMessage)
{
    const std::vector<uint8_t> data(bytes.begin(), bytes.end());  // a buffer of its own, whose end a sanitizer sees
    HEVCBitstream reader = hevcbridgeBitstreamOver(data.data(), data.size(), escaped), behind = reader;
    HEVCReaderModel model(data.data(), data.size(), escaped);
    if (hevcbridgeAdvanceInBitstream(&reader, 0) != 0 || hevcbridgeAdvanceInBitstream(&behind, 0) != 0)
        return "priming failed";
    const HEVCBridgeParseContext nothing = {};
    HEVCWalker w(&behind, &nothing);
    for (size_t i = 0; i + 1 < operations.size(); i += 2) {
        const std::string at = " at operation " + std::to_string(i / 2);
        if (std::string what = stateDisagrees(reader, model); !what.empty()) return what + at;
        const auto operation = static_cast<uint8_t>(operations[i]), argument = static_cast<uint8_t>(operations[i + 1]);
        if (w.isByteAligned() != (reader.bitOffset == 0)) return "walker's alignment" + at;
        if (operation >= 128)
            if (std::string what = recordsDiffer(reader, w.reader()); !what.empty()) return what + at;
        uint32_t ours = 0, expected = 0;
        OSStatus status = 0;
        std::string failure;
        switch (operation % 6) {
            case 0:
                failure = model.advance(argument);
                status = hevcbridgeUSkip(&reader, argument);
                break;
            case 1:
                failure = model.pull(argument % 27, expected);
                status = hevcbridgeUPull(&reader, argument % 27, &ours);
                break;
            case 2:
                failure = model.pullLong(argument % 34, expected);
                status = hevcbridgeUPullLong(&reader, argument % 34, &ours);
                break;
            case 3:
                failure = model.skipUE();
                status = hevcbridgeUESkip(&reader);
                break;
            default:
                failure = model.pullUE(expected);
                status = hevcbridgeUEPullLong(&reader, &ours);
                break;
        }
        if (status != (failure.empty() ? 0 : kTavBridgeInvalidSerializedSampleDescriptionErr)) return "status" + at;
        if (ours != expected) return "value" + at;
        const std::string message = failure.empty() ? "" : lastMessage();
        if (!message.empty() && message != failure) return message + " is not " + failure + at;
        if (operation % 6 == 1 && argument % 27 > 24) {  // a walker has no read that ends at 25 bits
            if (status != 0) return {};
            w.skip(25);
        } else if (walk(w, operation % 6, argument) != expected) {
            return "walker's value" + at;
        }
        if (status != w.status()) return "walker's status" + at;
        if (!failure.empty()) return operation % 6 == 1 || lastMessage() == message ? "" : "walker's message" + at;
    }
    return {};
}

}  // namespace luvia_test
