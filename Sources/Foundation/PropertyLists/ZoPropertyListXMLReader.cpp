// The XML form, read with expat. Entities other than XML's own five are refused, nothing outside of the bytes is read,
// and nesting is bounded; so time and memory are linear in the input's length.

#include <expat.h>

#include <charconv>
#include <memory>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
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

int base64Digit(char c)
{
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

/// RFC 4648 section 4, with white space anywhere.
bool decodeBase64(std::string_view text, std::vector<uint8_t>& bytes)
{
    uint32_t group = 0;
    size_t digits = 0, padding = 0;
    for (char c : text) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        const int digit = c == '=' ? 0 : base64Digit(c);
        if (digit < 0 || (padding && c != '=')) return false;
        if (c == '=') ++padding;
        group = group << 6 | static_cast<uint32_t>(digit);
        if (++digits % 4) continue;
        for (size_t i = 0; i + padding < 3 && i < 3; ++i) bytes.push_back(static_cast<uint8_t>(group >> (16 - 8 * i)));
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
            if (status != XML_STATUS_OK) fail(XML_ErrorString(XML_GetErrorCode(parser_)));
        }
        if (failure_.ok() && !root_) failure_.corrupt("no value in the property list");
        return failure_.ok() ? std::move(root_) : nullptr;
    }

private:
    struct Container {
        explicit Container(bool isDictionary) : isDict(isDictionary) {}
        bool isDict;
        std::vector<ZoRef<ZoTypeRef>> keys, values;
        bool wantsValue() const { return !isDict || keys.size() > values.size(); }
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

    void fail(std::string_view reason)
    {
        failure_.corrupt("line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ": " + std::string(reason));
        XML_StopParser(parser_, XML_FALSE);
    }

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
            text_.clear();
        } else if (containers_.size() >= kZoPropertyListMaximumDepth) {
            fail("nested too deep");
        } else {
            containers_.emplace_back(element == Element::dict);
        }
    }

    bool mayFollow(Element element) const
    {
        const Container& container = containers_.back();
        return element == Element::key ? container.isDict && !container.wantsValue() : container.wantsValue();
    }

    void characters(std::string_view text)
    {
        if (leaf_ != Element::none)
            text_ += text;
        else if (failure_.ok() && !trimmed(text).empty())
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
        if (leaf_ == Element::key) {
            auto key = zoStringFromUTF8(allocator_, text_);
            if (!key) return fail("no memory");
            if (containers_.empty()) return fail("a key outside of a dict");
            containers_.back().keys.push_back(zoAdopt<ZoTypeRef>(key.release()));
            return;
        }
        const char* complaint = "no memory";
        ZoRef<ZoTypeRef> value = leafValue(complaint);
        if (!value) return fail(complaint);
        add(std::move(value));
    }

    ZoRef<ZoTypeRef> leafValue(const char*& complaint)
    {
        switch (leaf_) {
            case Element::string: return zoAdopt<ZoTypeRef>(zoStringFromUTF8(allocator_, text_).release());
            case Element::integer: return integerValue(complaint);
            case Element::real: return realValue(complaint);
            case Element::date: return dateValue(complaint);
            case Element::data: return dataValue(complaint);
            default: break;
        }
        complaint = "text within a boolean";
        if (!trimmed(text_).empty()) return nullptr;
        return ZoRef<ZoTypeRef>::retain(leaf_ == Element::boolTrue ? kZoBooleanTrue : kZoBooleanFalse);
    }

    ZoRef<ZoTypeRef> integerValue(const char*& complaint)
    {
        std::string_view text = trimmed(text_);
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
        std::string_view text = trimmed(text_);
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
        if (!parseDate(trimmed(text_), time)) {
            complaint = "not a date";
            return nullptr;
        }
        return zoAdopt<ZoTypeRef>(ZoDateCreate(allocator_, time));
    }

    ZoRef<ZoTypeRef> dataValue(const char*& complaint)
    {
        std::vector<uint8_t> bytes;
        if (!decodeBase64(text_, bytes)) {
            complaint = "not base64";
            return nullptr;
        }
        return zoAdopt<ZoTypeRef>(ZoDataCreate(allocator_, bytes.data(), static_cast<ZoIndex>(bytes.size())));
    }

    void endContainer()
    {
        Container& container = containers_.back();
        if (container.isDict && container.wantsValue()) return fail("a key without a value");
        std::vector<const void*> keys, values;
        for (const auto& key : container.keys) keys.push_back(key.get());
        for (const auto& value : container.values) values.push_back(value.get());
        const auto count = static_cast<ZoIndex>(values.size());
        ZoRef<ZoTypeRef> made;
        if (container.isDict)
            made.reset(ZoDictionaryCreate(allocator_, keys.data(), values.data(), count, &kZoTypeDictionaryKeyCallBacks,
                                          &kZoTypeDictionaryValueCallBacks));
        else
            made.reset(ZoArrayCreate(allocator_, values.data(), count, &kZoTypeArrayCallBacks));
        if (!made) return fail("no memory");
        containers_.pop_back();
        add(std::move(made));
    }

    void add(ZoRef<ZoTypeRef> value)
    {
        if (containers_.empty())
            root_ = std::move(value);
        else
            containers_.back().values.push_back(std::move(value));
    }

    ZoAllocatorRef allocator_;
    Failure& failure_;
    XML_Parser parser_ = nullptr;
    bool hasPlist_ = false;
    Element leaf_ = Element::none;  // the value that is open, if it is not a container
    std::string text_;              // of it
    std::vector<Container> containers_;
    ZoRef<ZoTypeRef> root_;
};

}  // namespace

ZoRef<ZoTypeRef> readXML(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, Failure& failure)
{
    return Reader(allocator, failure).read(bytes);
}

}  // namespace zoplist
