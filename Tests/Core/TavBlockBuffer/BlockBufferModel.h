// Block buffers beside a model of them, under any sequence of operations. The model of a buffer is a list of cells, one
// a byte; memory makes new cells, a reference lists those of its target again, so that what is written through one
// buffer is seen through all that share it.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Tests/Core/TavBlockBuffer/BlockSource.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace luvia_test {

/// Memory of a known content, counted. (Fuzz targets, which use the model too, have no test framework to report to.)
class PaintedMemory {
public:
    static constexpr uint8_t kPaint = 0xA5;

    PaintedMemory()
    {
        ZoAllocatorContext context = {};
        context.info = this;
        context.allocate = [](ZoIndex size, ZoOptionFlags, void* info) {
            ++static_cast<PaintedMemory*>(info)->live_;
            return std::memset(std::malloc(static_cast<size_t>(size)), kPaint, static_cast<size_t>(size));
        };
        context.deallocate = [](void* memory, void* info) {
            --static_cast<PaintedMemory*>(info)->live_;
            std::free(memory);
        };
        allocator_ = zoAdopt(ZoAllocatorCreate(nullptr, &context));
    }
    ZoAllocatorRef get() const { return allocator_.get(); }
    int live() const { return live_; }

private:
    ZoRef<ZoAllocatorRef> allocator_;
    int live_ = 0;
};

/// The model and the buffers must agree at every step; where they do not, `mismatch` is called with what was found.
class BlockBufferModel {
public:
    /// `choose(n)` gives a number below n.
    BlockBufferModel(std::function<size_t(size_t)> choose, std::function<void(const char*)> mismatch)
        : choose_(std::move(choose)), mismatch_(std::move(mismatch))
    {}

    void step()
    {
        if (buffers_.empty()) return create();
        switch (choose_(13)) {
            case 0: return create();
            case 1: return appendMemory();
            case 2: return appendMemory();
            case 3: return appendReference();
            case 4: return appendReference();
            case 5: return overwrite(false);
            case 6: return overwrite(true);
            case 7: return contiguous();
            case 8: return assure();
            case 9: return compare();
            case 10: return access();
            case 11: return appendBytes();
            default: return retire();
        }
    }
    /// Each byte of each buffer, by every way of reading.
    void verifyAll()
    {
        for (Entry& entry : buffers_) {
            verifyCopy(entry, 0, entry.cells.size());
            verifyRuns(entry);
        }
    }
    void releaseAll()
    {
        buffers_.clear();
        expect(memory_.live() == 0, "something leaked");
    }

private:
    struct Entry {
        ZoRef<LuBlockBufferRef> buffer;
        std::vector<uint32_t> cells;
        uint32_t age;  // references go to older buffers only: no circles
    };
    struct Cell {
        uint8_t value;
        uint32_t block;
    };
    static constexpr size_t kMaximumLength = 4000;
    static constexpr size_t kMaximumBuffers = 24;

    void expect(bool holds, const char* what)
    {
        if (!holds) mismatch_(what);
    }
    Entry& any() { return buffers_[choose_(buffers_.size())]; }
    /// A range of a buffer that has bytes; false if it has none.
    bool anyRange(const Entry& entry, size_t* offset, size_t* length)
    {
        if (entry.cells.empty()) return false;
        *offset = choose_(entry.cells.size());
        *length = 1 + choose_(entry.cells.size() - *offset);
        return true;
    }
    bool isAllocated(const Entry& entry, size_t offset, size_t length) const
    {
        return std::all_of(entry.cells.begin() + static_cast<long>(offset),
                           entry.cells.begin() + static_cast<long>(offset + length),
                           [this](uint32_t cell) { return allocated_[cells_[cell].block]; });
    }

    void create()
    {
        if (buffers_.size() == kMaximumBuffers) return retire();
        Entry entry;
        entry.age = nextAge_++;
        const auto capacity = static_cast<uint32_t>(choose_(5));
        expect(LuBlockBufferCreateEmpty(memory_.get(), capacity, 0, entry.buffer.outParam()) == 0, "create");
        buffers_.push_back(std::move(entry));
    }
    void retire()
    {
        const size_t index = choose_(buffers_.size());
        buffers_.erase(buffers_.begin() + static_cast<long>(index));
    }

    void appendMemory()
    {
        Entry& entry = any();
        if (entry.cells.size() > kMaximumLength) return;
        const size_t blockLength = 1 + choose_(40);
        const size_t offset = choose_(blockLength);
        const size_t length = 1 + choose_(blockLength - offset);
        const bool given = choose_(2), custom = choose_(2), now = choose_(2);
        auto* block = static_cast<uint8_t*>(
            given ? ZoAllocatorAllocate(memory_.get(), static_cast<ZoIndex>(blockLength), 0) : nullptr);
        for (size_t i = 0; given && i < blockLength; ++i) block[i] = static_cast<uint8_t>(choose_(256));
        const LuBlockBufferCustomBlockSource source = sourceFrom(memory_.get());
        expect(LuBlockBufferAppendMemoryBlock(entry.buffer.get(), block, blockLength, memory_.get(),
                                              custom ? &source : nullptr, offset, length,
                                              now ? kLuBlockBufferAssureMemoryNowFlag : 0) == 0,
               "append memory");
        addCells(entry, given ? block + offset : nullptr, length, given || now);
    }

    void appendBytes()
    {
        Entry& entry = any();
        if (entry.cells.size() > kMaximumLength) return;
        std::vector<uint8_t> bytes(choose_(choose_(8) == 0 ? 300 : 12));
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(choose_(256));
        expect(TavBlockBufferAppendBytes(entry.buffer.get(), bytes.data(), bytes.size()) == 0, "append bytes");
        addCells(entry, bytes.data(), bytes.size(), true);
    }
    /// New cells; painted ones where there are no bytes.
    void addCells(Entry& entry, const uint8_t* bytes, size_t length, bool isAllocated)
    {
        allocated_.push_back(isAllocated);
        for (size_t i = 0; i < length; ++i) {
            entry.cells.push_back(static_cast<uint32_t>(cells_.size()));
            cells_.push_back({bytes ? bytes[i] : PaintedMemory::kPaint, static_cast<uint32_t>(allocated_.size() - 1)});
        }
    }

    void appendReference()
    {
        Entry& entry = any();
        Entry& target = any();
        size_t offset = 0, length = 0;
        if (entry.age <= target.age || entry.cells.size() > kMaximumLength || !anyRange(target, &offset, &length))
            return;
        const bool toEnd = choose_(4) == 0;
        if (toEnd) length = target.cells.size() - offset;
        LuBlockBufferFlags flags = choose_(3) == 0 ? kLuBlockBufferDontOptimizeDepthFlag : 0;
        expect(LuBlockBufferAppendBufferReference(entry.buffer.get(), target.buffer.get(), offset, toEnd ? 0 : length,
                                                  flags) == 0,
               "append reference");
        const auto from = target.cells.begin() + static_cast<long>(offset);
        entry.cells.insert(entry.cells.end(), from, from + static_cast<long>(length));
    }

    /// Other bytes in a range, or one byte again and again, then also up to the end.
    void overwrite(bool fills)
    {
        Entry& entry = any();
        size_t offset = 0, length = 0;
        if (!anyRange(entry, &offset, &length)) return;
        const bool toEnd = fills && choose_(4) == 0;
        if (toEnd) length = entry.cells.size() - offset;
        std::vector<uint8_t> bytes(length, static_cast<uint8_t>(choose_(256)));
        for (size_t i = 0; !fills && i < length; ++i) bytes[i] = static_cast<uint8_t>(choose_(256));
        const OSStatus status = fills ? LuBlockBufferFillDataBytes(static_cast<char>(bytes[0]), entry.buffer.get(),
                                                                   offset, toEnd ? 0 : length)
                                      : LuBlockBufferReplaceDataBytes(bytes.data(), entry.buffer.get(), offset, length);
        expect(status == 0, fills ? "fill" : "replace");
        for (size_t i = 0; i < length; ++i) write(entry.cells[offset + i], bytes[i]);
        verifyCopy(entry, offset, length);
    }
    void write(uint32_t cell, uint8_t value)
    {
        cells_[cell].value = value;
        allocated_[cells_[cell].block] = true;
    }

    void contiguous()
    {
        if (buffers_.size() == kMaximumBuffers) return;
        Entry& entry = any();
        size_t offset = 0, length = 0;
        if (!anyRange(entry, &offset, &length)) return;
        const bool copies = choose_(2);
        Entry result;
        const OSStatus status =
            LuBlockBufferCreateContiguous(memory_.get(), entry.buffer.get(), memory_.get(), nullptr, offset, length,
                                          copies ? kLuBlockBufferAlwaysCopyDataFlag : 0, result.buffer.outParam());
        if (status == kTavBlockBufferUnallocatedBlockErr && !isAllocated(entry, offset, length)) return;
        expect(status == 0, "contiguous");
        expect(LuBlockBufferIsRangeContiguous(result.buffer.get(), 0, length), "contiguous result is in pieces");
        // Shared or copied, the bytes are the same now; from here on it is only known which if it was asked for.
        if (!copies) return;
        result.age = nextAge_++;
        const std::vector<uint8_t> bytes = bytesOf(entry);
        addCells(result, bytes.data() + offset, length, true);
        verifyCopy(result, 0, length);
        buffers_.push_back(std::move(result));
    }

    void assure()
    {
        Entry& entry = any();
        if (entry.cells.empty()) return;
        expect(LuBlockBufferAssureBlockMemory(entry.buffer.get()) == 0, "assure");
        for (uint32_t cell : entry.cells) allocated_[cells_[cell].block] = true;
        verifyCopy(entry, 0, entry.cells.size());
        verifyRuns(entry);
    }

    void compare()
    {
        const Entry& a = any();
        const Entry& b = any();
        if (!isAllocated(a, 0, a.cells.size()) || !isAllocated(b, 0, b.cells.size())) return;
        const int found = TavBlockBufferCompare(a.buffer.get(), b.buffer.get());
        const std::vector<uint8_t> x = bytesOf(a), y = bytesOf(b);
        const bool less = x.size() != y.size() ? x.size() < y.size() : x < y;
        expect((found < 0) == less && (found == 0) == (x == y), "compare");
    }

    void access()
    {
        Entry& entry = any();
        size_t offset = 0, length = 0;
        if (!anyRange(entry, &offset, &length)) return;
        std::vector<char> temporary(length);
        char* bytes = nullptr;
        const OSStatus status =
            LuBlockBufferAccessDataBytes(entry.buffer.get(), offset, length, temporary.data(), &bytes);
        if (status != 0) return expect(!bytes && !isAllocated(entry, offset, length), "access refused");
        for (size_t i = 0; i < length; ++i) {
            expect(static_cast<uint8_t>(bytes[i]) == cells_[entry.cells[offset + i]].value, "accessed bytes");
        }
    }

    std::vector<uint8_t> bytesOf(const Entry& entry) const
    {
        std::vector<uint8_t> bytes;
        for (uint32_t cell : entry.cells) bytes.push_back(cells_[cell].value);
        return bytes;
    }

    void verifyCopy(const Entry& entry, size_t offset, size_t length)
    {
        expect(LuBlockBufferGetDataLength(entry.buffer.get()) == entry.cells.size(), "length");
        if (length == 0) return;
        std::vector<uint8_t> bytes(length);
        const OSStatus status = LuBlockBufferCopyDataBytes(entry.buffer.get(), offset, length, bytes.data());
        if (status == kTavBlockBufferUnallocatedBlockErr && !isAllocated(entry, offset, length)) return;
        expect(status == 0, "copy");
        for (size_t i = 0; i < length; ++i) expect(bytes[i] == cells_[entry.cells[offset + i]].value, "copied bytes");
    }

    // The cursor, going and jumping, and the look-ups of single offsets find the same runs.
    void verifyRuns(const Entry& entry)
    {
        TavBlockBufferCursor cursor(entry.buffer.get());
        while (cursor.offset() < entry.cells.size()) {
            const size_t offset = cursor.offset();
            char *run = nullptr, *pointer = nullptr;
            size_t runLength = 0, length = 0;
            const OSStatus status = cursor.getRun(&run, &runLength);
            expect(status == LuBlockBufferGetDataPointer(entry.buffer.get(), offset, &length, nullptr, &pointer),
                   "status of a run");
            expect(run == pointer && runLength == length, "run");
            if (status == 0) {
                expect(static_cast<uint8_t>(*run) == cells_[entry.cells[offset]].value, "byte of a run");
                expect(LuBlockBufferIsRangeContiguous(entry.buffer.get(), offset, runLength), "run not contiguous");
            } else {
                expect(!isAllocated(entry, offset, 1), "status of allocated memory");
            }
            cursor.moveTo(offset + 1 + choose_(2 * std::max<size_t>(runLength, 8)));
            if (choose_(16) == 0) cursor.moveTo(offset + 1);
        }
        char* run = nullptr;
        size_t runLength = 0;
        expect(cursor.getRun(&run, &runLength) == kTavBlockBufferBadOffsetParameterErr && !run, "run past the end");
    }

    std::function<size_t(size_t)> choose_;
    std::function<void(const char*)> mismatch_;
    PaintedMemory memory_;
    std::vector<Cell> cells_;
    std::vector<bool> allocated_;  // by block, as far as is known
    uint32_t nextAge_ = 0;
    std::vector<Entry> buffers_;
};

}  // namespace luvia_test
