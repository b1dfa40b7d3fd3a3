// What the tool says, as values: objects of named values, arrays, texts, numbers, truth. Whoever has something to say
// writes it once; the form decides whether it becomes JSON for programs or text for people. Everything is written at
// once to the file, so that memory grows with the depth alone.
//
// In text, each element of an array of lines is a line: its first value stands bare, the others behind their names, and
// lines inside of it are indented. What is nested within a line stands in brackets. Outside of the lines there are
// remarks only; values of the outermost object are for programs.

#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

#include "Memory/Containers.h"
#include "Platform/Common/LuBase.h"

/// A four-character code in UTF-8: four characters of Mac Roman, or "0x" and eight digits if one is a control
/// character.
struct CodeText {
    char text[13];
};
CodeText codeText(OSType code);

class ValueWriter {
public:
    enum class Form : uint8_t { kText, kJSON };
    enum class Layout : uint8_t {
        kInline,
        kLines,   ///< of arrays: each element on a line of its own
        kSpread,  ///< of objects in a line: in text without name and brackets, as if its values were the line's own
    };

    ValueWriter(FILE* out, Form form) : out_(out), form_(form) {}

    /// The name of the value that is written next, inside an object. It must live until then.
    ValueWriter& key(std::string_view name)
    {
        key_ = name;
        return *this;
    }

    void beginObject(Layout layout = Layout::kInline);
    void endObject();
    void beginArray(Layout layout = Layout::kInline);
    void endArray();

    /// UTF-8. Bytes that are none are written as \xNN, in text control characters too.
    void string(std::string_view text);
    void integer(int64_t value);
    void unsignedInteger(uint64_t value);
    /// A value that is not finite is left out with its name; in an array null takes its place.
    void number(double value);
    void boolean(bool value);

    void code(OSType value) { string(codeText(value).text); }
    /// [value, timescale]; in text value/timescale.
    void rational(int64_t value, int64_t timescale);
    /// {"bytes": n, "hex": "..."} up to 64 bytes, {"bytes": n, "sha1": "..."} above.
    void data(std::span<const uint8_t> bytes);
    /// Lower-case hexadecimal digits, as a text.
    void hex(std::span<const uint8_t> bytes);

    /// For what people are told in other words than programs.
    bool isText() const { return form_ == Form::kText; }
    /// A line for people, outside of all arrays; not written in JSON.
    void remark(std::string_view line);

private:
    struct Style;
    struct Level {
        const Style* style;
        size_t count = 0;
    };
    static const Style kStyles[];

    void put(std::string_view text) { fwrite_unlocked(text.data(), 1, text.size(), out_); }
    void begin(const Style& style);
    void end();
    void beginValue();
    void beginLine(const Style& style);
    void escaped(std::string_view text);
    void escapedByte(unsigned char byte);

    FILE* out_;
    Form form_;
    int lineDepth_ = 0;
    bool lineIsOpen_ = false;  // in text
    std::string_view key_;
    memory::Vector<Level> levels_;
};
