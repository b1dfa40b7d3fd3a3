// Collections from lists of tags, and back.

#pragma once

#include <vector>

#include "Core/TavTag/TavTagCollection.h"
#include "Foundation/Objects/ZoRef.h"

inline bool operator==(const LuTag& a, const LuTag& b)  // to the bit
{
    return a.category == b.category && a.dataType == b.dataType && a.value == b.value;
}

namespace luvia_test {

using Collection = ZoRef<LuMutableTagCollectionRef>;
using Tags = std::vector<LuTag>;

inline LuTag numbered(int64_t n) { return LuTagMakeWithSInt64Value(LU_FOURCC('n', 'u', 'm', ' '), n); }
inline Tags numbers(int64_t first, int64_t count)
{
    Tags out;
    for (int64_t n = first; n < first + count; ++n) out.push_back(numbered(n));
    return out;
}
inline Collection collectionOf(const Tags& tags)
{
    Collection out;
    LuTagCollectionCreateMutable(nullptr, 0, out.outParam());
    LuTagCollectionAddTagsFromArray(out.get(), tags.data(), static_cast<ZoIndex>(tags.size()));
    return out;
}
inline Tags tagsOf(LuTagCollectionRef collection)
{
    Tags out;
    LuTagCollectionApply(
        collection, [](LuTag tag, void* to) { static_cast<Tags*>(to)->push_back(tag); }, &out);
    return out;
}

}  // namespace luvia_test
