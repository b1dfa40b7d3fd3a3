#include <dispatch/dispatch.h>

#include <cstdlib>
#include <cstring>

#include "Foundation/Services/ZoPreferences.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraDebug.h"
#include "Utilities/TavZoUtilities_Preferences.h"

int32_t TavDebugIsInternalBuild(void) { return 0; }

void TavUserCrash(void) { __builtin_trap(); }

int32_t TavUserBreak(void)
{
    static bool sBreaks;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        const char* setting = getenv("USERBREAK");
        sBreaks = setting && strcmp(setting, "1") == 0;
    });
    if (sBreaks) __builtin_trap();
    return 0;
}

int32_t TavUserFaultWithMessage(const char*) { return 0; }
int32_t TavUserStackshotWithMessage(const char*) { return 0; }
int32_t TavUserTailspinWithMessage(const char*) { return 0; }

Boolean TavDebugSettingGetKeyAsInteger(ZoStringRef key, ZoIndex* valueOut)
{
    Boolean exists = false;
    const ZoIndex value = ZoPreferencesGetAppIntegerValue(key, ZOSTR(kTavApplicationID), &exists);
    if (valueOut) *valueOut = value;
    return exists;
}

Boolean TavDebugSettingGetKeyAsBoolean(ZoStringRef key, Boolean* valueOut, Boolean defaultValue)
{
    Boolean exists = false;
    const Boolean value = ZoPreferencesGetAppBooleanValue(key, ZOSTR(kTavApplicationID), &exists);
    if (valueOut) *valueOut = exists ? value : defaultValue;
    return exists;
}

Boolean TavIsItOKToLogURLs(void)
{
    static Boolean sAllowed;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        sAllowed = TavGetZoPreferenceNumberWithDefault(ZOSTR("logurls"), ZOSTR(kTavApplicationID), 0) != 0;
        if (sAllowed)
            tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                    "/workspace/tav/Sources/Platform/Ostra/OstraDebug %s: %s to log URLs -- thank you for setting "
                    "\"defaults write com.orvane.luvia logurls -bool %s\"",
                    "TavIsItOKToLogURLs", "Allowing", "YES");
    });
    return sAllowed;
}
