// The binary form, read:
//
//   "bplist00"  objects  offset table  trailer of 32 bytes
//
// An object is a marker byte (kind in the high half, size in the low half) and its bytes; containers hold the indices
// of their members in the offset table. All numbers are big-endian. The trailer holds the width of offsets (byte 6) and
// of indices (byte 7), and as 64-bit numbers how many objects there are (8), which is the root (16), and where the
// offset table stands (24).
//
// Nothing is believed before it is checked. Objects may not overlap, so that the sum of their sizes, and with it the
// time, is bounded by the input's length; each is made once, however many containers hold it. What is walked or copied
// later meets a container as often as it is held, though, and so how often that is in all is bounded too.

#include <bit>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"

namespace zoplist {
namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr size_t kTrailerSize = 32;
// What a list may spell out to: members of containers that many hold, and, where leaves are copied, their bytes.
constexpr uint64_t kMembersFloor = 1 << 20, kBytesFloor = 64 << 20, kExpansionFactor = 64;

uint64_t loadBE(const uint8_t* bytes, size_t width)
{
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i) value = value << 8 | bytes[i];
    return value;
}

class Reader {
public:
    Reader(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, bool copiesLeaves, Failure& failure)
        : allocator_(allocator), bytes_(bytes), copiesLeaves_(copiesLeaves), failure_(failure)
    {}

    ZoRef<ZoTypeRef> read()
    {
        if (!readTrailer() || !load(root_, 0)) return nullptr;
        const auto root = static_cast<size_t>(root_);
        const uint64_t floor = copiesLeaves_ ? kBytesFloor : kMembersFloor;
        if (entries_[root].weight > floor + kExpansionFactor * bytes_.size()) {
            failure_.corrupt("shared objects spell out to too much");
            return nullptr;
        }
        return std::move(entries_[root].object);
    }

private:
    enum class State : uint8_t { unread, inProgress, done };
    struct Entry {
        ZoRef<ZoTypeRef> object;
        uint64_t weight = 0;  // members (and bytes that are to be copied) if nothing were shared; saturates
        State state = State::unread;
    };

    bool readTrailer()
    {
        if (!isBinary(bytes_) || bytes_.size() < kMagic.size() + 1 + 1 + kTrailerSize)
            return failure_.corrupt("too short for a binary property list");
        const size_t end = bytes_.size() - kTrailerSize;
        const uint8_t* trailer = bytes_.data() + end;
        offsetWidth_ = trailer[6];
        indexWidth_ = trailer[7];
        const uint64_t count = loadBE(trailer + 8, 8), table = loadBE(trailer + 24, 8);
        root_ = loadBE(trailer + 16, 8);
        if (offsetWidth_ < 1 || offsetWidth_ > 8 || indexWidth_ < 1 || indexWidth_ > 8)
            return failure_.corrupt("widths in the trailer are not 1 to 8");
        if (table <= kMagic.size() || table >= end || count > (end - table) / offsetWidth_)
            return failure_.corrupt("the offset table does not fit the file");
        if (root_ >= count) return failure_.corrupt("the root is not in the offset table");
        tableStart_ = static_cast<size_t>(table);
        unclaimed_ = tableStart_ - kMagic.size();
        return entries_.resize(static_cast<size_t>(count)) || failure_.noMemory();
    }

    /// Takes `count` units of `width` bytes at `at`, which must lie among the objects, out of what may still be
    /// claimed.
    bool claim(size_t at, uint64_t count, size_t width)
    {
        if (at > tableStart_ || count > (tableStart_ - at) / width)
            return failure_.corrupt("an object leaves the file");
        const size_t size = static_cast<size_t>(count) * width;
        if (size > unclaimed_) return failure_.corrupt("objects overlap");
        unclaimed_ -= size;
        return true;
    }

    /// The count in the low half of a marker at `at`, or in the integer behind it; moves `at` to what follows.
    bool readCount(size_t& at, uint64_t& count)
    {
        count = bytes_[at++] & 0x0F;
        if (count != 0x0F) return true;
        if (!claim(at, 1, 1)) return false;
        const uint8_t marker = bytes_[at++];
        if (marker >> 4 != 1 || (marker & 0x0F) > 3) return failure_.corrupt("a count is not an integer");
        const size_t width = size_t{1} << (marker & 0x0F);
        if (!claim(at, width, 1)) return false;
        count = loadBE(bytes_.data() + at, width);
        at += width;
        return true;
    }

    bool load(uint64_t index, int depth)
    {
        if (index >= entries_.size()) return failure_.corrupt("an index leaves the offset table");
        Entry& entry = entries_[static_cast<size_t>(index)];
        if (entry.state == State::done) return true;
        if (entry.state == State::inProgress) return failure_.corrupt("a container is within itself");
        const uint64_t offset =
            loadBE(bytes_.data() + tableStart_ + static_cast<size_t>(index) * offsetWidth_, offsetWidth_);
        if (offset < kMagic.size() || offset >= tableStart_) return failure_.corrupt("an offset leaves the objects");
        const auto at = static_cast<size_t>(offset);
        if (!claim(at, 1, 1)) return false;
        entry.state = State::inProgress;
        const uint8_t kind = bytes_[at] >> 4;
        const bool isContainer = kind == 0xA || kind == 0xD;
        if (!(isContainer ? loadContainer(at, kind == 0xD ? 2 : 1, depth, entry) : loadLeaf(at, entry))) return false;
        if (!entry.object) return failure_.noMemory();
        entry.state = State::done;
        return true;
    }

    bool loadLeaf(size_t at, Entry& entry)
    {
        const size_t unclaimedBefore = unclaimed_;
        bool ok = false;
        switch (bytes_[at] >> 4) {
            case 0x0: ok = loadSingleton(bytes_[at], entry); break;
            case 0x1: ok = loadInteger(at, entry); break;
            case 0x2: ok = loadReal(at, entry); break;
            case 0x3: ok = loadDate(at, entry); break;
            case 0x4:
            case 0x5:
            case 0x6: ok = loadText(at, bytes_[at] >> 4, entry); break;
            default: failure_.corrupt("an object of unknown kind"); break;
        }
        entry.weight = copiesLeaves_ ? 1 + unclaimedBefore - unclaimed_ : 1;
        return ok;
    }

    bool loadSingleton(uint8_t marker, Entry& entry)
    {
        switch (marker) {
            case 0x00: entry.object = ZoRef<ZoTypeRef>::retain(kZoNull); return true;
            case 0x08: entry.object = ZoRef<ZoTypeRef>::retain(kZoBooleanFalse); return true;
            case 0x09: entry.object = ZoRef<ZoTypeRef>::retain(kZoBooleanTrue); return true;
            default: return failure_.corrupt("an object of unknown kind");
        }
    }

    // 1, 2 and 4 bytes have no sign, 8 have one; 16 hold what is above the signed range.
    bool loadInteger(size_t at, Entry& entry)
    {
        const int power = bytes_[at] & 0x0F;
        if (power > 4) return failure_.corrupt("an integer of more than 16 bytes");
        const size_t width = size_t{1} << power;
        if (!claim(at + 1, width, 1)) return false;
        const uint8_t* digits = bytes_.data() + at + 1;
        uint64_t high = 0;
        if (width == 16) {
            high = loadBE(digits, 8);
            digits += 8;
        }
        const uint64_t low = loadBE(digits, width < 8 ? width : 8);
        const bool isNegative = width >= 8 && (low >> 63) && (width == 8 || high == UINT64_MAX);
        if (high != 0 && !isNegative) return failure_.corrupt("an integer beyond 64 bits");
        entry.object = createInteger(allocator_, isNegative, isNegative ? 0 - low : low);
        return true;
    }

    bool loadReal(size_t at, Entry& entry)
    {
        const int power = bytes_[at] & 0x0F;
        if (power != 2 && power != 3) return failure_.corrupt("a real number of neither 4 nor 8 bytes");
        const size_t width = size_t{1} << power;
        if (!claim(at + 1, width, 1)) return false;
        const uint64_t bits = loadBE(bytes_.data() + at + 1, width);
        const double value = width == 8 ? std::bit_cast<double>(bits)
                                        : static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(bits)));
        entry.object = zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator_, kZoNumberFloat64Type, &value));
        return true;
    }

    bool loadDate(size_t at, Entry& entry)
    {
        if (bytes_[at] != 0x33) return failure_.corrupt("a date that is not 8 bytes long");
        if (!claim(at + 1, 8, 1)) return false;
        const auto time = std::bit_cast<double>(loadBE(bytes_.data() + at + 1, 8));
        entry.object = zoAdopt<ZoTypeRef>(ZoDateCreate(allocator_, time));
        return true;
    }

    bool loadText(size_t at, uint8_t kind, Entry& entry)
    {
        uint64_t count;
        const size_t width = kind == 6 ? 2 : 1;
        if (!readCount(at, count) || !claim(at, count, width)) return false;
        const uint8_t* text = bytes_.data() + at;
        const auto length = static_cast<ZoIndex>(count * width);
        if (kind == 4) {
            entry.object = zoAdopt<ZoTypeRef>(ZoDataCreate(allocator_, text, length));
            return true;
        }
        const ZoStringEncoding encoding = kind == 5 ? kZoStringEncodingASCII : kZoStringEncodingUTF16BE;
        entry.object = zoAdopt<ZoTypeRef>(ZoStringCreateWithBytes(allocator_, text, length, encoding, false));
        if (entry.object) return true;
        // What can be read with the default allocator failed for want of memory.
        const bool isText = zoAdopt(ZoStringCreateWithBytes(nullptr, text, length, encoding, false)).get() != nullptr;
        return isText ? failure_.noMemory() : failure_.corrupt("a string that is not in its encoding");
    }

    /// An array has one index a member, a dictionary all keys' and then all values'.
    bool loadContainer(size_t at, size_t indicesPerMember, int depth, Entry& entry)
    {
        if (depth >= kZoPropertyListMaximumDepth) return failure_.corrupt("nested too deep");
        uint64_t count;
        if (!readCount(at, count) || !claim(at, count, indicesPerMember * indexWidth_)) return false;
        const auto members = static_cast<size_t>(count);
        memory::ReportingArray<const void*> objects;
        if (!objects.resize(members * indicesPerMember)) return failure_.noMemory();
        entry.weight = 1;
        for (size_t i = 0; i < objects.size(); ++i) {
            const uint64_t index = loadBE(bytes_.data() + at + i * indexWidth_, indexWidth_);
            if (!load(index, depth + 1)) return false;
            const Entry& member = entries_[static_cast<size_t>(index)];
            objects[i] = member.object.get();
            if (__builtin_add_overflow(entry.weight, member.weight, &entry.weight)) entry.weight = UINT64_MAX;
            if (indicesPerMember == 2 && i < members && ZoGetTypeID(objects[i]) != ZoStringGetTypeID())
                return failure_.corrupt("a key is not a string");
        }
        const auto amount = static_cast<ZoIndex>(members);
        if (indicesPerMember == 1)
            entry.object =
                zoAdopt<ZoTypeRef>(ZoArrayCreate(allocator_, objects.data(), amount, &kZoTypeArrayCallBacks));
        else
            entry.object = zoAdopt<ZoTypeRef>(ZoDictionaryCreate(allocator_, objects.data(), objects.data() + members,
                                                                 amount, &kZoTypeDictionaryKeyCallBacks,
                                                                 &kZoTypeDictionaryValueCallBacks));
        return true;
    }

    ZoAllocatorRef allocator_;
    std::span<const uint8_t> bytes_;
    bool copiesLeaves_;
    Failure& failure_;
    size_t offsetWidth_ = 0, indexWidth_ = 0, tableStart_ = 0;
    size_t unclaimed_ = 0;  // bytes of the objects' area that no object has taken yet
    uint64_t root_ = 0;
    memory::ReportingArray<Entry> entries_;
};

}  // namespace

bool isBinary(std::span<const uint8_t> bytes)
{
    return bytes.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), bytes.begin());
}

ZoRef<ZoTypeRef> readBinary(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, bool copiesLeaves,
                            Failure& failure)
{
    return Reader(allocator, bytes, copiesLeaves, failure).read();
}

}  // namespace zoplist
