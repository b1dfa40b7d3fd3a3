// Notes: named 32-bit integers in a client's static data, which say how much it traces. A note's value comes from the
// preferences, under a key and an application ID, and can be changed while the process runs.
//
// A note is a plain integer, read without a lock: a silent one costs one read. The registry of notes is touched on a
// serial queue only; what is said to run on it must not be called from it.
//
//     static TavTraceNote sTrace;
//     tavTraceNoteRegister(&sTrace, "tavfile_trace", 0);                 // once
//     if (tavTraceIsOn(&sTrace)) tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavFile| %s: opened %s",
//     __func__, path);

#pragma once

#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// The framework's application ID, under which all of its preferences stand.
#define kTavApplicationID "com.orvane.luvia"

typedef int32_t TavNote;

enum {
    kTavNoteError_UnknownName = -16682,  ///< no such application ID or key
};

/// Where lines go; the preference "tav_notes" chooses.
enum {
    kTavLogControl_Off = 0,  ///< no line is formatted
    kTavLogControl_Syslog = 1,
    kTavLogControl_StandardError = 2,
    kTavLogControl_StandardOutput = 3,
    kTavLogControl_ExternalFile = 4,
    kTavLogControl_BlockBuffer = 5,
    kTavLogControl_Formatted = 6,  ///< lines are formatted and dropped
};
extern int32_t gTavLogControl;

// Registration. Gives `variable` its value, and keeps it for later changes: it must live as long as the process. The
// same variable under the same key a second time changes nothing. The default is what holds while the preferences are
// silent, unless "automatic_tav_notes" switches defaults off.

void tav_note_initialize_work(TavNote* variable, const char* key, const char* applicationID);
void tav_note_initialize_autolog_work(TavNote* variable, const char* key, const char* applicationID);
void tav_note_initialize_with_default_work(TavNote* variable, const char* key, const char* applicationID,
                                           int32_t defaultValue);
/// Category and subsystem have no effect here. `emitterOut` gets the note's log handle, 0, and may be absent.
void tav_note_initialize_category_with_default_work(TavNote* variable, const char* key, const char* applicationID,
                                                    const char* category, const char* subsystem, int32_t defaultValue,
                                                    const void* reserved, uintptr_t* emitterOut);
void tav_note_initialize_category_with_default_work_Zo(TavNote* variable, ZoStringRef key, ZoStringRef applicationID,
                                                       ZoStringRef category, ZoStringRef subsystem,
                                                       int32_t defaultValue, const void* reserved,
                                                       uintptr_t* emitterOut);

/// The static pair of a module's trace.
typedef struct TavTraceNote {
    uintptr_t emitter;
    TavNote level;
} TavTraceNote;

/// Registers the trace under the framework's application ID.
static inline void tavTraceNoteRegister(TavTraceNote* note, const char* key, int32_t defaultValue)
{
    tav_note_initialize_category_with_default_work(&note->level, key, kTavApplicationID, key, kTavApplicationID,
                                                   defaultValue, 0, &note->emitter);
}
static inline bool tavTraceIsOn(const TavTraceNote* note)
{
    return ZO_UNLIKELY(__atomic_load_n(&note->level, __ATOMIC_RELAXED) != 0);
}

// Control. These run on the registry's queue, but for TavNote_RefreshControlPreferences.

/// Stores all pairs in the preferences of `applicationID`, and brings every note up to date. Nothing happens if an
/// argument is absent.
void TavNote_SetPreferences(ZoStringRef applicationID, ZoDictionaryRef preferences);
/// Reads again where lines go.
void TavNote_RefreshControlPreferences(void);
/// Every variable under the key gets the value, until the next refresh. kTavNoteError_UnknownName
OSStatus TavNote_ChangeValue(ZoStringRef applicationID, ZoStringRef key, int32_t value);
/// The value of the first variable under the key. kTavNoteError_UnknownName
OSStatus TavNote_GetValue(ZoStringRef applicationID, ZoStringRef key, int32_t* valueOut);
/// The keys in order, which the caller releases. kTavNoteError_UnknownName
OSStatus TavNote_CopyKeys(ZoStringRef applicationID, ZoArrayRef* keysOut);
/// What was collected since the last call, which the caller releases; nothing unless lines go to the block buffer.
LuBlockBufferRef TavNote_CopyAndClearNoteBBuf(void);
/// For a process that runs long: from now on SIGUSR1 reads preferences and brings every note up to date.
OSStatus TavNote_OneTimeInitializationForLuviad(void);
/// Whether internal defaults of logs apply; decided once.
Boolean TavNote_AllowInternalDefaultLogs(void);

/// Reads text as a level: "true", "yes", "on" are 1; "false", "no", "off", "0" are 0, in any case; else its integer
/// value, 0 if negative. False, and `valueOut` 0, where the text is no number.
Boolean tav_note_get_value_for_string_preference(ZoStringRef string, int32_t* valueOut);

ZO_EXTERN_C_END
