// Collections from lists of tags, and back.

#pragma once

#include <vector>

#include "Core/TavTag/TavTagCollection.h"
#include "Foundation/Objects/ZoRef.h"

namespace luvia_test {

using Collection = ZoRef<LuMutableTagCollectionRef>;

inline LuTag numbered(int64_t n) { return LuTagMakeWithSInt64Value(LU_FOURCC('n', 'u', 'm', ' '), n); }
inline std::vector<LuTag> numbers(int64_t first, int64_t count)
{
    std::vector<LuTag> out;
    for (int64_t n = first; n < first + count; ++n) out.push_back(numbered(n));
    return out;
}
inline Collection collectionOf(const std::vector<LuTag>& tags)
{
    Collection out;
    LuTagCollectionCreateMutable(nullptr, 0, out.outParam());
    LuTagCollectionAddTagsFromArray(out.get(), tags.data(), static_cast<ZoIndex>(tags.size()));
    return out;
}
inline std::vector<LuTag> tagsOf(LuTagCollectionRef collection)
{
    std::vector<LuTag> out;
    LuTagCollectionApply(
        collection, [](LuTag tag, void* to) { static_cast<std::vector<LuTag>*>(to)->push_back(tag); }, &out);
    return out;
}
/// Values of integer tags, in the collection's order.
inline std::vector<int64_t> valuesOf(LuTagCollectionRef collection)
{
    std::vector<int64_t> out;
    for (const LuTag& tag : tagsOf(collection)) out.push_back(LuTagGetSInt64Value(tag));
    return out;
}

}  // namespace luvia_test
