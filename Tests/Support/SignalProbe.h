// Which failures were signalled since the probe was made, as the framework's own record tells.

#pragma once

#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Ostra/OstraDebug.h"

namespace luvia_test {

class SignalProbe {
public:
    SignalProbe() : countBefore_(TavGetErrorCount()) {}

    /// How many were signalled, warnings included.
    uint32_t count() const { return TavGetErrorCount() - countBefore_; }
    /// Of the last one; 0 and empty texts if there was none.
    OSStatus code() const { return last().code; }
    std::string message() const { return last().message; }
    std::string errorName() const { return last().errorName; }
    std::string function() const { return last().function; }
    std::string subsystem() const { return last().subsystem; }
    std::string file() const { return last().file; }

private:
    struct Last {
        OSStatus code = 0;
        std::string errorName, message, subsystem, function, file;
    };

    static std::string textOf(ZoStringRef string)
    {
        char text[256] = "";
        ZoStringGetCString(string, text, sizeof(text), kZoStringEncodingClassicRoman);
        return text;
    }

    Last last() const
    {
        if (count() == 0) return {};
        Last last;
        ZoRef<ZoStringRef> errorName, message, subsystem, function, file;
        TavCopyLastSignaledErrorInfo(&last.code, errorName.outParam(), message.outParam(), subsystem.outParam(),
                                     function.outParam(), file.outParam(), nullptr, nullptr);
        last.errorName = textOf(errorName.get());
        last.message = textOf(message.get());
        last.subsystem = textOf(subsystem.get());
        last.function = textOf(function.get());
        last.file = textOf(file.get());
        return last;
    }

    uint32_t countBefore_;
};

}  // namespace luvia_test
