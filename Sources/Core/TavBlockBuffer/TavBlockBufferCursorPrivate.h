// The cursor that goes through a block buffer from piece to piece. Internal: it is not in the shared library.

#pragma once

#include "Core/TavBlockBuffer/TavBlockBuffer.h"
#include "Core/TavBlockBuffer/TavWalkStack.h"

/// Walks the memory of a buffer from piece to piece: going over all N pieces takes time linear in N, however they are
/// chained and nested, because each step goes on from where the last one ended. Borrows the buffer, which must not be
/// appended to meanwhile; blocks may be allocated. One cursor belongs to one thread.
///
///     TavBlockBufferCursor cursor(buffer, offset);
///     while (length > 0) {
///         char* run;  size_t runLength;
///         TAV_TRY(cursor.getRun(&run, &runLength));      // as LuBlockBufferGetDataPointer at cursor.offset()
///         ...
///         cursor.advance(std::min(runLength, length));
///     }
class TavBlockBufferCursor {
public:
    explicit TavBlockBufferCursor(LuBlockBufferRef buffer, size_t offset = 0) noexcept;
    TavBlockBufferCursor(const TavBlockBufferCursor&) = delete;
    TavBlockBufferCursor& operator=(const TavBlockBufferCursor&) = delete;

    size_t offset() const noexcept { return offset_; }
    /// The memory at the cursor, up to the end of its piece; the same statuses as LuBlockBufferGetDataPointer, and
    /// nothing is signalled. Does not move the cursor: after a block was allocated, ask again.
    OSStatus getRun(char** pointerOut, size_t* lengthOut) noexcept;
    /// Goes forward, over any number of pieces. Past the end, getRun finds nothing.
    void advance(size_t length) noexcept;
    /// Goes forward from here, or back by a fresh look-up from the start.
    void moveTo(size_t offset) noexcept;
    /// Copies `length` bytes and goes behind them; on failure some may have been copied.
    OSStatus read(void* destination, size_t length) noexcept;

private:
    /// A place in one table of pieces: `within` bytes into piece `index`; `left` bytes are wanted from here on.
    struct Place {
        LuBlockBufferRef table;
        int32_t index;
        size_t within;
        size_t left;
    };
    friend struct TavBlockBufferWalk;

    void restart(size_t offset) noexcept;

    LuBlockBufferRef buffer_;
    size_t offset_;
    Place here_;
    TavWalkStack<Place, 4> outer_;  ///< where to go on after `here_`, for each reference that was entered
};
