// The XML form, written: one element a line, indented by tabs.

#include <charconv>
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

constexpr size_t kBase64LineBytes = 57;  // 76 characters

std::string base64(const uint8_t* bytes, size_t count)
{
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < count; i += 3) {
        const size_t left = count - i;
        const uint32_t group = uint32_t{bytes[i]} << 16 | (left > 1 ? uint32_t{bytes[i + 1]} << 8 : 0) |
                               (left > 2 ? uint32_t{bytes[i + 2]} : 0);
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += left > 1 ? kDigits[group >> 6 & 63] : '=';
        text += left > 2 ? kDigits[group & 63] : '=';
    }
    return text;
}

class Writer {
public:
    Writer(std::string& out, Failure& failure) : out_(out), failure_(failure) {}

    bool write(ZoTypeRef root)
    {
        out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
        if (!writeObject(root)) return false;
        out_ += "</plist>\n";
        return true;
    }

private:
    void startLine() { out_.append(depth_, '\t'); }

    void writeLine(std::string_view text)
    {
        startLine();
        (out_ += text) += '\n';
    }

    void writeElement(std::string_view name, std::string_view content)
    {
        startLine();
        (((((out_ += '<') += name) += '>') += content) += "</") += name;
        out_ += ">\n";
    }

    bool writeText(std::string_view element, ZoStringRef string)
    {
        std::string text, escaped;
        if (!zoAppendBytes(string, kZoStringEncodingUTF8, text))
            return failure_.unsupported("a string with an unpaired surrogate");
        for (char c : text) {
            switch (c) {
                case '&': escaped += "&amp;"; break;
                case '<': escaped += "&lt;"; break;
                case '>': escaped += "&gt;"; break;
                case '\r': escaped += "&#13;"; break;  // a bare one would be read as a line feed
                default:
                    if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n')
                        return failure_.unsupported("a string with a control character, which XML does not have");
                    escaped += c;
            }
        }
        if (escaped.find("\xEF\xBF\xBE") != std::string::npos || escaped.find("\xEF\xBF\xBF") != std::string::npos)
            return failure_.unsupported("a string with U+FFFE or U+FFFF, which XML does not have");
        writeElement(element, escaped);
        return true;
    }

    bool writeObject(ZoTypeRef object)
    {
        if (!object) return failure_.unsupported("an absent object");
        const ZoTypeID type = ZoGetTypeID(object);
        if (type == ZoStringGetTypeID()) return writeText("string", static_cast<ZoStringRef>(object));
        if (type == ZoNumberGetTypeID()) return writeNumber(object);
        if (type == ZoDateGetTypeID()) return writeDate(static_cast<ZoDateRef>(object));
        if (type == ZoArrayGetTypeID()) return writeArray(static_cast<ZoArrayRef>(object));
        if (type == ZoDictionaryGetTypeID()) return writeDictionary(static_cast<ZoDictionaryRef>(object));
        if (type == ZoBooleanGetTypeID()) {
            writeLine(ZoBooleanGetValue(static_cast<ZoBooleanRef>(object)) ? "<true/>" : "<false/>");
        } else if (type == ZoDataGetTypeID()) {
            writeData(static_cast<ZoDataRef>(object));
        } else {
            return failure_.unsupported("an object that is not of an XML property list");
        }
        return true;
    }

    bool writeNumber(ZoTypeRef number)
    {
        const ZoNumberValue value = zoNumberValue(number);
        char text[40];
        std::to_chars_result end;
        if (value.isFloat)
            end = std::to_chars(text, text + sizeof text, value.real);
        else if (value.integer < INT64_MIN || value.integer > UINT64_MAX)
            return failure_.unsupported("an integer beyond 64 bits");
        else if (value.integer < 0)
            end = std::to_chars(text, text + sizeof text, static_cast<int64_t>(value.integer));
        else
            end = std::to_chars(text, text + sizeof text, static_cast<uint64_t>(value.integer));
        writeElement(value.isFloat ? "real" : "integer", {text, static_cast<size_t>(end.ptr - text)});
        return true;
    }

    bool writeDate(ZoDateRef date)
    {
        std::string text;
        if (!formatDate(ZoDateGetAbsoluteTime(date), text))
            return failure_.unsupported("a date outside of the years 1 to 9999");
        writeElement("date", text);
        return true;
    }

    void writeData(ZoDataRef data)
    {
        const auto length = static_cast<size_t>(ZoDataGetLength(data));
        writeLine("<data>");
        for (size_t at = 0; at < length; at += kBase64LineBytes)
            writeLine(base64(ZoDataGetBytePtr(data) + at, std::min(kBase64LineBytes, length - at)));
        writeLine("</data>");
    }

    bool writeArray(ZoArrayRef array)
    {
        if (!path_.enter(array, failure_)) return false;
        const ZoIndex count = ZoArrayGetCount(array);
        writeLine(count ? "<array>" : "<array/>");
        ++depth_;
        for (ZoIndex i = 0; i < count; ++i)
            if (!writeObject(ZoArrayGetValueAtIndex(array, i))) return false;
        --depth_;
        if (count) writeLine("</array>");
        path_.leave();
        return true;
    }

    bool writeDictionary(ZoDictionaryRef dictionary)
    {
        if (!path_.enter(dictionary, failure_)) return false;
        const auto count = static_cast<size_t>(ZoDictionaryGetCount(dictionary));
        std::vector<const void*> keys(count), values(count);
        ZoDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        writeLine(count ? "<dict>" : "<dict/>");
        ++depth_;
        for (size_t i = 0; i < count; ++i) {
            if (ZoGetTypeID(keys[i]) != ZoStringGetTypeID()) return failure_.unsupported("a key is not a string");
            if (!writeText("key", static_cast<ZoStringRef>(keys[i])) || !writeObject(values[i])) return false;
        }
        --depth_;
        if (count) writeLine("</dict>");
        path_.leave();
        return true;
    }

    std::string& out_;
    Failure& failure_;
    Path path_;
    size_t depth_ = 0;
};

}  // namespace

bool writeXML(ZoTypeRef root, std::string& out, Failure& failure) { return Writer(out, failure).write(root); }

}  // namespace zoplist
