// The walk over a file's boxes, printed as it goes: a line a box, or one JSON object. Memory does not grow with the
// file: neither the tree nor more than a bounded number of messages is kept.

#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <span>

struct InspectionOptions {
    bool json = false;
    /// Told now and then how many bytes will not be looked at again, so that memory behind them can be given back.
    std::function<void(size_t passed)> releasePages;
};

/// Prints the tree of boxes in `bytes` to `out`, and behind it what is wrong with them. True if nothing is.
bool inspectBoxes(std::span<const uint8_t> bytes, const InspectionOptions& options, FILE* out);
