// What is wrong with a file: the walk says where it stands, and whoever finds something says what. The first hundred
// findings are kept, the others counted, so that a hostile file cannot fill the memory.

#pragma once

#include "Memory/Containers.h"
#include "Platform/Common/LuBase.h"
#include "inspect/ValueWriter.h"

class Findings {
public:
    struct Place {
        OSType type;     ///< of the box; 0 where there is none
        uint32_t index;  ///< among its siblings of that type
        int64_t offset;
    };

    /// The walk goes into a box, and leaves it again.
    void enter(const Place& place) { path_.push_back(place); }
    void leave() { path_.pop_back(); }

    /// Something is wrong with the box that the walk stands in.
    void report(OSStatus code, const char* format, ...) ZO_PRINTF(3, 4);
    /// Something is wrong inside of that box, at a place that was not entered.
    void reportInside(const Place& place, OSStatus code, const char* text);

    size_t count() const { return count_; }
    /// Whether a further one would be kept.
    bool takeMore() const { return count_ < kMost; }

    /// In JSON the array "findings" and, if some were not kept, their number; in text a line each.
    void write(ValueWriter& writer) const;

private:
    static constexpr size_t kMost = 100;
    struct Finding {
        OSStatus code;
        OSType type;
        int64_t offset;
        memory::String path;
        memory::String text;
    };

    memory::String pathTo(const Place& place) const;

    memory::Vector<Place> path_;
    memory::Vector<Finding> kept_;
    size_t count_ = 0;
};
