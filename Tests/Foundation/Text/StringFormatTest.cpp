#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>

#include "Tests/Foundation/Text/TextSupport.h"

using namespace luvia_test;

/// The text, or "(none)" for a refusal.
template <typename... Arguments>
static std::string formatted(ZoStringRef format, Arguments... arguments)
{
    return textOf(ZoStringCreateWithFormat(nullptr, nullptr, format, arguments...));
}

/// Both say the same to the same format and arguments.
template <typename... Arguments>
static void expectAsTheLibrary(const std::string& format, Arguments... arguments)
{
    char buffer[2048];
    const int length = snprintf(buffer, sizeof buffer, format.c_str(), arguments...);
    const std::string expected = length < 0 ? "(none)" : std::string(buffer, static_cast<size_t>(length));
    EXPECT_EQ(formatted(fromUTF8(format).get(), arguments...), expected) << format;
}

static const char* const kFlags[] = {"", "-", "+", " ", "#", "0", "-0", "+0", "# ", "-#", "'", "I", "+ -#0"};
static const char* const kWidths[] = {"", "1", "7", "300"};
static const char* const kPrecisions[] = {"", ".", ".0", ".1", ".12", ".280"};

/// Every combination of flags, width and precision with each of the endings, "<" and ">" around it.
template <typename Value>
static void sweep(std::initializer_list<const char*> endings, std::initializer_list<Value> values)
{
    for (const char* ending : endings)
        for (const char* flags : kFlags)
            for (const char* width : kWidths)
                for (const char* precision : kPrecisions) {
                    const std::string format = std::string("<%") + flags + width + precision + ending + ">";
                    for (Value value : values) expectAsTheLibrary(format, value);
                    if (*width || *precision) continue;
                    for (int amount : {-9, 0, 5}) {
                        expectAsTheLibrary(std::string("<%") + flags + "*.*" + ending + ">", amount, amount / 2,
                                           *values.begin());
                    }
                }
}

TEST(StringFormat, equalsSnprintfForIntegers)
{
    sweep<int>({"d", "i", "u", "o", "x", "X", "hd", "hhd", "hu", "hhx", "b"}, {0, 65, -1, INT_MAX, INT_MIN});
    sweep<int>({"c"}, {0, 65, 256 + 65});  // what is not ASCII is no text in a buffer of bytes
    sweep<long>({"ld", "lx", "zd", "td", "zu", "jd", "lld", "llu", "qd", "Ld"}, {0, 1, -1, LONG_MAX, LONG_MIN});
}

TEST(StringFormat, equalsSnprintfForReals)
{
    sweep<double>({"f", "F", "e", "E", "g", "G", "a", "A", "lf"}, {0.0, -0.0, 1.0 / 3, -1e300, 1e-300, HUGE_VAL, NAN});
    sweep<long double>({"Lf", "Le", "La"}, {1.0L / 3, -1e30L});
}

TEST(StringFormat, equalsSnprintfForPointersAndText)
{
    sweep<const char*>({"s"}, {"", "text", "a longer text than twelve", nullptr});
    sweep<const void*>({"p"}, {nullptr, &kFlags});
    sweep<const wchar_t*>({"ls", "S"}, {L"", L"text", nullptr});
    sweep<wint_t>({"lc", "C"}, {L'x'});
    expectAsTheLibrary("100%% %5%| %d", 1);
    for (int error : {0, ENOENT}) {
        errno = error;
        char buffer[100];
        snprintf(buffer, sizeof buffer, "%m|%30m");
        errno = error;
        EXPECT_EQ(formatted(ZOSTR("%m|%30m")), buffer);
        EXPECT_EQ(errno, error);
    }
}

TEST(StringFormat, equalsSnprintfForPositions)
{
    expectAsTheLibrary("%2$s %1$d %2$s", 1, "x");
    expectAsTheLibrary("%3$*1$.*2$f|%1$d", 9, 2, 3.14159);
    expectAsTheLibrary("%5$lld %4$g %3$Lg %2$c %1$s", "s", 'c', 2.5L, 1.5, 1LL << 40);
    expectAsTheLibrary("%3$d", 1, 2, 3);  // those that nobody names are ints
    expectAsTheLibrary("%1$d %1$u %1$x%%", 5);
    EXPECT_EQ(formatted(ZOSTR("%2$@-%1$@"), ZOSTR("a"), ZOSTR("b")), "b-a");
}

TEST(StringFormat, refusesWhatIsNoFormat)
{
    const char* formats[] = {"%n",      "%1$n",    "%hhn",  "%",         "%d %",          "%5",
                             "%-",      "%y",      "%ly",   "%@%n",      "%0$d",          "%65$d",
                             "%1$d %d", "%d %1$d", "%*1$d", "%1$d %1$f", "%99999999999d", "%.99999999999d",
                             "%hf",     "%Ls",     "%lp",   "%h@",       "%\u20ac"};
    int untouched = 7;
    for (const char* format : formats)
        EXPECT_EQ(formatted(fromUTF8(format).get(), &untouched, &untouched), "(none)") << format;
    EXPECT_EQ(untouched, 7);
    const auto string = mutableFrom(ZOSTR("kept"));
    ZoStringAppendFormat(string.get(), nullptr, ZOSTR(" %s%n"), "x", &untouched);
    EXPECT_EQ(toUTF8(string.get()), "kept");
    EXPECT_EQ(formatted(ZOSTR("%*d"), INT_MIN, 1), "(none)");
}

TEST(StringFormat, printsObjectsByTheirDescription)
{
    EXPECT_EQ(formatted(ZOSTR("[%@]"), number(42).get()), "[42]");
    const auto wide = fromUTF8("\u20ac\U0001F600x");
    EXPECT_EQ(formatted(ZOSTR("[%@|%6@|%-6@|%.1@|%@]"), wide.get(), wide.get(), wide.get(), wide.get(), nullptr),
              "[\u20ac\U0001F600x|  \u20ac\U0001F600x|\u20ac\U0001F600x  |\u20ac|(null)]");
    const auto string = mutableFrom(ZOSTR("x"));
    ZoStringAppendFormat(string.get(), nullptr, ZOSTR("<%@%@>"), string.get(), wide.get());
    EXPECT_EQ(toUTF8(string.get()), "x<x\u20ac\U0001F600x>");
}

TEST(StringFormat, readsTextAsUTF8AndKeepsTheRest)
{
    EXPECT_EQ(formatted(fromUTF8("\u00e9 %s %.2s|%ls|%.4ls|%c").get(), "\xC3\xA9", "\xE2\x82\xAC", L"\u20ac",
                        L"\u20ac\u20ac", 0xA9),
              "\u00e9 \u00e9 \uFFFD\uFFFD|\u20ac|\u20ac|\u00a9");
    const std::string longText(5000, 'x');
    EXPECT_EQ(formatted(ZOSTR("%s%5001s"), longText.c_str(), longText.c_str()), longText + " " + longText);
}
