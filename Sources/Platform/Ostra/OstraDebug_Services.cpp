// The log behind signalled failures. Linked into every program that does not leave it out.

#include <dispatch/dispatch.h>

#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraDebugPrivate.h"

static void servicesLog(uintptr_t emitter, const void* returnAddress, const char* format, va_list arguments)
{
    tav_log_with_return_address_v(emitter, kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0, returnAddress, format,
                                  arguments);
}

// A failure that is signalled while the decision is being made, on the way through the preferences, must not wait for
// it.
static bool servicesWantsBacktraces()
{
    static TavNote sNote;
    static dispatch_once_t sOnce;
    static thread_local bool tDeciding = false;
    if (tDeciding) return false;
    tDeciding = true;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        tav_note_initialize_with_default_work(&sNote, "bt_signal_error", kTavApplicationID, 0);
        if (sNote != 0)
            tav_log(
                kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                "/workspace/tav/Sources/Platform/Ostra/OstraDebug %s: Displaying backtrace for TavSignalError -- thank "
                "you for setting \"defaults write com.orvane.luvia bt_signal_error -bool YES\"",
                "servicesWantsBacktraces");
    });
    tDeciding = false;
    return __atomic_load_n(&sNote, __ATOMIC_RELAXED) != 0;
}

extern "C" const TavDiagnosticServices __TavDiagnosticServices = {
    .log = servicesLog, .logBacktrace = TavLogBacktraceWithMsg, .wantsBacktraces = servicesWantsBacktraces};
