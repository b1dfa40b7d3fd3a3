#include "Foundation/Objects/ZoAssertPrivate.h"

#ifndef NDEBUG
#include <cstdio>
#include <cstdlib>
#endif

bool _ZoReportMisuse([[maybe_unused]] const char* function, [[maybe_unused]] const char* message)
{
#ifndef NDEBUG
    std::fprintf(stderr, "%s: %s\n", function, message);
    std::abort();
#else
    return false;
#endif
}
