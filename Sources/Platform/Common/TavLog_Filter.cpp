#include <algorithm>
#include <cstring>

#include "Platform/Common/TavLogPrivate.h"

static constexpr char kTypeDataSequence[] = "}*.P";
static constexpr char kSizePlusPointer[] = "(%zu) %p";

namespace {

// The copy so far; takes nothing beyond its end.
struct FilteredFormat {
    char* text;
    size_t length = 0;

    bool isFull() const { return length == kTavLogFilteredFormatSize - 1; }
    bool endsInPercent() const { return length > 0 && text[length - 1] == '%'; }
    void add(char c)
    {
        if (!isFull()) text[length++] = c;
    }
};

}  // namespace

// `at` is the brace behind a percent sign. Gives where to go on.
static const char* skipAnnotation(const char* at, FilteredFormat& out)
{
    const char* closing = strchr(at, '}');
    if (!closing) return at + strlen(at);
    constexpr size_t kSequenceLength = sizeof(kTypeDataSequence) - 1;
    if (strncmp(closing, kTypeDataSequence, kSequenceLength) != 0) return closing + 1;
    out.length -= 1;  // the percent sign
    for (const char* c = kSizePlusPointer; *c; ++c) out.add(*c);
    return closing + kSequenceLength;
}

/// Where a conversion begins that the text ends in, or the end of the text: printf(3) refuses the whole of a format
/// with such a conversion.
static char* unfinishedConversion(char* format)
{
    for (char* at = format; (at = strchr(at, '%')); ++at) {
        char* const conversion = at;
        at += 1 + strspn(at + 1, "#0- +'I123456789.*$hlLqjzt");
        if (*at == 0) return conversion;
    }
    return format + strlen(format);
}

bool CopyFilteredFormatString(const char* format, char* filtered)
{
    FilteredFormat out = {filtered};
    bool hasObject = false;
    while (*format && !out.isFull()) {
        if (*format == '{' && out.endsInPercent()) {
            format = skipAnnotation(format, out);
            continue;
        }
        if (*format == '@' && out.endsInPercent()) hasObject = true;
        out.add(*format++);
    }
    filtered[out.length] = 0;
    *unfinishedConversion(filtered) = 0;
    return hasObject;
}
