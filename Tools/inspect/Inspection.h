// The walk over a file's boxes, written as it goes: a line a box, or one JSON object. Memory does not grow with the
// file: neither the tree nor more than a bounded number of findings is kept.

#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

struct InspectionOptions {
    bool json = false;
    const char* name = "";  ///< of the file
    /// Told now and then how many bytes will not be looked at again, so that memory behind them can be given back.
    void (*releasePages)(void* context, size_t passed) = nullptr;
    void* context = nullptr;
};

enum class Inspected {
    kWellFormed,
    kMalformed,  ///< something was found wrong, and is written behind the tree
    kNotAMovie,  ///< it does not start with a box; nothing was written
};

/// Writes the tree of boxes in `bytes` to `out`, and behind it what is said of the whole file and what is wrong with
/// it.
Inspected inspectBoxes(std::span<const uint8_t> bytes, const InspectionOptions& options, FILE* out);
