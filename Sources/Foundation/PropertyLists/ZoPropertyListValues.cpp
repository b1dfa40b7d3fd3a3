// Values that both forms of property lists know: dates as ISO 8601 text, and integers of either sign.

#include <chrono>
#include <cmath>

#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"

namespace zoplist {

using namespace std::chrono;

constexpr sys_days kReferenceDay = 2001y / January / 1;

bool formatDate(ZoAbsoluteTime time, char (&text)[24])
{
    const double whole = std::floor(time);
    if (!(whole >= -7e10 && whole <= 3e11)) return false;  // also keeps NaN from the conversion
    const sys_seconds at = kReferenceDay + seconds(static_cast<int64_t>(whole));
    const year_month_day date(floor<days>(at));
    if (date.year() < 1y || date.year() > 9999y) return false;
    const hh_mm_ss clock(at - floor<days>(at));
    std::snprintf(
        text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", static_cast<unsigned>(int{date.year()}) % 10000,
        unsigned{date.month()} % 100, unsigned{date.day()} % 100, static_cast<unsigned>(clock.hours().count()) % 100,
        static_cast<unsigned>(clock.minutes().count()) % 100, static_cast<unsigned>(clock.seconds().count()) % 100);
    return true;
}

bool parseDate(std::string_view text, ZoAbsoluteTime& time)
{
    static constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    if (text.size() != kForm.size()) return false;
    unsigned fields[6] = {};
    size_t field = 0;
    for (size_t i = 0; i < kForm.size(); ++i) {
        if (kForm[i] == '0') {
            if (text[i] < '0' || text[i] > '9') return false;
            fields[field] = fields[field] * 10 + static_cast<unsigned>(text[i] - '0');
        } else {
            if (text[i] != kForm[i]) return false;
            ++field;
        }
    }
    const auto [years, months, day, hour, minute, second] = fields;
    const year_month_day date(year(static_cast<int>(years)), month(months), std::chrono::day(day));
    if (years < 1 || !date.ok() || hour > 23 || minute > 59 || second > 59) return false;
    const auto at = sys_days(date) - kReferenceDay + hours(hour) + minutes(minute) + seconds(second);
    time = static_cast<double>(seconds(at).count());
    return true;
}

bool Output::append(ZoStringRef string, ZoStringEncoding encoding)
{
    if (!string) return false;
    const ZoRange all = ZoRangeMake(0, ZoStringGetLength(string));
    ZoIndex size = 0;
    if (ZoStringGetBytes(string, all, encoding, 0, false, nullptr, 0, &size) != all.length) return false;
    auto* to = size ? reinterpret_cast<uint8_t*>(extend(static_cast<size_t>(size))) : nullptr;
    if (to) ZoStringGetBytes(string, all, encoding, 0, false, to, size, &size);
    return true;
}

std::string_view trimmed(std::string_view text)
{
    static constexpr std::string_view kWhiteSpace = " \t\r\n";
    const size_t start = text.find_first_not_of(kWhiteSpace);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kWhiteSpace) - start + 1);
}

ZoRef<ZoTypeRef> createInteger(ZoAllocatorRef allocator, bool isNegative, uint64_t magnitude)
{
    const uint64_t bits = isNegative ? 0 - magnitude : magnitude;
    if (!isNegative && magnitude > INT64_MAX) {
        const ZoSInt128 wide = {0, bits};
        return zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator, kZoNumberSInt128Type, &wide));
    }
    const auto value = static_cast<int64_t>(bits);
    return zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator, kZoNumberSInt64Type, &value));
}

}  // namespace zoplist
