// The binary form, written (its layout stands in ZoPropertyListBinaryReader.cpp). Leaves of equal bytes are written
// once, and so is a container that is held in several places.

#include <bit>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumberPrivate.h"

namespace zoplist {
namespace {

void appendBE(Output& out, uint64_t value, size_t width)
{
    for (size_t i = width; i-- > 0;) out += static_cast<char>(value >> (8 * i));
}

size_t widthFor(uint64_t value)
{
    size_t width = 1;
    while (width < 8 && value >> (8 * width) != 0) width *= 2;
    return width;
}

void appendInteger(Output& out, uint64_t value)
{
    const size_t width = widthFor(value);
    out += static_cast<char>(0x10 | std::countr_zero(width));
    appendBE(out, value, width);
}

void appendMarker(Output& out, uint8_t kind, size_t count)
{
    out += static_cast<char>(kind << 4 | (count < 15 ? count : 15));
    if (count >= 15) appendInteger(out, count);
}

/// Finds what was numbered before, by its hash and a comparison.
class Numbers {
public:
    template <typename IsIt>
    bool find(uint64_t hash, size_t& index, IsIt isIt) const
    {
        if (slots_.empty()) return false;
        for (size_t i = hash & mask(); slots_[i].indexPlusOne; i = (i + 1) & mask()) {
            index = slots_[i].indexPlusOne - 1;
            if (slots_[i].hash == hash && isIt(index)) return true;
        }
        return false;
    }
    [[nodiscard]] bool insert(uint64_t hash, size_t index)
    {
        if (2 * (count_ + 1) > slots_.size() && !grow()) return false;
        put({hash, index + 1});
        ++count_;
        return true;
    }

private:
    struct Slot {
        uint64_t hash;
        size_t indexPlusOne;  // 0: free
    };
    size_t mask() const { return slots_.size() - 1; }
    void put(Slot slot)
    {
        size_t i = slot.hash & mask();
        while (slots_[i].indexPlusOne) i = (i + 1) & mask();
        slots_[i] = slot;
    }
    bool grow()
    {
        memory::ReportingArray<Slot> old(std::move(slots_));
        if (!slots_.resize(old.empty() ? 64 : 2 * old.size())) return false;
        for (const Slot& slot : old)
            if (slot.indexPlusOne) put(slot);
        return true;
    }

    memory::ReportingArray<Slot> slots_;
    size_t count_ = 0;
};

class Writer {
public:
    explicit Writer(Failure& failure) : failure_(failure) {}

    bool write(ZoTypeRef root, Output& out)
    {
        size_t index;
        if (!number(root, index)) return false;
        const size_t indexWidth = widthFor(objects_.size() - 1);
        memory::ReportingArray<size_t> offsets;
        if (!bytes_.ok() || !offsets.reserve(objects_.size())) return failure_.noMemory();
        out += "bplist00";
        for (const Object& object : objects_) {
            (void)offsets.append(out.size());
            out += bytesOf(object);
            for (size_t i = 0; i < object.memberCount; ++i) appendBE(out, members_[object.firstMember + i], indexWidth);
        }
        const size_t table = out.size(), offsetWidth = widthFor(table);
        for (size_t offset : offsets) appendBE(out, offset, offsetWidth);
        appendBE(out, 0, 6);
        appendBE(out, offsetWidth, 1);
        appendBE(out, indexWidth, 1);
        appendBE(out, objects_.size(), 8);
        appendBE(out, index, 8);
        appendBE(out, table, 8);
        return true;
    }

private:
    struct Object {
        size_t start, length;  // among the bytes; of a container only the marker and count
        size_t firstMember, memberCount;
        ZoTypeRef container;
    };

    std::string_view bytesOf(const Object& object) const { return bytes_.text().substr(object.start, object.length); }

    /// The index of `object` among those to be written, which it is added to if need be.
    bool number(ZoTypeRef object, size_t& index)
    {
        if (!object) return failure_.unsupported("an absent object");
        const ZoTypeID type = ZoGetTypeID(object);
        if (type == ZoArrayGetTypeID() || type == ZoDictionaryGetTypeID())
            return numberContainer(object, type == ZoDictionaryGetTypeID(), index);
        const size_t start = bytes_.size();
        if (!encodeLeaf(object, type, bytes_)) return false;
        if (!bytes_.ok()) return failure_.noMemory();
        const std::string_view bytes = bytes_.text(start);
        const uint64_t hash = zoHashBytes(bytes.data(), bytes.size());
        if (leaves_.find(hash, index, [&](size_t known) { return bytesOf(objects_[known]) == bytes; })) {
            bytes_.truncate(start);
            return true;
        }
        index = objects_.size();
        const Object leaf = {start, bytes.size(), 0, 0, nullptr};
        return (objects_.append(leaf) && leaves_.insert(hash, index)) || failure_.noMemory();
    }

    bool encodeLeaf(ZoTypeRef object, ZoTypeID type, Output& out)
    {
        if (type == ZoStringGetTypeID()) return encodeString(static_cast<ZoStringRef>(object), out);
        if (type == ZoNumberGetTypeID()) return encodeNumber(object, out);
        if (type == ZoBooleanGetTypeID()) {
            out += ZoBooleanGetValue(static_cast<ZoBooleanRef>(object)) ? '\x09' : '\x08';
        } else if (type == ZoDateGetTypeID()) {
            out += '\x33';
            appendBE(out, std::bit_cast<uint64_t>(ZoDateGetAbsoluteTime(static_cast<ZoDateRef>(object))), 8);
        } else if (type == ZoDataGetTypeID()) {
            const auto data = static_cast<ZoDataRef>(object);
            const auto length = static_cast<size_t>(ZoDataGetLength(data));
            appendMarker(out, 0x4, length);
            if (length) out += {reinterpret_cast<const char*>(ZoDataGetBytePtr(data)), length};
        } else if (type == ZoNullGetTypeID()) {
            out += '\0';
        } else {
            return failure_.unsupported("an object that is not of a property list");
        }
        return true;
    }

    bool encodeString(ZoStringRef string, Output& out)
    {
        text_.truncate(0);
        if (text_.append(string, kZoStringEncodingASCII)) {
            appendMarker(out, 0x5, text_.size());
        } else if (text_.append(string, kZoStringEncodingUTF16BE)) {
            appendMarker(out, 0x6, text_.size() / 2);
        } else {
            return failure_.unsupported("a string with an unpaired surrogate");
        }
        out += text_.text();
        return text_.ok() || failure_.noMemory();
    }

    bool encodeNumber(ZoTypeRef number, Output& out)
    {
        const ZoNumberValue value = zoNumberValue(number);
        if (value.isFloat) {
            out += '\x23';
            appendBE(out, std::bit_cast<uint64_t>(value.real), 8);
        } else if (value.integer < INT64_MIN || value.integer > UINT64_MAX) {
            return failure_.unsupported("an integer beyond 64 bits");
        } else if (value.integer < 0) {
            out += '\x13';
            appendBE(out, static_cast<uint64_t>(value.integer), 8);
        } else if (value.integer > INT64_MAX) {
            out += '\x14';
            appendBE(out, 0, 8);
            appendBE(out, static_cast<uint64_t>(value.integer), 8);
        } else {
            appendInteger(out, static_cast<uint64_t>(value.integer));
        }
        return true;
    }

    bool numberContainer(ZoTypeRef container, bool isDictionary, size_t& index)
    {
        if (!path_.enter(container, failure_)) return false;
        const uint64_t hash = zoHashMix(reinterpret_cast<uintptr_t>(container), 0);
        const bool isKnown =
            containers_.find(hash, index, [&](size_t known) { return objects_[known].container == container; });
        const bool ok = isKnown || addContainer(container, isDictionary, hash, index);
        path_.leave();
        return ok;
    }

    bool addContainer(ZoTypeRef container, bool isDictionary, uint64_t hash, size_t& index)
    {
        memory::ReportingArray<const void*> held;
        const size_t count = listMembers(container, isDictionary, held);
        const size_t memberCount = isDictionary ? 2 * count : count, first = members_.size();
        if (held.size() != memberCount || !members_.resize(first + memberCount)) return failure_.noMemory();
        index = objects_.size();
        const size_t start = bytes_.size();
        appendMarker(bytes_, isDictionary ? 0xD : 0xA, count);
        const Object object = {start, bytes_.size() - start, first, memberCount, container};
        if (!objects_.append(object) || !containers_.insert(hash, index)) return failure_.noMemory();
        for (size_t i = 0; i < memberCount; ++i) {
            if (isDictionary && i < count && ZoGetTypeID(held[i]) != ZoStringGetTypeID())
                return failure_.unsupported("a key is not a string");
            size_t member;
            if (!number(held[i], member)) return false;
            members_[first + i] = member;
        }
        return true;
    }

    /// How many there are; `held` has all keys and then all values, or is empty for want of memory.
    static size_t listMembers(ZoTypeRef container, bool isDictionary, memory::ReportingArray<const void*>& held)
    {
        if (!isDictionary) {
            const auto array = static_cast<ZoArrayRef>(container);
            const ZoIndex count = ZoArrayGetCount(array);
            if (held.resize(static_cast<size_t>(count))) ZoArrayGetValues(array, ZoRangeMake(0, count), held.data());
            return static_cast<size_t>(count);
        }
        const auto dictionary = static_cast<ZoDictionaryRef>(container);
        const auto count = static_cast<size_t>(ZoDictionaryGetCount(dictionary));
        if (held.resize(2 * count)) ZoDictionaryGetKeysAndValues(dictionary, held.data(), held.data() + count);
        return count;
    }

    Failure& failure_;
    Path path_;
    Output bytes_, text_;  // of all objects; of one string
    memory::ReportingArray<Object> objects_;
    memory::ReportingArray<size_t> members_;  // of all containers, as indices of objects
    Numbers leaves_, containers_;             // by their bytes; by their addresses
};

}  // namespace

bool writeBinary(ZoTypeRef root, Output& out, Failure& failure) { return Writer(failure).write(root, out); }

}  // namespace zoplist
