// The preferences that control logging as a whole.

#include <algorithm>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavLogPrivate.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"

// Static, so that there is one whatever memory there is.
static TavMutex_ sTavLogControlMutex = {PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP, nullptr};
const TavReentrantMutexRef gTavLogControlMutex = &sTavLogControlMutex;
bool gAllowAutomaticTavNotes = true;

static constexpr int64_t kLeastSizeLimit = 0x10000;

static ZoRef<ZoTypeRef> copyPreference(ZoStringRef key)
{
    return zoAdopt(ZoPreferencesCopyAppValue(key, ZOSTR(kTavApplicationID)));
}

static bool isString(ZoTypeRef value) { return value && ZoGetTypeID(value) == ZoStringGetTypeID(); }
static bool isNumber(ZoTypeRef value) { return value && ZoGetTypeID(value) == ZoNumberGetTypeID(); }
static bool isBoolean(ZoTypeRef value) { return value && ZoGetTypeID(value) == ZoBooleanGetTypeID(); }

static bool numberIsNotZero(ZoTypeRef value)
{
    int number = 0;
    ZoNumberGetValue(static_cast<ZoNumberRef>(value), kZoNumberIntType, &number);
    return number != 0;
}

static void setDestination(int32_t destination) { __atomic_store_n(&gTavLogControl, destination, __ATOMIC_RELAXED); }

static int64_t readSizeLimit()
{
    const auto value = copyPreference(ZOSTR("tav_notes_log_limit"));
    int64_t limit = 0;
    if (isString(value.get())) {
        limit = ZoStringGetIntValue(static_cast<ZoStringRef>(value.get()));
    } else if (isNumber(value.get())) {
        ZoNumberGetValue(static_cast<ZoNumberRef>(value.get()), kZoNumberSInt64Type, &limit);
    }
    return limit == 0 ? 0 : std::max(limit, kLeastSizeLimit);
}

static void useExternalFile(bool isPublic)
{
    char path[4096];
    const auto value = isPublic ? ZoRef<ZoTypeRef>() : copyPreference(ZOSTR("tav_notes_log"));
    const bool hasPath = isString(value.get()) && ZoStringGetCString(static_cast<ZoStringRef>(value.get()), path,
                                                                     sizeof(path), kZoStringEncodingUTF8);
    tav_note_set_external_log_file(hasPath ? path : nullptr, readSizeLimit(), isPublic);
    tav_note_open_external_log_file();
}

static void useExternalFileAsNamed() { useExternalFile(false); }
static void usePublicFile() { useExternalFile(true); }
static void useBlockBuffer()
{
    if (tav_log_prepare_block_buffer() == 0) setDestination(kTavLogControl_BlockBuffer);
}

static void readDestinationFromString(ZoStringRef text)
{
    struct Row {
        ZoStringRef name;
        int32_t destination;
        void (*use)();  // for what takes more than setting the destination
    };
    const Row rows[] = {
        {ZOSTR("true"), kTavLogControl_Syslog, nullptr},
        {ZOSTR("yes"), kTavLogControl_Syslog, nullptr},
        {ZOSTR("on"), kTavLogControl_Syslog, nullptr},
        {ZOSTR("syslog"), kTavLogControl_Syslog, nullptr},
        {ZOSTR("stderr"), kTavLogControl_StandardError, nullptr},
        {ZOSTR("stdout"), kTavLogControl_StandardOutput, nullptr},
        {ZOSTR("external"), kTavLogControl_ExternalFile, useExternalFileAsNamed},
        {ZOSTR("external_no_echo_oslog"), kTavLogControl_ExternalFile, useExternalFileAsNamed},
        {ZOSTR("public"), kTavLogControl_ExternalFile, usePublicFile},
        {ZOSTR("bbuf"), kTavLogControl_BlockBuffer, useBlockBuffer},
        {ZOSTR("ring"), kTavLogControl_Formatted, nullptr},
    };
    for (const Row& row : rows) {
        if (ZoStringCompare(text, row.name, kZoCompareCaseInsensitive) != kZoCompareEqualTo) continue;
        return row.use ? row.use() : setDestination(row.destination);
    }
    setDestination(ZoStringGetIntValue(text) != 0 ? kTavLogControl_Syslog : kTavLogControl_Off);
}

static void readDestination()
{
    const auto value = copyPreference(ZOSTR("tav_notes"));
    if (!value) {
        tav_note_close_external_log_file();
        setDestination(kTavLogControl_Syslog);
    } else if (isString(value.get())) {
        tav_note_close_external_log_file();
        readDestinationFromString(static_cast<ZoStringRef>(value.get()));
    } else if (isNumber(value.get())) {
        setDestination(numberIsNotZero(value.get()) ? kTavLogControl_Syslog : kTavLogControl_Off);
    } else if (isBoolean(value.get())) {
        setDestination(ZoEqual(value.get(), kZoBooleanTrue) ? kTavLogControl_Syslog : kTavLogControl_Off);
    } else {
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavNote| %s: Cannot use type with %s %s",
                "tav_note_read_control_preferences", "tav_notes", kTavApplicationID);
    }
}

static void readAllowAutomaticNotes()
{
    bool allow = true;
    const auto value = copyPreference(ZOSTR("automatic_tav_notes"));
    int32_t level = 0;
    if (isString(value.get())) {
        if (tav_note_get_value_for_string_preference(static_cast<ZoStringRef>(value.get()), &level)) allow = level != 0;
    } else if (isNumber(value.get())) {
        allow = numberIsNotZero(value.get());
    } else if (isBoolean(value.get())) {
        allow = ZoEqual(value.get(), kZoBooleanTrue);
    }
    // Stored once, when it is known: a note that registers meanwhile reads it without the lock.
    __atomic_store_n(&gAllowAutomaticTavNotes, allow, __ATOMIC_RELAXED);
}

OSStatus tav_note_read_control_preferences()
{
    TavLogControlLock lock;
    readDestination();
    readAllowAutomaticNotes();
    return 0;
}

void tav_note_initialize_logging()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) { tav_note_read_control_preferences(); });
}

void TavNote_RefreshControlPreferences(void)
{
    tav_note_initialize_logging();
    // What another process stored meanwhile is seen from here on.
    ZoPreferencesSynchronize(ZOSTR(kTavApplicationID), kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
    tav_note_read_control_preferences();
}

Boolean tav_note_get_value_for_string_preference(ZoStringRef string, int32_t* valueOut)
{
    const auto is = [string](ZoStringRef name) {
        return ZoStringCompare(string, name, kZoCompareCaseInsensitive) == kZoCompareEqualTo;
    };
    *valueOut = 0;
    if (!string) return false;
    if (is(ZOSTR("true")) || is(ZOSTR("yes")) || is(ZOSTR("on"))) {
        *valueOut = 1;
        return true;
    }
    if (is(ZOSTR("false")) || is(ZOSTR("no")) || is(ZOSTR("off")) || is(ZOSTR("0"))) return true;
    const int32_t value = ZoStringGetIntValue(string);
    *valueOut = std::max(value, 0);
    return value != 0;
}
