// The sort of the parameter sets of a record that is being written.

#pragma once

#include <cstddef>
#include <cstdint>

struct TavH264ParameterSetIdAndIndex {
    size_t index;  ///< among the caller's
    uint32_t id;
    uint32_t nalUnitType;
};

/// -1, 0 or 1: by id, then by NAL unit type.
extern "C" int TavH264Bridge_sortParameterSets(const void* entry1, const void* entry2);
