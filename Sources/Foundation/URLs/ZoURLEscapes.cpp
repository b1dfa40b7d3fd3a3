// Percent escapes in strings of any encoding.

#include <algorithm>

#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/Text/ZoSurrogatesPrivate.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/URLs/ZoURLSyntaxPrivate.h"
#include "Memory/Containers.h"

namespace {

/// UTF-16 text, read a character at a time. An unpaired surrogate is a character of its own.
class Units {
public:
    explicit Units(ZoStringRef string) : units_(string ? static_cast<size_t>(ZoStringGetLength(string)) : 0)
    {
        if (!units_.empty())
            ZoStringGetCharacters(string, ZoRangeMake(0, static_cast<ZoIndex>(units_.size())), units_.data());
    }
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
    memory::Vector<UniChar> units_;
};

class CharacterSet {
public:
    explicit CharacterSet(ZoStringRef members)
    {
        const Units units(members);
        for (size_t i = 0; i < units.size(); i += units.lengthAt(i)) characters_.push_back(units.characterAt(i));
        std::sort(characters_.begin(), characters_.end());
    }
    bool contains(uint32_t character) const
    {
        return std::binary_search(characters_.begin(), characters_.end(), character);
    }
    bool isEmpty() const { return characters_.empty(); }

private:
    memory::Vector<uint32_t> characters_;
};

/// The bytes of one character; false if the encoding does not have it.
bool encodeCharacter(ZoStringRef string, size_t index, size_t length, ZoStringEncoding encoding, memory::String& bytes)
{
    uint8_t buffer[32];
    ZoIndex used = 0;
    const ZoRange range = ZoRangeMake(static_cast<ZoIndex>(index), static_cast<ZoIndex>(length));
    if (ZoStringGetBytes(string, range, encoding, 0, false, buffer, sizeof buffer, &used) != range.length) return false;
    bytes.assign(reinterpret_cast<const char*>(buffer), static_cast<size_t>(used));
    return true;
}

void append(ZoMutableStringRef out, const UniChar* units, size_t count)
{
    ZoStringAppendCharacters(out, units, static_cast<ZoIndex>(count));
}

/// Appends the characters that a run of escapes stands for. Those of `leave` keep the escapes that they came from,
/// `escapes`, which are found again by the length of each character's bytes.
bool appendUnescaped(ZoMutableStringRef out, std::string_view bytes, const UniChar* escapes, const CharacterSet& leave,
                     ZoStringEncoding encoding)
{
    const auto run = zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()),
                                                     static_cast<ZoIndex>(bytes.size()), encoding, false));
    if (!run) return false;
    if (leave.isEmpty()) {
        ZoStringAppend(out, run.get());
        return true;
    }
    const Units units(run.get());
    size_t byteIndex = 0;
    memory::String encoded;
    for (size_t i = 0; i < units.size(); i += units.lengthAt(i)) {
        if (!encodeCharacter(run.get(), i, units.lengthAt(i), encoding, encoded)) return false;
        if (encoded.size() > bytes.size() - byteIndex) return false;
        if (leave.contains(units.characterAt(i)))
            append(out, escapes + byteIndex * 3, encoded.size() * 3);
        else
            append(out, units.data() + i, units.lengthAt(i));
        byteIndex += encoded.size();
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
    const auto out = zoAdopt(ZoStringCreateMutable(allocator, 0));
    if (!out) return nullptr;
    memory::String bytes, escapes;
    const auto flush = [&] {
        if (!escapes.empty()) ZoStringAppendCString(out.get(), escapes.c_str(), kZoStringEncodingASCII);
        escapes.clear();
    };
    for (size_t i = 0; i < units.size(); i += units.lengthAt(i)) {
        const uint32_t character = units.characterAt(i);
        const bool isLegal =
            character < 0x80 && urlIsOfClass(static_cast<unsigned char>(character), kUrlQueryCharacters);
        if (leave.contains(character) || (isLegal && !force.contains(character))) {
            flush();
            append(out.get(), units.data() + i, units.lengthAt(i));
            continue;
        }
        if (!encodeCharacter(originalString, i, units.lengthAt(i), encoding, bytes)) return nullptr;
        urlAppendEscaped(escapes, bytes, 0);
    }
    flush();
    return ZoStringCreateCopy(allocator, out.get());
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
    const auto out = zoAdopt(ZoStringCreateMutable(allocator, 0));
    if (!out) return nullptr;
    memory::String bytes;
    for (size_t i = 0; i < units.size();) {
        const size_t start = i;
        if (units[i] != '%') {
            while (i < units.size() && units[i] != '%') ++i;
            append(out.get(), units.data() + start, i - start);
            continue;
        }
        bytes.clear();
        for (; i < units.size() && units[i] == '%'; i += 3) {
            const int value = units.escapeAt(i);
            if (value < 0) return nullptr;
            bytes += static_cast<char>(value);
        }
        if (!appendUnescaped(out.get(), bytes, units.data() + start, leave, encoding)) return nullptr;
    }
    return ZoStringCreateCopy(allocator, out.get());
}
