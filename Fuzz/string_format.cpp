// Any text as a format, over more arguments than it can name: taken or refused in peace.

#include <cstdlib>
#include <cstring>

#include "Tests/Support/Objects.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 256) return 0;
    const std::string format(reinterpret_cast<const char*>(data), size);
    int conversions = 0;
    size_t digits = 0;
    for (const char character : format) {
        conversions += character == '%';
        digits = character >= '0' && character <= '9' ? digits + 1 : 0;
        if (digits > 3 || strchr("sS@*$m", character)) return 0;  // reads memory, or takes time and room as it likes
    }
    const auto string = luvia_test::str(format);
    if (conversions > 8 || !string) return 0;
    const auto made = zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, string.get(), 1, 2, 3, 4, 5, 6, 7, 8, 1.0, 2.0,
                                                       3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9, 10, 11, 12, 13, 14, 15, 16, 17,
                                                       18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28));
    if (made && ZoStringGetLength(made.get()) < 0) abort();
    return 0;
}
