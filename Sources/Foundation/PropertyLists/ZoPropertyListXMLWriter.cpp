// The XML form, written: one element a line, indented by tabs.

#include <charconv>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoBase64Private.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumberPrivate.h"

namespace zoplist {
namespace {

constexpr size_t kBase64LineBytes = 57;  // 76 characters

class Writer {
public:
    Writer(Output& out, Failure& failure) : out_(out), failure_(failure) {}

    bool write(ZoTypeRef root)
    {
        out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
        if (!writeObject(root)) return false;
        out_ += "</plist>\n";
        return true;
    }

private:
    void startLine()
    {
        for (size_t i = 0; i < depth_; ++i) out_ += '\t';
    }

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
        text_.truncate(0);
        if (!text_.append(string, kZoStringEncodingUTF8))
            return failure_.unsupported("a string with an unpaired surrogate");
        const std::string_view text = text_.text();
        if (text.find("\xEF\xBF\xBE") != text.npos || text.find("\xEF\xBF\xBF") != text.npos)
            return failure_.unsupported("a string with U+FFFE or U+FFFF, which XML does not have");
        startLine();
        ((out_ += '<') += element) += '>';
        for (char c : text) {
            switch (c) {
                case '&': out_ += "&amp;"; break;
                case '<': out_ += "&lt;"; break;
                case '>': out_ += "&gt;"; break;
                case '\r': out_ += "&#13;"; break;  // a bare one would be read as a line feed
                default:
                    if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n')
                        return failure_.unsupported("a string with a control character, which XML does not have");
                    out_ += c;
            }
        }
        ((out_ += "</") += element) += ">\n";
        return text_.ok() || failure_.noMemory();
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
        char text[24];
        if (!formatDate(ZoDateGetAbsoluteTime(date), text))
            return failure_.unsupported("a date outside of the years 1 to 9999");
        writeElement("date", text);
        return true;
    }

    void writeData(ZoDataRef data)
    {
        const auto length = static_cast<size_t>(ZoDataGetLength(data));
        writeLine("<data>");
        for (size_t at = 0; at < length; at += kBase64LineBytes) {
            char line[zoEncodedLength(kBase64LineBytes, 6, true)];
            const size_t count = std::min(kBase64LineBytes, length - at);
            const char* end = zoEncodeBase64(ZoDataGetBytePtr(data) + at, count, true, line);
            writeLine({line, static_cast<size_t>(end - line)});
        }
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
        memory::ReportingArray<const void*> keys, values;
        if (!keys.resize(count) || !values.resize(count)) return failure_.noMemory();
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

    Output& out_;
    Failure& failure_;
    Path path_;
    Output text_;  // of the string that is being written
    size_t depth_ = 0;
};

}  // namespace

bool writeXML(ZoTypeRef root, Output& out, Failure& failure) { return Writer(out, failure).write(root); }

}  // namespace zoplist
