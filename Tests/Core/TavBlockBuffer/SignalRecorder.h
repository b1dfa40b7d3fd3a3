// Records what is signalled, in place of the log: link the test with -Wl,--wrap=TavSignalErrorAt3 and define the wrap
// in one of its files with LUVIA_TEST_RECORDS_SIGNALS.

#pragma once

#include <ostream>
#include <string>

#include "Platform/Common/TavSignal.h"

namespace luvia_test {

struct Signalled {
    OSStatus code = 0;
    std::string name;
    std::string message;
    int count = 0;

    /// What was signalled since the last time.
    static Signalled take() { return std::exchange(last(), {}); }
    static Signalled& last()
    {
        static Signalled sLast;
        return sLast;
    }
};

}  // namespace luvia_test

#define LUVIA_TEST_RECORDS_SIGNALS                                                                                    \
    extern "C" OSStatus __wrap_TavSignalErrorAt3(const char*, uintptr_t, OSStatus code, const char* errorName,        \
                                                 const char* message, const char*, const char*, const char*, int64_t, \
                                                 const void*, int32_t)                                                \
    {                                                                                                                 \
        auto& last = luvia_test::Signalled::last();                                                                   \
        last = {code, errorName, message, last.count + 1};                                                            \
        return code;                                                                                                  \
    }                                                                                                                 \
    static_assert(true)
