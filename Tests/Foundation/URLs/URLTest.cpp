#include <gtest/gtest.h>

#include <filesystem>

#include "Foundation/URLs/ZoURL.h"

#include <climits>

#include "Tests/Support/Objects.h"

using namespace luvia_test;

static ZoRef<ZoURLRef> url(std::string_view string, ZoURLRef base = nullptr)
{
    return zoAdopt(ZoURLCreateWithString(nullptr, str(string).get(), base));
}

static std::string stringOf(const ZoRef<ZoURLRef>& object)
{
    return object ? text(ZoURLGetString(object.get())) : "(none)";
}
static std::string stringOf(ZoURLRef owned) { return stringOf(zoAdopt(owned)); }

static std::string pathOf(const ZoRef<ZoURLRef>& object, bool resolve = true)
{
    uint8_t buffer[PATH_MAX];
    if (!object || !ZoURLGetFileSystemRepresentation(object.get(), resolve, buffer, sizeof buffer)) return "(none)";
    return reinterpret_cast<const char*>(buffer);
}

struct Pair {
    const char* given;
    const char* expected;
};

// RFC 3986 5.4.1 and 5.4.2, then what the examples there leave out
TEST(URL, resolvesReferences)
{
    // clang-format off
    static const Pair kTable[] = {
        {"g:h", "g:h"}, {"g", "http://a/b/c/g"}, {"./g", "http://a/b/c/g"}, {"g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"}, {"//g", "http://g"}, {"?y", "http://a/b/c/d;p?y"}, {"g?y", "http://a/b/c/g?y"},
        {"#s", "http://a/b/c/d;p?q#s"}, {"g#s", "http://a/b/c/g#s"}, {"g?y#s", "http://a/b/c/g?y#s"},
        {";x", "http://a/b/c/;x"}, {"g;x", "http://a/b/c/g;x"}, {"g;x?y#s", "http://a/b/c/g;x?y#s"},
        {"", "http://a/b/c/d;p?q"}, {".", "http://a/b/c/"}, {"./", "http://a/b/c/"}, {"..", "http://a/b/"},
        {"../", "http://a/b/"}, {"../g", "http://a/b/g"}, {"../..", "http://a/"}, {"../../", "http://a/"},
        {"../../g", "http://a/g"}, {"../../../g", "http://a/g"}, {"../../../../g", "http://a/g"},
        {"/./g", "http://a/g"}, {"/../g", "http://a/g"}, {"g.", "http://a/b/c/g."}, {".g", "http://a/b/c/.g"},
        {"g..", "http://a/b/c/g.."}, {"..g", "http://a/b/c/..g"}, {"./../g", "http://a/b/g"},
        {"./g/.", "http://a/b/c/g/"}, {"g/./h", "http://a/b/c/g/h"}, {"g/../h", "http://a/b/c/h"},
        {"g;x=1/./y", "http://a/b/c/g;x=1/y"}, {"g;x=1/../y", "http://a/b/c/y"}, {"g?y/./x", "http://a/b/c/g?y/./x"},
        {"g?y/../x", "http://a/b/c/g?y/../x"}, {"g#s/./x", "http://a/b/c/g#s/./x"},
        {"g#s/../x", "http://a/b/c/g#s/../x"}, {"http:g", "http:g"}, {"?", "http://a/b/c/d;p?"},
    };
    // clang-format on
    const auto base = url("http://a/b/c/d;p?q");
    for (const Pair& row : kTable) {
        const auto relative = url(row.given, base.get());
        ASSERT_TRUE(relative) << row.given;
        EXPECT_EQ(stringOf(relative), row.given);
        EXPECT_EQ(stringOf(ZoURLCopyAbsoluteURL(relative.get())), row.expected) << row.given;
    }
    const auto host = url("http://host"), rootless = url("a:/b"), chained = url("x/y", url("../z/", base.get()).get());
    EXPECT_EQ(stringOf(ZoURLCopyAbsoluteURL(url("g", host.get()).get())), "http://host/g");
    EXPECT_EQ(stringOf(ZoURLCopyAbsoluteURL(url("/..//c", rootless.get()).get())), "a:/.//c");  // never an authority
    EXPECT_EQ(stringOf(ZoURLCopyAbsoluteURL(chained.get())), "http://a/b/z/x/y");
    EXPECT_EQ(ZoURLGetBaseURL(url("g:h", base.get()).get()), nullptr);

    // A base without a scheme: what leads further up stays.
    static const Pair kRelative[] = {
        {"../x", "b/x"},       {"../../x", "x"},    {"../../../x", "../x"},  {"../../../../x", "../../x"},
        {"../..", "./"},       {"../../..", "../"}, {"./y/../z/", "b/c/z/"}, {"../..//x", ".//x"},
        {"../../x:y", "./x:y"}};
    const auto relativeBase = url("b/c/d");
    for (const Pair& row : kRelative)
        EXPECT_EQ(stringOf(ZoURLCopyAbsoluteURL(url(row.given, relativeBase.get()).get())), row.expected) << row.given;
    EXPECT_EQ(textOf(ZoURLCopyScheme(url("g", base.get()).get())), "http");
}

TEST(URL, takesWhatTheGrammarDescribesAndNothingElse)
{
    for (const char* valid :
         {"http://u:p@h:80/p?q#f", "http://[::1]:80/", "http://[v1.a:b]/", "http://[fe80::1%25eth0]/", "//h",
          "mailto:a@b.c", "urn:isbn:0-395-36341-1", "?", "#", "a%20b", "http://", "file:///", "http://h:/",
          "tel:+1;a=b", "./a:b", "http://a/?b=/?@:", "view-source+x.1:a"})
        EXPECT_TRUE(url(valid)) << valid;
    // clang-format off
    const char* const kInvalid[] = {
        "", ":a", "1:2", "a b", "a%2", "a%zz", "%", "http://[::1", "http://[g]/", "http://h:8x/", "http://a b/",
        "a#b#c", "a<b>", "a\"b", "http://a]/", "a[b", "http://[v.a]/", "http://[::1]a/", "a\\b", "\xC3\xA9", "a^b",
        "http://[1%252]/", "http://[fe80::1%25e!0]/", "http://a@b@c/",
    };
    // clang-format on
    for (const char* invalid : kInvalid) EXPECT_FALSE(url(invalid)) << invalid;
    EXPECT_FALSE(url(std::string_view("a\0b", 3)));
    EXPECT_FALSE(zoAdopt(ZoURLCreateWithString(nullptr, nullptr, nullptr)));
}

TEST(URL, equalityIsOfTextAndBase)
{
    const auto base = url("http://a/"), same = url("http://a/"), other = url("http://b/");
    const auto left = url("x", base.get()), right = url("x", same.get());
    EXPECT_TRUE(ZoEqual(left.get(), right.get()));
    EXPECT_EQ(ZoHash(left.get()), ZoHash(right.get()));
    EXPECT_FALSE(ZoEqual(left.get(), url("x", other.get()).get()));
    EXPECT_FALSE(ZoEqual(left.get(), url("x").get()));
    EXPECT_EQ(textOf(ZoCopyDescription(left.get())), "x -- http://a/");
}

TEST(URL, filePathsComeBackAsTheyWere)
{
    struct Row {
        std::string path;
        bool isDirectory;
        std::string urlText, pathBack;
    };
    const Row kTable[] = {
        {"/", false, "file:///", "/"},
        {"/a/b c", false, "file:///a/b%20c", "/a/b c"},
        {"/a/b/", false, "file:///a/b", "/a/b"},
        {"/a/b", true, "file:///a/b/", "/a/b"},
        {"/100%/#?;:", false, "file:///100%25/%23%3F;:", "/100%/#?;:"},
        {"/caf\xC3\xA9", false, "file:///caf%C3%A9", "/caf\xC3\xA9"},
        {"//x", false, "file:////x", "//x"},
        {"a:b/c", false, "a%3Ab/c", "a:b/c"},
    };
    for (const Row& row : kTable) {
        const auto made = zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, str(row.path).get(), 0, row.isDirectory));
        ASSERT_TRUE(made) << row.path;
        EXPECT_EQ(stringOf(made), row.urlText);
        EXPECT_EQ(pathOf(made, false), row.pathBack);
        EXPECT_EQ(textOf(ZoURLCopyFileSystemPath(made.get(), 0)), row.pathBack);
        EXPECT_EQ(ZoURLHasDirectoryPath(made.get()), row.urlText.back() == '/');
    }
    const auto relative = zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, ZOSTR("a/b"), 0, false));
    EXPECT_EQ(pathOf(relative), (std::filesystem::current_path() / "a/b").string());

    const std::string latin = "/caf\xE9";  // no UTF-8: only the bytes come back
    const auto bytes = zoAdopt(
        ZoURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const uint8_t*>(latin.data()), 5, false));
    EXPECT_EQ(stringOf(bytes), "file:///caf%E9");
    EXPECT_EQ(pathOf(bytes), latin);
    EXPECT_EQ(textOf(ZoURLCopyFileSystemPath(bytes.get(), 0)), "(none)");

    uint8_t tight[5];
    EXPECT_FALSE(ZoURLGetFileSystemRepresentation(bytes.get(), true, tight, 5));
    for (const char* noFile : {"http://h/p", "file://elsewhere/p", "file:///a%00b", "file:p", "mailto:a", "file://"})
        EXPECT_EQ(pathOf(url(noFile)), "(none)") << noFile;
    EXPECT_EQ(pathOf(url("FILE://localhost/p/")), "/p");
    EXPECT_EQ(pathOf(url("p", url("http://h/").get()), false), "(none)");
    EXPECT_FALSE(zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, str(std::string_view("/a\0b", 4)).get(), 0, false)));
    EXPECT_FALSE(zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, ZOSTR("/a"), 1, false)));
    EXPECT_FALSE(zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, ZOSTR(""), 0, true)));
}

TEST(URL, editsOfThePath)
{
    struct Row {
        const char *given, *appended, *asDirectory, *deleted, *extended;
    };
    static const Row kTable[] = {
        {"http://h", "http://h/x%20y", "http://h/x%20y/", "http://h/", "(none)"},
        {"http://h/", "http://h/x%20y", "http://h/x%20y/", "http://h/", "(none)"},
        {"http://h/a/b.c?q#f", "http://h/a/b.c/x%20y?q#f", "http://h/a/b.c/x%20y/?q#f", "http://h/a/",
         "http://h/a/b.c.e%20?q#f"},
        {"http://h/a/b/", "http://h/a/b/x%20y", "http://h/a/b/x%20y/", "http://h/a/", "http://h/a/b.e%20/"},
        {"a", "a/x%20y", "a/x%20y/", "./", "a.e%20"},
        {"./", "./x%20y", "./x%20y/", "../", "(none)"},
        {"..", "../x%20y", "../x%20y/", "../../", "(none)"},
        {"a/.", "a/./x%20y", "a/./x%20y/", "./", "(none)"},
        {"mailto:a", "(none)", "(none)", "(none)", "(none)"},
    };
    for (const Row& row : kTable) {
        const auto given = url(row.given);
        const auto component = ZOSTR("/x y");
        EXPECT_EQ(stringOf(ZoURLCreateCopyAppendingPathComponent(nullptr, given.get(), component, false)),
                  row.appended);
        EXPECT_EQ(stringOf(ZoURLCreateCopyAppendingPathComponent(nullptr, given.get(), component, true)),
                  row.asDirectory);
        EXPECT_EQ(stringOf(ZoURLCreateCopyDeletingLastPathComponent(nullptr, given.get())), row.deleted);
        EXPECT_EQ(stringOf(ZoURLCreateCopyAppendingPathExtension(nullptr, given.get(), ZOSTR("e "))), row.extended);
    }
    // An empty path stands for the base's.
    const auto base = url("http://h/a/b.m3u8");
    const auto query = url("?q", base.get());
    EXPECT_EQ(stringOf(ZoURLCreateCopyDeletingLastPathComponent(nullptr, query.get())), "http://h/a/");
    EXPECT_EQ(textOf(ZoURLCopyPathExtension(query.get())), "m3u8");
    EXPECT_EQ(
        stringOf(ZoURLCreateCopyAppendingPathComponent(nullptr, url("?q", url("x/").get()).get(), ZOSTR("a:b"), false)),
        "x/a:b?q");
    EXPECT_EQ(stringOf(ZoURLCreateCopyAppendingPathComponent(nullptr, url("#f").get(), ZOSTR("a:b"), false)),
              "./a:b#f");

    static const Pair kExtensions[] = {
        {"a.b", "b"},      {"/x.y/a.b.c/", "c"}, {"/x.y/a", "(none)"},          {"/.profile", "(none)"},
        {"/a.", "(none)"}, {"/..", "(none)"},    {"/a.%C3%A9?x.y", "\xC3\xA9"}, {"/...a", "(none)"}};
    for (const Pair& row : kExtensions)
        EXPECT_EQ(textOf(ZoURLCopyPathExtension(url(row.given).get())), row.expected) << row.given;
}

TEST(URL, partsOfHierarchicalAndOpaqueTexts)
{
    EXPECT_EQ(textOf(ZoURLCopyPath(url("http://h/a%20b/c;d?q").get())), "/a%20b/c;d");
    EXPECT_EQ(textOf(ZoURLCopyPath(url("http://h").get())), "");
    EXPECT_EQ(textOf(ZoURLCopyPath(url("mailto:a@b").get())), "(none)");
    EXPECT_FALSE(ZoURLCanBeDecomposed(url("data:,x").get()));
    EXPECT_TRUE(ZoURLCanBeDecomposed(url("a/b").get()));
    EXPECT_TRUE(ZoURLHasDirectoryPath(url("?q", url("http://h/d/").get()).get()));
    EXPECT_FALSE(ZoURLHasDirectoryPath(url("http://h").get()));
    EXPECT_TRUE(ZoURLHasDirectoryPath(url("http://h/a/..").get()));
    EXPECT_EQ(textOf(ZoURLCopyScheme(url("a/b").get())), "(none)");
    EXPECT_EQ(textOf(ZoURLCopyScheme(url("skd-x://key").get())), "skd-x");
}

TEST(URLEscapes, goInAndComeOut)
{
    constexpr ZoStringEncoding kUTF8 = kZoStringEncodingUTF8, kRoman = kZoStringEncodingClassicRoman;
    struct Row {
        const char *plain, *leave, *force;
        ZoStringEncoding encoding;
        const char* escaped;
    };
    static const Row kTable[] = {
        {"az09-._~!$&'()*+,;=:@/?", nullptr, nullptr, kUTF8, "az09-._~!$&'()*+,;=:@/?"},
        {"a b%#[]\"<>\\^`{|}\x7F\n", nullptr, nullptr, kUTF8, "a%20b%25%23%5B%5D%22%3C%3E%5C%5E%60%7B%7C%7D%7F%0A"},
        {"a/b", nullptr, "/", kRoman, "a%2Fb"},
        {"a b#c", " #", nullptr, kUTF8, "a b#c"},
        {"\xC3\xA9\xF0\x9F\x8E\xB5", nullptr, nullptr, kUTF8, "%C3%A9%F0%9F%8E%B5"},
        {"\xC3\xA9", nullptr, nullptr, kRoman, "%8E"},
        {"\xF0\x9F\x8E\xB5", nullptr, nullptr, kRoman, "(none)"},
        {"", nullptr, nullptr, kUTF8, ""},
    };
    for (const Row& row : kTable) {
        const auto leave = row.leave ? str(row.leave) : nullptr, force = row.force ? str(row.force) : nullptr;
        const auto escaped = zoAdopt(ZoURLCreateStringByAddingPercentEscapes(nullptr, str(row.plain).get(), leave.get(),
                                                                             force.get(), row.encoding));
        EXPECT_EQ(text(escaped), row.escaped);
        if (!escaped) continue;
        EXPECT_EQ(textOf(ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(nullptr, escaped.get(), ZOSTR(""),
                                                                                 row.encoding)),
                  row.plain);
    }
    const auto replace = [](std::string_view given, const char* leave) {
        const auto set = leave ? str(leave) : nullptr;
        return textOf(
            ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(nullptr, str(given).get(), set.get(), kUTF8));
    };
    EXPECT_EQ(replace("%41%2f%c3%a9%41", "/"),
              "A%2f\xC3\xA9"
              "A");
    EXPECT_EQ(replace("%41%c3%a9%42",
                      "z\xC3\xA9"
                      "B\xE2\x82\xAC"
                      "a"),
              "A%c3%a9%42");
    EXPECT_EQ(replace("%41\xC3\xA9", nullptr), "%41\xC3\xA9");
    for (const char* broken : {"%", "%4", "%4x", "a%", "%C3", "%FF", "%C3x%A9"})
        EXPECT_EQ(replace(broken, ""), "(none)") << broken;
}
