// What atoms are made of: which are full atoms, which hold others, and where those start. One table knows it all.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Platform/Common/LuBase.h"

/// What holds an atom, as far as the atom depends on it; at top level all is 0.
struct TavAtomParent {
    OSType type = 0;
    uint8_t version = 0;
    OSType handler = 0;  ///< of the track that all of this is in, or 0 where that is not known
};

struct TavAtomLayout {
    bool isFull = false;       ///< starts with version and flags
    bool isContainer = false;  ///< holds atoms, from `childrenOffset` of its data on
    size_t childrenOffset = 0;
};

/// The layout of an atom of this type; `data` is what stands behind its header, of which a bounded part is read. A type
/// unknown to the table holds nothing, but for the entries of sample descriptions: a track of pictures or sound has
/// entries of one layout whatever their codes are. Where the handler is another, the table knows some codes.
TavAtomLayout TavAtomLayoutOf(OSType type, const TavAtomParent& parent, std::span<const uint8_t> data);
