// What is inside of some boxes, written as values into the box's own object. A type gets its reader by a row in the
// table of Payload.cpp; readers of codec records stand in files of their own.

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "Platform/Common/LuBase.h"
#include "inspect/Findings.h"
#include "inspect/ValueWriter.h"

/// What is kept of single boxes until the end of the walk, because it is said of the file.
struct FileSummary {
    struct Brands {
        OSType major;
        uint32_t minor;
        memory::Vector<OSType> compatible;
    };
    struct Movie {
        uint32_t timescale;
        std::optional<uint64_t> duration;
    };
    std::optional<Brands> brands;
    std::optional<Movie> movie;
    bool isFragmented = false;
};

/// A box while it is read. The walk stands in it: what a reader reports is said of it.
struct PayloadBox {
    OSType type;
    OSType parent;                  ///< 0 at top level
    OSType handler;                 ///< of the track, or 0
    std::span<const uint8_t> data;  ///< what stands behind the header
    ValueWriter& writer;
    Findings& findings;
    FileSummary& summary;
};

/// Whether boxes of this type have a reader, which wants all of their data.
bool hasPayloadReader(OSType type);
/// Writes the values inside the box; nothing for a type without a reader.
void readPayload(const PayloadBox& box);

/// The records of codecs.
void readAVCConfiguration(const PayloadBox& box);
