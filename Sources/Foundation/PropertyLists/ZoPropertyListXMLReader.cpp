// The XML form, read with expat. Entities other than XML's own five are refused, nothing outside of the bytes is read,
// and nesting is bounded; so time and memory are linear in the input's length.

#include <expat.h>

#include <charconv>
#include <memory>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoBase64Private.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"

namespace zoplist {
namespace {

enum class Element : uint8_t { none, plist, array, dict, key, string, integer, real, boolTrue, boolFalse, date, data };

struct ElementRow {
    std::string_view name;
    Element element;
};
constexpr ElementRow kElements[] = {
    {"plist", Element::plist},     {"array", Element::array},     {"dict", Element::dict}, {"key", Element::key},
    {"string", Element::string},   {"integer", Element::integer}, {"real", Element::real}, {"true", Element::boolTrue},
    {"false", Element::boolFalse}, {"date", Element::date},       {"data", Element::data},
};

Element elementNamed(std::string_view name)
{
    for (const ElementRow& row : kElements)
        if (row.name == name) return row.element;
    return Element::none;
}

bool isContainer(Element element) { return element == Element::array || element == Element::dict; }

/// White space may stand anywhere. Puts what `text` says at `bytes`, which have room for three of four characters.
bool decodeBase64(std::string_view text, uint8_t* bytes, size_t& count)
{
    uint32_t group = 0;
    size_t digits = 0, padding = 0;
    count = 0;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        const int digit = c == '=' ? 0 : zoBase64Digit(c);
        if (digit < 0 || (padding && c != '=')) return false;
        if (c == '=') ++padding;
        group = group << 6 | static_cast<uint32_t>(digit);
        if (++digits % 4) continue;
        for (size_t i = 0; i + padding < 3 && i < 3; ++i) bytes[count++] = static_cast<uint8_t>(group >> (16 - 8 * i));
        group = 0;
    }
    return digits % 4 == 0 && padding <= 2;
}

class Reader {
public:
    Reader(ZoAllocatorRef allocator, Failure& failure) : allocator_(allocator), failure_(failure) {}

    ZoRef<ZoTypeRef> read(std::span<const uint8_t> bytes)
    {
        const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                                  XML_ParserFree);
        if (!parser) {
            failure_.noMemory();
            return nullptr;
        }
        parser_ = parser.get();
        XML_SetUserData(parser_, this);
        XML_SetElementHandler(parser_, onStart, onEnd);
        XML_SetCharacterDataHandler(parser_, onText);
        XML_SetEntityDeclHandler(parser_, onEntityDeclaration);
        XML_SetSkippedEntityHandler(parser_, onSkippedEntity);

        constexpr size_t kChunk = 1 << 24;  // expat counts in int
        bool isLast = false;
        while (!isLast && failure_.ok()) {
            const size_t count = std::min(bytes.size(), kChunk);
            isLast = count == bytes.size();
            const XML_Status status =
                XML_Parse(parser_, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(count), isLast);
            bytes = bytes.subspan(count);
            if (status == XML_STATUS_OK) continue;
            if (XML_GetErrorCode(parser_) == XML_ERROR_NO_MEMORY)
                failure_.noMemory();
            else
                fail(XML_ErrorString(XML_GetErrorCode(parser_)));
        }
        if (failure_.ok() && !root_) failure_.corrupt("no value in the property list");
        return failure_.ok() ? std::move(root_) : nullptr;
    }

private:
    /// One that is open. Its keys and values stand in turn at the top of `values_`.
    struct Container {
        bool isDict;
        size_t first;
    };

    static Reader& self(void* userData) { return *static_cast<Reader*>(userData); }
    static void onStart(void* userData, const XML_Char* name, const XML_Char**) { self(userData).start(name); }
    static void onEnd(void* userData, const XML_Char*) { self(userData).end(); }
    static void onText(void* userData, const XML_Char* text, int length)
    {
        self(userData).characters({text, static_cast<size_t>(length)});
    }
    static void onEntityDeclaration(void* userData, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                    const XML_Char*, const XML_Char*, const XML_Char*)
    {
        self(userData).fail("entities are not allowed");
    }
    static void onSkippedEntity(void* userData, const XML_Char*, int) { self(userData).fail("an unknown entity"); }

    void fail(const char* reason)
    {
        failure_.set(kZoPropertyListErrorCorrupt, reason, XML_GetCurrentLineNumber(parser_));
        XML_StopParser(parser_, XML_FALSE);
    }
    void failForMemory()
    {
        failure_.noMemory();
        XML_StopParser(parser_, XML_FALSE);
    }

    /// How many keys and values the innermost container has, and whether a value must come next.
    size_t heldCount() const { return values_.size() - containers_[containers_.size() - 1].first; }
    bool wantsValue() const { return !containers_[containers_.size() - 1].isDict || heldCount() % 2 == 1; }

    void start(std::string_view name)
    {
        if (!failure_.ok()) return;
        const Element element = elementNamed(name);
        if (element == Element::none) return fail("unknown element");
        if (leaf_ != Element::none) return fail("an element within a value");
        if (element == Element::plist) {
            if (hasPlist_ || !containers_.empty() || root_) return fail("a plist element that is not the root");
            hasPlist_ = true;
            return;
        }
        if (containers_.empty() ? static_cast<bool>(root_) : !mayFollow(element))
            return fail("an element out of place");
        if (!isContainer(element)) {
            leaf_ = element;
            text_.truncate(0);
        } else if (containers_.size() >= kZoPropertyListMaximumDepth) {
            fail("nested too deep");
        } else {
            if (!containers_.append({element == Element::dict, values_.size()})) failForMemory();
        }
    }

    bool mayFollow(Element element) const
    {
        const bool isDict = containers_[containers_.size() - 1].isDict;
        return element == Element::key ? isDict && !wantsValue() : wantsValue();
    }

    void characters(std::string_view text)
    {
        if (leaf_ != Element::none) {
            text_ += text;
            if (!text_.ok()) failForMemory();
        } else if (failure_.ok() && !trimmed(text).empty())
            fail("text outside of a value");
    }

    void end()
    {
        if (!failure_.ok()) return;
        if (leaf_ != Element::none) {
            endLeaf();
            leaf_ = Element::none;
        } else if (!containers_.empty()) {
            endContainer();
        }
        // What is left is the end of the root element, which says nothing that is not known.
    }

    void endLeaf()
    {
        if (leaf_ == Element::key && containers_.empty()) return fail("a key outside of a dict");
        const char* complaint = nullptr;
        ZoRef<ZoTypeRef> value = leafValue(complaint);
        if (value)
            add(std::move(value));
        else if (complaint)
            fail(complaint);
        else
            failForMemory();
    }

    ZoRef<ZoTypeRef> leafValue(const char*& complaint)
    {
        switch (leaf_) {
            case Element::key:
            case Element::string: return stringValue();
            case Element::integer: return integerValue(complaint);
            case Element::real: return realValue(complaint);
            case Element::date: return dateValue(complaint);
            case Element::data: return dataValue(complaint);
            default: break;
        }
        if (!trimmed(text_.text()).empty()) {
            complaint = "text within a boolean";
            return nullptr;
        }
        return ZoRef<ZoTypeRef>::retain(leaf_ == Element::boolTrue ? kZoBooleanTrue : kZoBooleanFalse);
    }

    // expat gives UTF-8 and no other text.
    ZoRef<ZoTypeRef> stringValue()
    {
        return zoAdopt<ZoTypeRef>(ZoStringCreateWithBytes(allocator_, text_.bytes(), static_cast<ZoIndex>(text_.size()),
                                                          kZoStringEncodingUTF8, false));
    }

    ZoRef<ZoTypeRef> integerValue(const char*& complaint)
    {
        std::string_view text = trimmed(text_.text());
        const bool isNegative = text.starts_with('-');
        if (isNegative || text.starts_with('+')) text.remove_prefix(1);
        const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
        if (isHexadecimal) text.remove_prefix(2);
        uint64_t magnitude = 0;
        const auto parsed = std::from_chars(text.data(), text.data() + text.size(), magnitude, isHexadecimal ? 16 : 10);
        const bool fits = !isNegative || magnitude <= uint64_t{1} << 63;
        if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size() || !fits) {
            complaint = "not an integer of 64 bits";
            return nullptr;
        }
        return createInteger(allocator_, isNegative, magnitude);
    }

    ZoRef<ZoTypeRef> realValue(const char*& complaint)
    {
        std::string_view text = trimmed(text_.text());
        if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
        double value = 0;
        const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
        if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) {
            complaint = "not a real number";
            return nullptr;
        }
        return zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator_, kZoNumberFloat64Type, &value));
    }

    ZoRef<ZoTypeRef> dateValue(const char*& complaint)
    {
        ZoAbsoluteTime time = 0;
        if (!parseDate(trimmed(text_.text()), time)) {
            complaint = "not a date";
            return nullptr;
        }
        return zoAdopt<ZoTypeRef>(ZoDateCreate(allocator_, time));
    }

    ZoRef<ZoTypeRef> dataValue(const char*& complaint)
    {
        memory::ReportingArray<uint8_t> bytes;
        if (!bytes.resize(text_.size() / 4 * 3)) return nullptr;
        size_t count;
        if (!decodeBase64(text_.text(), bytes.data(), count)) {
            complaint = "not base64";
            return nullptr;
        }
        return zoAdopt<ZoTypeRef>(ZoDataCreate(allocator_, bytes.data(), static_cast<ZoIndex>(count)));
    }

    void endContainer()
    {
        const Container container = containers_.back();
        const size_t held = heldCount(), step = container.isDict ? 2 : 1;
        if (held % step) return fail("a key without a value");
        memory::ReportingArray<const void*> objects;  // all keys, where there are any, and then all values
        if (!objects.resize(held)) return failForMemory();
        const size_t count = held / step;
        for (size_t i = 0; i < held; ++i) objects[i % step * count + i / step] = values_[container.first + i].get();
        const auto amount = static_cast<ZoIndex>(count);
        ZoRef<ZoTypeRef> made;
        if (container.isDict)
            made.reset(ZoDictionaryCreate(allocator_, objects.data(), objects.data() + count, amount,
                                          &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
        else
            made.reset(ZoArrayCreate(allocator_, objects.data(), amount, &kZoTypeArrayCallBacks));
        if (!made) return failForMemory();
        values_.truncate(container.first);
        containers_.truncate(containers_.size() - 1);
        add(std::move(made));
    }

    void add(ZoRef<ZoTypeRef> value)
    {
        if (containers_.empty())
            root_ = std::move(value);
        else if (!values_.append(std::move(value)))
            failForMemory();
    }

    ZoAllocatorRef allocator_;
    Failure& failure_;
    XML_Parser parser_ = nullptr;
    bool hasPlist_ = false;
    Element leaf_ = Element::none;  // the value that is open, if it is not a container
    Output text_;                   // of it
    memory::ReportingArray<Container> containers_;
    memory::ReportingArray<ZoRef<ZoTypeRef>> values_;
    ZoRef<ZoTypeRef> root_;
};

}  // namespace

ZoRef<ZoTypeRef> readXML(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, Failure& failure)
{
    return Reader(allocator, failure).read(bytes);
}

}  // namespace zoplist
