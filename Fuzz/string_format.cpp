// Formats in two ways. Matched: two conversions of one kind with arbitrary flags and amounts, in order or by position,
// over arguments of that kind; without "%@" the C library judges. Arbitrary: any text, over more arguments than it can
// name, which must be taken or refused in peace.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

static void require(bool condition)
{
    if (!condition) abort();
}

/// A piece of a format: a conversion of a kind, with what the input has for its flags and amounts.
struct Piece {
    const char* ending;
    char kind;  // i: int, l: long long, d: double, s: text, @: object
};
static constexpr Piece kPieces[] = {{"d", 'i'}, {"hhx", 'i'}, {"o", 'i'}, {"lld", 'l'}, {"zu", 'l'}, {"jX", 'l'},
                                    {"f", 'd'}, {"e", 'd'},   {"G", 'd'}, {"a", 'd'},   {"s", 's'},  {"@", '@'},
                                    {"@", '@'}, {"hd", 'i'},  {"i", 'i'}, {"g", 'd'}};

/// Flags, width and precision as the bytes say, of at most three digits each.
static std::string amounts(const uint8_t*& data, const uint8_t* end)
{
    static constexpr char kAlphabet[] = "-+ #0'0123456789....";
    std::string text;
    int digits = 0;
    while (data < end && text.size() < 10) {
        const uint8_t byte = *data++;
        if (byte >= 0xC0) break;
        const char character = kAlphabet[byte % (sizeof kAlphabet - 1)];
        digits = character >= '0' && character <= '9' ? digits + 1 : 0;
        if (digits <= 3) text.push_back(character);
    }
    return text;
}

template <typename Value>
static void check(const std::string& format, bool hasObject, Value first, Value second)
{
    char expected[4096];
    const auto string =
        zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(format.data()),
                                        static_cast<ZoIndex>(format.size()), kZoStringEncodingUTF8, false));
    if (!string) return;
    const auto made = zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, string.get(), first, second));
    if (!made || hasObject || format.find('\0') != std::string::npos) return;
    const int length = snprintf(expected, sizeof expected, format.c_str(), first, second);
    require(length >= 0 && length == ZoStringGetLength(made.get()));
    const auto same = zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(expected), length,
                                                      kZoStringEncodingUTF8, false));
    require(same && ZoEqual(same.get(), made.get()));
}

/// Two conversions of one kind, in order or by position, with text between them.
static void checkMatched(const uint8_t* data, const uint8_t* end)
{
    const uint8_t choice = *data++;
    const Piece& piece = kPieces[choice & 15];
    std::string format;
    for (int i = 0; i < 2; ++i) {
        format += "%";
        if (choice & 0x20) format += (choice & 0x40) ? std::to_string(2 - i) + "$" : std::to_string(i + 1) + "$";
        format += amounts(data, end) + piece.ending + ".";
    }
    int64_t number = 0;
    memcpy(&number, data, static_cast<size_t>(end - data) < 8 ? static_cast<size_t>(end - data) : 8);
    double real;
    memcpy(&real, &number, 8);
    switch (piece.kind) {
        case 'i': return check(format, false, static_cast<int>(number), 7);
        case 'l': return check(format, false, static_cast<long long>(number), 7LL);
        case 'd': return check(format, false, real > -1e100 && real < 1e100 ? real : 0.5, 1.0 / 3);
        case 's': return check(format, false, "text", "other");
        default: return check(format, true, ZOSTR("object"), static_cast<ZoStringRef>(nullptr));
    }
}

/// A format that is not ours at all: taken only if it reads nothing but int-like arguments, which there are enough of.
static void checkArbitrary(const uint8_t* data, const uint8_t* end)
{
    std::string format(data, end);
    int conversions = 0;
    size_t digits = 0;
    for (const char character : format) {
        conversions += character == '%';
        digits = character >= '0' && character <= '9' ? digits + 1 : 0;
        if (digits > 3 || strchr("sS@*$m", character)) return;  // reads memory, or takes time and room as it likes
    }
    if (conversions > 8) return;
    const auto string = zoAdopt(ZoStringCreateWithBytes(nullptr, data, end - data, kZoStringEncodingUTF8, false));
    if (!string) return;
    const auto made = zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, string.get(), 1, 2, 3, 4, 5, 6, 7, 8, 1.0, 2.0,
                                                       3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9, 10, 11, 12, 13, 14, 15, 16, 17,
                                                       18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28));
    if (made) require(ZoStringGetLength(made.get()) >= 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2 || size > 256) return 0;
    if (data[0] & 1)
        checkMatched(data + 1, data + size);
    else
        checkArbitrary(data + 1, data + size);
    return 0;
}
