// The walk over a file's boxes, written as it goes: a line a box, or one JSON object. Memory does not grow with the
// file: neither the tree nor more than a bounded number of findings is kept.

#pragma once

#include <cstdio>

#include "DataIO/TavByteStreams/LuByteStream.h"

struct InspectionOptions {
    bool json = false;
    const char* name = "";  ///< of the file
};

enum class Inspected {
    kWellFormed,
    kMalformed,   ///< something was found wrong, and is written behind the tree
    kNotAMovie,   ///< it does not start with a box; nothing was written
    kCut,         ///< it became shorter than it was at first; what was written tells of what was still there
    kUnreadable,  ///< reading failed, with errno; what was written is not to be trusted
};

/// Writes the tree of boxes in `stream` to `out`, and behind it what is said of the whole file and what is wrong with
/// it.
Inspected inspectBoxes(LuByteStreamRef stream, const InspectionOptions& options, FILE* out);
