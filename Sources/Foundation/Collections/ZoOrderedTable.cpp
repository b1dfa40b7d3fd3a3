#include "Foundation/Collections/ZoOrderedTablePrivate.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Foundation/Objects/ZoRuntimePrivate.h"

namespace {

constexpr uint32_t kFirstCapacity = 4;
constexpr uint32_t kLargestWithoutSlots = 8;
constexpr uint32_t kLargestCapacity = 1u << 30;
constexpr uint32_t kSmallestWorthClosing = 32;

// Callers' hashes may be addresses or small numbers: spread them over the bits that the index looks at.
uint32_t spread(ZoHashCode hash) { return static_cast<uint32_t>((hash * 0x9E3779B97F4A7C15u) >> 32); }

bool keysAreObjects(const ZoDictionaryKeyCallBacks& callBacks) { return callBacks.hash == ZoHash; }

// Keys are mostly constant strings: their text can be compared without the detour over their class, and two of
// different lengths without a look at either.
uint32_t stateOf(const void* key, bool isObject)
{
    if (!isObject || !key || zoInfo(key) != ZO_CONSTANT_STRING_FLAGS) return 1;
    const ZoIndex length = static_cast<const ZoConstantString*>(key)->length;
    return length <= INT32_MAX ? static_cast<uint32_t>(length) + 2 : 1;
}

// Names of one family begin alike and differ at their ends.
bool isSameText(const void* constant1, const void* constant2, uint32_t state)
{
    const char* text1 = static_cast<const ZoConstantString*>(constant1)->text;
    const char* text2 = static_cast<const ZoConstantString*>(constant2)->text;
    const size_t length = state - 2;
    return length == 0 || (text1[length - 1] == text2[length - 1] && std::memcmp(text1, text2, length) == 0);
}

}  // namespace

uint32_t ZoOrderedTable::find(const ZoDictionaryKeyCallBacks& callBacks, const void* key, uint32_t* hashOut) const
{
    const bool areObjects = keysAreObjects(callBacks);
    const bool areFew = !slots && areObjects;
    // Among a few keys the one is found before its hash would be known.
    for (uint32_t i = 0; areFew && i < used; ++i)
        if (entries[i].key == key && entries[i].isLive()) return i;
    const uint32_t state = stateOf(key, areObjects);
    const auto isSameConstant = [&](const ZoTableEntry& entry) {
        return state > 1 && entry.state == state && isSameText(entry.key, key, state);
    };
    for (uint32_t i = 0; areFew && i < used; ++i)
        if (isSameConstant(entries[i])) return i;
    const uint32_t hash = spread(callBacks.hash ? callBacks.hash(key) : reinterpret_cast<ZoHashCode>(key));
    if (hashOut) *hashOut = hash;
    const auto matches = [&](const ZoTableEntry& entry) {
        return entry.key == key || isSameConstant(entry) || (callBacks.equal && callBacks.equal(entry.key, key));
    };
    if (!slots) {
        for (uint32_t i = 0; i < used; ++i)
            if (entries[i].hash == hash && entries[i].isLive() && matches(entries[i])) return i;
        return kNone;
    }
    for (uint32_t i = hash & slotMask; slots[i].entryPlusOne; i = (i + 1) & slotMask) {
        const uint32_t position = slots[i].entryPlusOne - 1;
        if (slots[i].hash == hash && matches(entries[position])) return position;
    }
    return kNone;
}

// At most half of them are taken.
uint32_t ZoOrderedTable::slotCount(uint32_t capacity)
{
    return capacity > kLargestWithoutSlots ? 2 * std::bit_ceil(capacity) : 0;
}

ZoIndex ZoOrderedTable::blockSize(uint32_t capacity)
{
    return ZoIndex{capacity} * ZoIndex{sizeof(ZoTableEntry)} + ZoIndex{slotCount(capacity)} * ZoIndex{sizeof(Slot)};
}

bool ZoOrderedTable::allocateBlock(ZoAllocatorRef allocator, uint32_t newCapacity)
{
    void* block = ZoAllocatorAllocate(allocator, blockSize(newCapacity), 0);
    if (!block) return false;
    ZoTableEntry* old = entries;
    adopt(block, newCapacity);
    ZoAllocatorDeallocate(allocator, old);
    return true;
}

bool ZoOrderedTable::reserve(ZoAllocatorRef allocator, ZoIndex count)
{
    if (count <= ZoIndex{capacity}) return true;
    if (count > ZoIndex{kLargestCapacity}) return false;
    return allocateBlock(allocator, std::max(kFirstCapacity, std::bit_ceil(static_cast<uint32_t>(count))));
}

bool ZoOrderedTable::reserveExactly(ZoAllocatorRef allocator, ZoIndex count)
{
    if (count > ZoIndex{kLargestCapacity}) return false;
    return count == 0 || allocateBlock(allocator, static_cast<uint32_t>(count));
}

bool ZoOrderedTable::reserveOne(ZoAllocatorRef allocator)
{
    if (used < capacity) return true;
    if (live <= capacity / 2 && capacity > 0) {
        closeGaps(entries);
        return true;
    }
    // One more than the largest table asks for more memory than there is, which ends in the same way.
    const uint32_t newCapacity = capacity ? capacity * 2 : kFirstCapacity;
    const ZoIndex size = capacity < kLargestCapacity ? blockSize(newCapacity) : INTPTR_MAX;
    void* block = _ZoGrowBlock(allocator, nullptr, 0, size);
    if (!block) return false;
    ZoTableEntry* old = entries;
    adopt(block, newCapacity);
    ZoAllocatorDeallocate(allocator, old);
    return true;
}

void ZoOrderedTable::insert(const ZoDictionaryKeyCallBacks& callBacks, const void* key, const void* value,
                            uint32_t hash)
{
    entries[used] = {key, value, hash, stateOf(key, keysAreObjects(callBacks))};
    if (slots) fillSlot(used);
    ++used;
    ++live;
}

void ZoOrderedTable::remove(uint32_t position)
{
    if (slots) {
        // Move later members of the probe sequence back, so that no search ends early at the free slot.
        uint32_t hole = slotOf(position);
        for (uint32_t i = (hole + 1) & slotMask; slots[i].entryPlusOne; i = (i + 1) & slotMask) {
            const uint32_t fromHome = (i - slots[i].hash) & slotMask;
            if (fromHome < ((i - hole) & slotMask)) continue;
            slots[hole] = slots[i];
            hole = i;
        }
        slots[hole].entryPlusOne = 0;
    }
    entries[position].state = 0;
    --live;
    if (position + 1 == used) --used;
    if (used >= kSmallestWorthClosing && live < used / 4) closeGaps(entries);
}

void ZoOrderedTable::freeStorage(ZoAllocatorRef allocator)
{
    ZoAllocatorDeallocate(allocator, entries);
    *this = {};
}

void ZoOrderedTable::adopt(void* block, uint32_t newCapacity)
{
    auto* newEntries = static_cast<ZoTableEntry*>(block);
    slots = newCapacity > kLargestWithoutSlots ? reinterpret_cast<Slot*>(newEntries + newCapacity) : nullptr;
    slotMask = slots ? slotCount(newCapacity) - 1 : 0;
    capacity = newCapacity;
    closeGaps(newEntries);
}

void ZoOrderedTable::closeGaps(ZoTableEntry* destination)
{
    uint32_t position = 0;
    for (uint32_t i = 0; i < used; ++i)
        if (entries[i].isLive()) destination[position++] = entries[i];
    entries = destination;
    used = position;
    fillSlots();
}

void ZoOrderedTable::fillSlots()
{
    if (!slots) return;
    std::memset(slots, 0, (size_t{slotMask} + 1) * sizeof(Slot));
    for (uint32_t i = 0; i < used; ++i) fillSlot(i);
}

void ZoOrderedTable::fillSlot(uint32_t position)
{
    const uint32_t hash = entries[position].hash;
    uint32_t i = hash & slotMask;
    while (slots[i].entryPlusOne) i = (i + 1) & slotMask;
    slots[i] = {hash, position + 1};
}

uint32_t ZoOrderedTable::slotOf(uint32_t position) const
{
    uint32_t i = entries[position].hash & slotMask;
    while (slots[i].entryPlusOne != position + 1) i = (i + 1) & slotMask;
    return i;
}
