// The binary form, written (its layout stands in ZoPropertyListBinaryReader.cpp). Leaves of equal bytes are written
// once, and so is a container that is held in several places.

#include <bit>
#include <deque>
#include <unordered_map>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumberPrivate.h"

namespace zoplist {
namespace {

void appendBE(std::string& out, uint64_t value, size_t width)
{
    for (size_t i = width; i-- > 0;) out += static_cast<char>(value >> (8 * i));
}

size_t widthFor(uint64_t value)
{
    size_t width = 1;
    while (width < 8 && value >> (8 * width) != 0) width *= 2;
    return width;
}

void appendInteger(std::string& out, uint64_t value)
{
    const size_t width = widthFor(value);
    out += static_cast<char>(0x10 | std::countr_zero(width));
    appendBE(out, value, width);
}

void appendMarker(std::string& out, uint8_t kind, size_t count)
{
    out += static_cast<char>(kind << 4 | (count < 15 ? count : 15));
    if (count >= 15) appendInteger(out, count);
}

class Writer {
public:
    explicit Writer(Failure& failure) : failure_(failure) {}

    bool write(ZoTypeRef root, std::string& out)
    {
        size_t index;
        if (!number(root, index)) return false;
        const size_t indexWidth = widthFor(objects_.size() - 1);
        std::vector<size_t> offsets;
        offsets.reserve(objects_.size());
        out += "bplist00";
        for (const Object& object : objects_) {
            offsets.push_back(out.size());
            out += object.bytes;
            for (size_t member : object.members) appendBE(out, member, indexWidth);
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
        std::string bytes;  // of a container only the marker and count
        std::vector<size_t> members;
    };

    /// The index of `object` among those to be written, which it is added to if need be.
    bool number(ZoTypeRef object, size_t& index)
    {
        if (!object) return failure_.unsupported("an absent object");
        const ZoTypeID type = ZoGetTypeID(object);
        if (type == ZoArrayGetTypeID() || type == ZoDictionaryGetTypeID())
            return numberContainer(object, type == ZoDictionaryGetTypeID(), index);
        std::string bytes;
        if (!encodeLeaf(object, type, bytes)) return false;
        const auto known = leaves_.find(bytes);
        if (known != leaves_.end()) {
            index = known->second;
            return true;
        }
        index = objects_.size();
        objects_.push_back({std::move(bytes), {}});
        leaves_.emplace(objects_.back().bytes, index);
        return true;
    }

    bool encodeLeaf(ZoTypeRef object, ZoTypeID type, std::string& out)
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
            if (length) out.append(reinterpret_cast<const char*>(ZoDataGetBytePtr(data)), length);
        } else if (type == ZoNullGetTypeID()) {
            out += '\0';
        } else {
            return failure_.unsupported("an object that is not of a property list");
        }
        return true;
    }

    bool encodeString(ZoStringRef string, std::string& out)
    {
        std::string text;
        if (zoAppendBytes(string, kZoStringEncodingASCII, text)) {
            appendMarker(out, 0x5, text.size());
        } else if (zoAppendBytes(string, kZoStringEncodingUTF16BE, text)) {
            appendMarker(out, 0x6, text.size() / 2);
        } else {
            return failure_.unsupported("a string with an unpaired surrogate");
        }
        out += text;
        return true;
    }

    bool encodeNumber(ZoTypeRef number, std::string& out)
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
        const auto known = containers_.find(container);
        if (known != containers_.end()) {
            index = known->second;
            path_.leave();
            return true;
        }
        index = objects_.size();
        objects_.emplace_back();
        containers_.emplace(container, index);

        const std::vector<const void*> members = isDictionary ? membersOf(static_cast<ZoDictionaryRef>(container))
                                                              : membersOf(static_cast<ZoArrayRef>(container));
        const size_t count = isDictionary ? members.size() / 2 : members.size();
        appendMarker(objects_[index].bytes, isDictionary ? 0xD : 0xA, count);
        std::vector<size_t> indices(members.size());
        for (size_t i = 0; i < members.size(); ++i) {
            if (isDictionary && i < count && ZoGetTypeID(members[i]) != ZoStringGetTypeID())
                return failure_.unsupported("a key is not a string");
            if (!number(members[i], indices[i])) return false;
        }
        objects_[index].members = std::move(indices);
        path_.leave();
        return true;
    }

    static std::vector<const void*> membersOf(ZoArrayRef array)
    {
        std::vector<const void*> values(static_cast<size_t>(ZoArrayGetCount(array)));
        ZoArrayGetValues(array, ZoRangeMake(0, ZoArrayGetCount(array)), values.data());
        return values;
    }

    static std::vector<const void*> membersOf(ZoDictionaryRef dictionary)
    {
        const auto count = static_cast<size_t>(ZoDictionaryGetCount(dictionary));
        std::vector<const void*> keysAndValues(count * 2);
        ZoDictionaryGetKeysAndValues(dictionary, keysAndValues.data(), keysAndValues.data() + count);
        return keysAndValues;
    }

    Failure& failure_;
    Path path_;
    std::deque<Object> objects_;                           // a deque, so that the keys of `leaves_` stay where they are
    std::unordered_map<std::string_view, size_t> leaves_;  // by their bytes
    std::unordered_map<ZoTypeRef, size_t> containers_;
};

}  // namespace

bool writeBinary(ZoTypeRef root, std::string& out, Failure& failure) { return Writer(failure).write(root, out); }

}  // namespace zoplist
