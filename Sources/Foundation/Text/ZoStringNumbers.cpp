// Numbers that stand at the start of a string. Only ASCII digits and the point count, whatever the C locale is.

#include <charconv>
#include <cmath>
#include <limits>

#include "Foundation/Text/ZoStringPrivate.h"
#include "Memory/Containers.h"

using zo::TextView;

static bool isBlank(UniChar unit) { return unit == ' ' || (unit >= '\t' && unit <= '\r'); }
static bool isDigit(UniChar unit) { return unit >= '0' && unit <= '9'; }

static ZoIndex skipBlanks(const TextView& text)
{
    ZoIndex at = 0;
    while (at < text.length && isBlank(text[at])) ++at;
    return at;
}

int32_t ZoStringGetIntValue(ZoStringRef string)
{
    const TextView text = zo::textView(string);
    ZoIndex at = skipBlanks(text);
    const bool negative = at < text.length && text[at] == '-';
    if (at < text.length && (text[at] == '-' || text[at] == '+')) ++at;
    const int64_t limit = negative ? -int64_t{INT32_MIN} : INT32_MAX;
    int64_t value = 0;
    for (; at < text.length && isDigit(text[at]); ++at) {
        value = 10 * value + (text[at] - '0');
        if (value > limit) value = limit;
    }
    return static_cast<int32_t>(negative ? -value : value);
}

/// Whether a number that leaves the range of double leaves it upwards: by the power of ten of its first digit.
static bool isHuge(const char* first, const char* last)
{
    int64_t power = 0;
    bool pointSeen = false, digitSeen = false;
    const char* at = first;
    for (; at < last && *at != 'e' && *at != 'E'; ++at) {
        if (*at == '.')
            pointSeen = true;
        else if (*at != '0' || digitSeen)
            digitSeen = true, power += !pointSeen;
        else if (pointSeen)
            --power;
    }
    if (at == last) return power > 0;
    const bool negative = *++at == '-';
    int64_t exponent = 0;
    for (at += negative || *at == '+'; at < last; ++at)
        exponent = std::min<int64_t>(10 * exponent + (*at - '0'), INT64_MAX / 32);
    return power + (negative ? -exponent : exponent) > 0;
}

static double readDouble(const char* first, const char* last, bool negative)
{
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error == std::errc::result_out_of_range)
        value = isHuge(first, end) ? std::numeric_limits<double>::infinity() : 0;
    return negative ? -value : value;
}

double ZoStringGetDoubleValue(ZoStringRef string)
{
    const TextView text = zo::textView(string);
    ZoIndex at = skipBlanks(text);
    const bool negative = at < text.length && text[at] == '-';
    if (at < text.length && (text[at] == '-' || text[at] == '+')) ++at;
    if (at >= text.length || !(isDigit(text[at]) || text[at] == '.')) return 0;
    if (!text.wide) {
        const char* bytes = static_cast<const char*>(text.units);
        return readDouble(bytes + at, bytes + text.length, negative);
    }
    memory::String number;
    for (; at < text.length && text[at] < 0x80; ++at) number.push_back(static_cast<char>(text[at]));
    return readDouble(number.data(), number.data() + number.size(), negative);
}
