// The same values in both forms.

#include "inspect/ValueWriter.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using Layout = ValueWriter::Layout;

std::string written(ValueWriter::Form form, void (*write)(ValueWriter& w))
{
    char* text = nullptr;
    size_t length = 0;
    FILE* const file = open_memstream(&text, &length);
    ValueWriter writer(file, form);
    write(writer);
    fclose(file);
    std::string out(text, length);
    free(text);
    return out;
}

struct Row {
    const char* what;
    void (*write)(ValueWriter& w);  // into an object that is a line, behind its heading
    std::string text;
    std::string json;
};

TEST(ValueWriter, writesBothForms)
{
    const Row rows[] = {
        {"numbers",
         [](ValueWriter& w) {
             w.key("a").integer(INT64_MIN);
             w.key("b").unsignedInteger(UINT64_MAX);
             w.key("c").number(0.1);
         },
         "  a -9223372036854775808  b 18446744073709551615  c 0.1",
         R"(,"a":-9223372036854775808,"b":18446744073709551615,"c":0.1)"},
        {"numbers that are none",
         [](ValueWriter& w) {
             w.key("a").number(std::numeric_limits<double>::infinity());
             w.key("b").beginArray();
             w.number(std::numeric_limits<double>::quiet_NaN());
             w.boolean(true);
             w.endArray();
         },
         "  b null true", R"(,"b":[null,true])"},
        {"characters that mean something",
         [](ValueWriter& w) { w.key("a \"b\"").string("\"\\\n\x1B\x7F\u00e9\U0001F600\u009b"); },
         "  a \"b\" \"\\\\x0a\\x1b\\x7f\u00e9\U0001F600\\xc2\\x9b",
         ",\"a \\\"b\\\"\":\"\\\"\\\\\\u000a\\u001b\\u007f\u00e9\U0001F600\u009b\""},
        {"bytes that are no UTF-8: alone, cut, overlong, a surrogate, too high",
         [](ValueWriter& w) { w.key("a").string("\x80 \xE2\x82 \xC0\xAF \xED\xA0\x80 \xF4\x90\x80\x80"); },
         R"(  a \x80 \xe2\x82 \xc0\xaf \xed\xa0\x80 \xf4\x90\x80\x80)",
         R"(,"a":"\\x80 \\xe2\\x82 \\xc0\\xaf \\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80")"},
        {"codes",
         [](ValueWriter& w) {
             w.key("a").beginArray();
             for (OSType code : {0xA96E616DU, 0x6D730002U, 0x75726C20U, 0x80FFCADBU}) w.code(code);
             w.endArray();
         },
         "  a \u00a9nam 0x6d730002 url  \u00c4\u02c7\u00a0\u20ac",
         ",\"a\":[\"\u00a9nam\",\"0x6d730002\",\"url \",\"\u00c4\u02c7\u00a0\u20ac\"]"},
        {"nesting",
         [](ValueWriter& w) {
             w.key("a").beginArray();
             w.beginObject();
             w.key("x").rational(25, 1);
             w.key("y").beginArray();
             w.integer(1);
             w.integer(2);
             w.endArray();
             w.endObject();
             w.beginObject();
             w.endObject();
             w.endArray();
             w.key("spread").beginObject(Layout::kSpread);
             w.key("z").boolean(false);
             w.endObject();
         },
         "  a {x 25/1, y [1 2]} {}  z false", R"(,"a":[{"x":[25,1],"y":[1,2]},{}],"spread":{"z":false})"},
        {"lines in lines",
         [](ValueWriter& w) {
             w.key("children").beginArray(Layout::kLines);
             for (const char* heading : {"b", "c"}) {
                 w.beginObject();
                 w.key("type").string(heading);
                 w.endObject();
             }
             w.endArray();
         },
         "\n  b\n  c", ",\"children\":[\n {\"type\":\"b\"},\n {\"type\":\"c\"}]"},
        {"short and long data",
         [](ValueWriter& w) {
             static constexpr uint8_t kBytes[65] = {0xAB, 1};
             w.key("a").data({kBytes, 2});
             w.key("b").data(kBytes);
         },
         "  a {bytes 2, hex ab01}  b {bytes 65, sha1 f156266f7b9b9d46ab1caacfe5fa14aefe28af26}",
         R"(,"a":{"bytes":2,"hex":"ab01"},"b":{"bytes":65,"sha1":"f156266f7b9b9d46ab1caacfe5fa14aefe28af26"})"},
    };
    static void (*write)(ValueWriter & w);
    const auto document = [](ValueWriter& w) {
        w.beginObject();
        w.key("boxes").beginArray(Layout::kLines);
        w.beginObject();
        w.key("type").string("box");
        write(w);
        w.endObject();
        w.endArray();
        w.remark("told");
        w.endObject();
    };
    for (const Row& row : rows) {
        write = row.write;
        EXPECT_EQ(written(ValueWriter::Form::kText, document), "box" + row.text + "\ntold\n") << row.what;
        EXPECT_EQ(written(ValueWriter::Form::kJSON, document), "{\"boxes\":[\n{\"type\":\"box\"" + row.json + "}\n]}\n")
            << row.what;
    }
}

}  // namespace
