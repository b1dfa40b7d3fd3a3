// Percent escapes in strings of any encoding.

#include <algorithm>
#include <span>

#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/Text/ZoSurrogatesPrivate.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/URLs/ZoURLSyntaxPrivate.h"
#include "Memory/Containers.h"

namespace {

/// UTF-16 text, read a character at a time. An unpaired surrogate is a character of its own.
class Units {
public:
    explicit Units(ZoStringRef string)
    {
        const ZoIndex length = string ? ZoStringGetLength(string) : 0;
        isWhole_ = units_.resize(static_cast<size_t>(length));
        if (isWhole_ && length) ZoStringGetCharacters(string, ZoRangeMake(0, length), units_.data());
    }
    /// False, and all empty, where there was no memory.
    bool ok() const { return isWhole_; }
    size_t size() const { return units_.size(); }
    const UniChar* data() const { return units_.data(); }
    UniChar operator[](size_t index) const { return units_[index]; }
    size_t lengthAt(size_t index) const
    {
        const bool isPair =
            zo::isHighSurrogate(units_[index]) && index + 1 < size() && zo::isLowSurrogate(units_[index + 1]);
        return isPair ? 2 : 1;
    }
    uint32_t characterAt(size_t index) const
    {
        if (lengthAt(index) == 1) return units_[index];
        return zo::surrogatePair(units_[index], units_[index + 1]);
    }
    /// The value of an escape that stands at `index`, or -1.
    int escapeAt(size_t index) const
    {
        if (units_[index] != '%' || size() - index < 3 || units_[index + 1] > 0x7F || units_[index + 2] > 0x7F)
            return -1;
        return urlHexPair(static_cast<unsigned char>(units_[index + 1]), static_cast<unsigned char>(units_[index + 2]));
    }

private:
    memory::ReportingArray<UniChar> units_;
    bool isWhole_;
};

class CharacterSet {
public:
    explicit CharacterSet(ZoStringRef members)
    {
        const Units units(members);
        isWhole_ = units.ok();
        for (size_t i = 0; i < units.size() && isWhole_; i += units.lengthAt(i))
            isWhole_ = characters_.append(units.characterAt(i));
        std::sort(characters_.begin(), characters_.end());
    }
    bool contains(uint32_t character) const
    {
        return std::binary_search(characters_.begin(), characters_.end(), character);
    }
    bool isEmpty() const { return characters_.empty(); }
    bool ok() const { return isWhole_; }

private:
    memory::ReportingArray<uint32_t> characters_;
    bool isWhole_;
};

/// What comes out, before it is a string. That there was no memory is latched.
class Result {
public:
    void append(const UniChar* units, size_t count)
    {
        if (!units_.append(std::span(units, count))) isWhole_ = false;
    }
    void append(std::string_view ascii)
    {
        for (const char c : ascii)
            if (!units_.append(static_cast<UniChar>(c))) isWhole_ = false;
    }
    /// Nothing where something is missing.
    ZoStringRef createString(ZoAllocatorRef allocator) const
    {
        if (!isWhole_) return nullptr;
        return ZoStringCreateWithCharacters(allocator, units_.data(), static_cast<ZoIndex>(units_.size()));
    }

private:
    memory::ReportingArray<UniChar> units_;
    bool isWhole_ = true;
};

/// The bytes of one character; false if the encoding does not have it.
struct EncodedCharacter {
    bool take(ZoStringRef string, size_t index, size_t length, ZoStringEncoding encoding)
    {
        const ZoRange range = ZoRangeMake(static_cast<ZoIndex>(index), static_cast<ZoIndex>(length));
        return ZoStringGetBytes(string, range, encoding, 0, false, bytes, sizeof bytes, &size) == range.length;
    }
    size_t count() const { return static_cast<size_t>(size); }

    uint8_t bytes[32];
    ZoIndex size = 0;
};

/// Appends the characters that a run of escapes stands for. Those of `leave` keep the escapes that they came from,
/// `escapes`, which are found again by the length of each character's bytes.
bool appendUnescaped(Result& out, std::string_view bytes, const UniChar* escapes, const CharacterSet& leave,
                     ZoStringEncoding encoding)
{
    const auto run = zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()),
                                                     static_cast<ZoIndex>(bytes.size()), encoding, false));
    if (!run) return false;
    const Units units(run.get());
    if (!units.ok()) return false;
    if (leave.isEmpty()) {
        out.append(units.data(), units.size());
        return true;
    }
    size_t byteIndex = 0;
    EncodedCharacter encoded;
    for (size_t i = 0; i < units.size(); i += units.lengthAt(i)) {
        if (!encoded.take(run.get(), i, units.lengthAt(i), encoding)) return false;
        if (encoded.count() > bytes.size() - byteIndex) return false;
        if (leave.contains(units.characterAt(i)))
            out.append(escapes + byteIndex * 3, encoded.count() * 3);
        else
            out.append(units.data() + i, units.lengthAt(i));
        byteIndex += encoded.count();
    }
    return true;
}

}  // namespace

ZoStringRef ZoURLCreateStringByAddingPercentEscapes(ZoAllocatorRef allocator, ZoStringRef originalString,
                                                    ZoStringRef charactersToLeaveUnescaped,
                                                    ZoStringRef legalURLCharactersToBeEscaped,
                                                    ZoStringEncoding encoding)
{
    if (!originalString) return nullptr;
    const Units units(originalString);
    const CharacterSet leave(charactersToLeaveUnescaped), force(legalURLCharactersToBeEscaped);
    if (!units.ok() || !leave.ok() || !force.ok()) return nullptr;
    Result out;
    EncodedCharacter encoded;
    for (size_t i = 0; i < units.size(); i += units.lengthAt(i)) {
        const uint32_t character = units.characterAt(i);
        const bool isLegal =
            character < 0x80 && urlIsOfClass(static_cast<unsigned char>(character), kUrlQueryCharacters);
        if (leave.contains(character) || (isLegal && !force.contains(character))) {
            out.append(units.data() + i, units.lengthAt(i));
            continue;
        }
        if (!encoded.take(originalString, i, units.lengthAt(i), encoding)) return nullptr;
        for (size_t at = 0; at < encoded.count(); ++at) {
            memory::String escape;  // short enough to need no memory
            urlAppendEscape(escape, encoded.bytes[at]);
            out.append(escape);
        }
    }
    return out.createString(allocator);
}

ZoStringRef ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(ZoAllocatorRef allocator,
                                                                    ZoStringRef originalString,
                                                                    ZoStringRef charactersToLeaveEscaped,
                                                                    ZoStringEncoding encoding)
{
    if (!originalString) return nullptr;
    if (!charactersToLeaveEscaped) return ZoStringCreateCopy(allocator, originalString);
    const Units units(originalString);
    const CharacterSet leave(charactersToLeaveEscaped);
    if (!units.ok() || !leave.ok()) return nullptr;
    Result out;
    memory::ReportingArray<char> bytes;
    for (size_t i = 0; i < units.size();) {
        const size_t start = i;
        if (units[i] != '%') {
            while (i < units.size() && units[i] != '%') ++i;
            out.append(units.data() + start, i - start);
            continue;
        }
        bytes.clear();
        for (; i < units.size() && units[i] == '%'; i += 3) {
            const int value = units.escapeAt(i);
            if (value < 0 || !bytes.append(static_cast<char>(value))) return nullptr;
        }
        const std::string_view run(bytes.data(), bytes.size());
        if (!appendUnescaped(out, run, units.data() + start, leave, encoding)) return nullptr;
    }
    return out.createString(allocator);
}
