#include "inspect/ValueWriter.h"

#include <charconv>
#include <cmath>

#include "Utilities/TavDigestSHA1.h"

namespace {

constexpr size_t kMostHexBytes = 64;

// Mac Roman from 0x80 on, in which movie files write their codes.
constexpr char16_t kMacRoman[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

// UTF-8 of a character of the basic plane; how many bytes.
size_t encode(char16_t character, char* out)
{
    if (character < 0x80) {
        out[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        out[0] = static_cast<char>(0xC0 | character >> 6);
        out[1] = static_cast<char>(0x80 | (character & 0x3F));
        return 2;
    }
    out[0] = static_cast<char>(0xE0 | character >> 12);
    out[1] = static_cast<char>(0x80 | (character >> 6 & 0x3F));
    out[2] = static_cast<char>(0x80 | (character & 0x3F));
    return 3;
}

// RFC 3629 4: the first byte says how long a sequence is, and which second bytes make it well formed.
struct Sequences {
    unsigned char firstFrom, firstTo;
    unsigned char secondFrom, secondTo;
    size_t length;
};
constexpr Sequences kSequences[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// The length of the well-formed sequence above ASCII that `text` starts with; 0 if there is none.
size_t sequenceLength(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    for (const Sequences& row : kSequences) {
        if (byte(0) < row.firstFrom || byte(0) > row.firstTo) continue;
        if (text.size() < row.length || byte(1) < row.secondFrom || byte(1) > row.secondTo) return 0;
        for (size_t i = 2; i < row.length; ++i)
            if ((byte(i) & 0xC0) != 0x80) return 0;
        return row.length;
    }
    return 0;
}

// U+0080 to U+009F: terminals take them for commands.
bool isControl(std::string_view sequence)
{
    return static_cast<unsigned char>(sequence[0]) == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
}

}  // namespace

CodeText codeText(OSType code)
{
    CodeText out;
    size_t length = 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(code >> shift);
        if (byte < 0x20 || byte == 0x7F) {
            snprintf(out.text, sizeof(out.text), "0x%08x", static_cast<unsigned>(code));
            return out;
        }
        length += encode(byte < 0x80 ? byte : kMacRoman[byte - 0x80], out.text + length);
    }
    out.text[length] = 0;
    return out;
}

// MARK: structure

// How a collection looks: what stands around it and between its values.
struct ValueWriter::Style {
    const char* open;
    const char* close;
    const char* first;    // in front of the first value
    const char* between;  // in front of the others
    const char* indent;   // of the lines inside, for each line around them; absent where values are no lines
    const char* afterName;
    const char* quote;  // around names; absent where values have none
    bool firstIsBare;   // the first value has no name
    bool isHidden;      // the collection itself has neither name nor place among the values around it
};

namespace {
enum StyleIndex {
    kJSONObject,
    kJSONArray,
    kJSONLines,
    kOutermost,
    kLines,
    kLine,
    kSpread,
    kBracedObject,
    kPlainList,
    kBracketedList
};
}

const ValueWriter::Style ValueWriter::kStyles[] = {
    {"{", "}", "", ",", nullptr, ":", "\"", false, false},
    {"[", "]", "", ",", nullptr, "", nullptr, false, false},
    {"[", "]", "", ",", " ", "", nullptr, false, false},
    {"", "", "", "", nullptr, "", nullptr, false, true},     // what stands in it are lines
    {"", "", "", "", "  ", "", nullptr, false, true},        // one below the other
    {"", "", "", "  ", nullptr, " ", "", true, false},       // avcC  offset 543  size 52
    {"", "", "  ", "  ", nullptr, " ", "", false, true},     // what a line goes on with
    {"{", "}", "", ", ", nullptr, " ", "", false, false},    // {profile 100, level 40}
    {"", "", "", " ", nullptr, "", nullptr, false, false},   // isom iso2 avc1
    {"[", "]", "", " ", nullptr, "", nullptr, false, false}  // [isom iso2 avc1]
};

void ValueWriter::beginLine(const Style& style)
{
    if (!isText() || lineIsOpen_) put("\n");
    lineIsOpen_ = true;
    for (int i = 1; i < lineDepth_; ++i) put(style.indent);
}

void ValueWriter::beginValue()
{
    if (levels_.empty()) return;
    Level& level = levels_.back();
    const Style& style = *level.style;
    put(level.count == 0 ? style.first : style.between);
    if (style.indent) beginLine(style);
    if (style.quote && !(style.firstIsBare && level.count == 0)) {
        put(style.quote);
        escaped(key_);
        put(style.quote);
        put(style.afterName);
    }
    ++level.count;
    key_ = {};
}

void ValueWriter::begin(const Style& style)
{
    if (!style.isHidden) beginValue();
    put(style.open);
    if (style.indent) ++lineDepth_;
    levels_.push_back({&style});
}

void ValueWriter::end()
{
    const Style& style = *levels_.back().style;
    levels_.pop_back();
    if (style.indent && --lineDepth_ == 0) {
        if (!isText() || lineIsOpen_) put("\n");
        lineIsOpen_ = false;
    }
    put(style.close);
    if (levels_.empty() && !isText()) put("\n");
}

void ValueWriter::beginObject(Layout layout)
{
    const Style* const around = levels_.empty() ? nullptr : levels_.back().style;
    if (!isText()) return begin(kStyles[kJSONObject]);
    begin(kStyles[!around                      ? kOutermost
                  : around == &kStyles[kLines] ? kLine
                  : layout == Layout::kSpread  ? kSpread
                                               : kBracedObject]);
}

void ValueWriter::beginArray(Layout layout)
{
    const Style* const around = levels_.empty() ? nullptr : levels_.back().style;
    const bool isLines = layout == Layout::kLines;
    if (!isText()) return begin(kStyles[isLines ? kJSONLines : kJSONArray]);
    const bool isInLine = around == &kStyles[kLine] || around == &kStyles[kSpread];
    begin(kStyles[isLines ? kLines : isInLine ? kPlainList : kBracketedList]);
}

void ValueWriter::endObject() { end(); }
void ValueWriter::endArray() { end(); }

void ValueWriter::remark(std::string_view line)
{
    if (!isText()) return;
    escaped(line);
    put("\n");
}

// MARK: values

// What stands in a text, but for the quotes around it.
void ValueWriter::escaped(std::string_view text)
{
    const auto isPlain = [this](unsigned char c) {
        return c >= 0x20 && c < 0x7F && (isText() || (c != '"' && c != '\\'));
    };
    while (!text.empty()) {
        size_t length = 0;
        while (length < text.size() && isPlain(static_cast<unsigned char>(text[length]))) ++length;
        if (length == 0) {
            length = sequenceLength(text);
            if (isText() && length > 0 && isControl(text)) length = 0;
        }
        if (length > 0)
            put(text.substr(0, length));
        else
            escapedByte(static_cast<unsigned char>(text[0]));
        text.remove_prefix(length > 0 ? length : 1);
    }
}

void ValueWriter::escapedByte(unsigned char byte)
{
    const bool isASCII = byte < 0x80;
    char out[8];
    if (!isText() && (byte == '"' || byte == '\\'))
        snprintf(out, sizeof(out), "\\%c", byte);
    else
        snprintf(out, sizeof(out), isText() ? "\\x%02x" : isASCII ? "\\u%04x" : "\\\\x%02x", byte);
    put(out);
}

void ValueWriter::string(std::string_view text)
{
    beginValue();
    if (!isText()) put("\"");
    escaped(text);
    if (!isText()) put("\"");
}

void ValueWriter::integer(int64_t value)
{
    char digits[24];
    beginValue();
    put({digits, std::to_chars(digits, digits + sizeof(digits), value).ptr});
}

void ValueWriter::unsignedInteger(uint64_t value)
{
    char digits[24];
    beginValue();
    put({digits, std::to_chars(digits, digits + sizeof(digits), value).ptr});
}

void ValueWriter::number(double value)
{
    char digits[32];
    if (std::isfinite(value)) {
        beginValue();
        return put({digits, std::to_chars(digits, digits + sizeof(digits), value).ptr});
    }
    if (!levels_.empty() && levels_.back().style->quote) return;
    beginValue();
    put("null");
}

void ValueWriter::boolean(bool value)
{
    beginValue();
    put(value ? "true" : "false");
}

void ValueWriter::rational(int64_t value, int64_t timescale)
{
    char text[48];
    beginValue();
    snprintf(text, sizeof(text), isText() ? "%lld/%lld" : "[%lld,%lld]", static_cast<long long>(value),
             static_cast<long long>(timescale));
    put(text);
}

void ValueWriter::hex(std::span<const uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    beginValue();
    if (!isText()) put("\"");
    for (const uint8_t byte : bytes) {
        const char pair[] = {kDigits[byte >> 4], kDigits[byte & 15]};
        put({pair, sizeof(pair)});
    }
    if (!isText()) put("\"");
}

void ValueWriter::data(std::span<const uint8_t> bytes)
{
    beginObject();
    key("bytes").unsignedInteger(bytes.size());
    if (bytes.size() <= kMostHexBytes) {
        key("hex").hex(bytes);
    } else {
        TavDigestSHA1 digest;
        uint8_t result[kTavDigestSHA1Length];
        TavDigestSHA1Reset(&digest);
        TavDigestSHA1AppendData(&digest, bytes.data(), bytes.size());
        TavDigestSHA1GetDigest(&digest, result);
        key("sha1").hex(result);
    }
    endObject();
}
