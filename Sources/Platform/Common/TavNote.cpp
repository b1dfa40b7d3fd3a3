// The registry: application ID to key to the variables under it. Touched on its queue only.

#include "Platform/Common/TavNote.h"

#include <csignal>
#include <cstdlib>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Memory/Containers.h"
#include "Platform/Common/TavLogPrivate.h"
#include "Platform/Ostra/OstraDebug.h"
#include "Utilities/TavZoUtilities_Preferences.h"

namespace {

struct NoteRecord {
    uintptr_t emitter;
    TavNote* variable;
    int32_t defaultValue;
};

ZoMutableDictionaryRef sRegistry;  // of dictionaries of arrays of plain NoteRecord pointers
dispatch_queue_t sRegistryQueue;

void makeRegistry()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        __atomic_store_n(&sRegistryQueue,
                         dispatch_queue_create("tavnote_variable_registry_queue", DISPATCH_QUEUE_SERIAL),
                         __ATOMIC_RELEASE);
    });
}

dispatch_queue_t registryQueue() { return __atomic_load_n(&sRegistryQueue, __ATOMIC_ACQUIRE); }

// Runs `work` on the registry's queue; false if there is no registry yet.
template <typename Work>
bool onRegistryQueue(Work work)
{
    const dispatch_queue_t queue = registryQueue();
    if (!queue) return false;
    dispatch_sync_f(queue, &work, [](void* context) { (*static_cast<Work*>(context))(); });
    return true;
}

ZoRef<ZoMutableDictionaryRef> makeDictionary()
{
    return zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

ZoMutableDictionaryRef keysOf(ZoStringRef applicationID)
{
    if (!sRegistry) return nullptr;
    return static_cast<ZoMutableDictionaryRef>(const_cast<void*>(ZoDictionaryGetValue(sRegistry, applicationID)));
}

ZoMutableArrayRef recordsOf(ZoStringRef applicationID, ZoStringRef key)
{
    const ZoMutableDictionaryRef keys = keysOf(applicationID);
    return keys ? static_cast<ZoMutableArrayRef>(const_cast<void*>(ZoDictionaryGetValue(keys, key))) : nullptr;
}

NoteRecord* recordAt(ZoArrayRef records, ZoIndex index)
{
    return static_cast<NoteRecord*>(const_cast<void*>(ZoArrayGetValueAtIndex(records, index)));
}

void store(TavNote* variable, int32_t value) { __atomic_store_n(variable, value, __ATOMIC_RELAXED); }

// The value that the store gives, or the default.
void set_tavnote_value(ZoStringRef applicationID, ZoStringRef key, const NoteRecord* record)
{
    const auto value = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    const bool defaultsApply = __atomic_load_n(&gAllowAutomaticTavNotes, __ATOMIC_RELAXED);
    store(record->variable, defaultsApply ? record->defaultValue : 0);
    if (!value) return;
    const ZoTypeID type = ZoGetTypeID(value.get());
    int32_t level = 0;
    if (type == ZoStringGetTypeID()) {
        if (tav_note_get_value_for_string_preference(static_cast<ZoStringRef>(value.get()), &level))
            store(record->variable, level);
    } else if (type == ZoNumberGetTypeID()) {
        if (ZoNumberGetValue(static_cast<ZoNumberRef>(value.get()), kZoNumberIntType, &level))
            store(record->variable, level);
        else
            tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavNote| %s: cannot convert number %@ %@",
                    __func__, key, applicationID);
    } else if (type == ZoBooleanGetTypeID()) {
        store(record->variable, ZoEqual(value.get(), kZoBooleanTrue) ? 1 : 0);
    } else {
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavNote| %s: Cannot use type of %@ %@", __func__,
                key, applicationID);
    }
}

// The records under a key, made where they are missing. Nothing when out of memory.
ZoMutableArrayRef findOrAddRecords(ZoStringRef applicationID, ZoStringRef key)
{
    if (!sRegistry) sRegistry = makeDictionary().release();
    if (sRegistry && !keysOf(applicationID))
        if (const auto keys = makeDictionary()) ZoDictionarySetValue(sRegistry, applicationID, keys.get());
    const ZoMutableDictionaryRef keys = keysOf(applicationID);
    if (keys && !recordsOf(applicationID, key))
        if (const auto records = zoAdopt(ZoArrayCreateMutable(nullptr, 0, nullptr)))
            ZoDictionarySetValue(keys, key, records.get());
    return recordsOf(applicationID, key);
}

// The record of the variable, found or made. Nothing when out of memory.
NoteRecord* findOrAddRecord(TavNote* variable, ZoStringRef key, ZoStringRef applicationID, int32_t defaultValue,
                            bool* isNew)
{
    const ZoMutableArrayRef records = findOrAddRecords(applicationID, key);
    if (!records) return nullptr;
    const ZoIndex count = ZoArrayGetCount(records);
    for (ZoIndex i = 0; i < count; ++i)
        if (recordAt(records, i)->variable == variable) return recordAt(records, i);
    auto* record = static_cast<NoteRecord*>(calloc(1, sizeof(NoteRecord)));
    if (!record) return nullptr;
    record->variable = variable;
    record->defaultValue = defaultValue;
    ZoArrayAppendValue(records, record);
    *isNew = ZoArrayGetCount(records) > count;
    if (*isNew) return record;
    free(record);
    return nullptr;
}

void refreshRegisteredNotes()
{
    const auto refreshKey = [](const void* key, const void* records, void* applicationID) {
        for (ZoIndex i = 0; i < ZoArrayGetCount(static_cast<ZoArrayRef>(records)); ++i)
            set_tavnote_value(static_cast<ZoStringRef>(applicationID), static_cast<ZoStringRef>(key),
                              recordAt(static_cast<ZoArrayRef>(records), i));
    };
    struct Applier {
        ZoDictionaryApplierFunction refreshKey;
    } applier = {refreshKey};
    if (!sRegistry) return;
    ZoDictionaryApplyFunction(
        sRegistry,
        [](const void* applicationID, const void* keys, void* context) {
            ZoPreferencesSynchronize(static_cast<ZoStringRef>(applicationID), kZoPreferencesCurrentUser,
                                     kZoPreferencesAnyHost);
            ZoDictionaryApplyFunction(static_cast<ZoDictionaryRef>(keys), static_cast<Applier*>(context)->refreshKey,
                                      const_cast<void*>(applicationID));
        },
        &applier);
}

void refresh_registered_tavnote_variables(void*)
{
    tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavNote| %s: SIGNALLED!", __func__);
    TavNote_RefreshControlPreferences();
    refreshRegisteredNotes();
}

}  // namespace

// MARK: registration

void tav_note_initialize_category_with_default_work_Zo(TavNote* variable, ZoStringRef key, ZoStringRef applicationID,
                                                       ZoStringRef, ZoStringRef, int32_t defaultValue, const void*,
                                                       uintptr_t* emitterOut)
{
    tav_note_initialize_logging();
    tav_note_initialize_timestamps();
    if (!variable || !key || !applicationID) return;
    makeRegistry();
    bool isNew = false;
    NoteRecord* record = nullptr;
    onRegistryQueue([&] { record = findOrAddRecord(variable, key, applicationID, defaultValue, &isNew); });
    if (isNew) set_tavnote_value(applicationID, key, record);
    if (emitterOut && record) *emitterOut = record->emitter;
}

void tav_note_initialize_category_with_default_work(TavNote* variable, const char* key, const char* applicationID,
                                                    const char*, const char*, int32_t defaultValue,
                                                    const void* reserved, uintptr_t* emitterOut)
{
    if (!key || !applicationID) return;
    const auto keyString = zoAdopt(ZoStringCreateWithCString(nullptr, key, kZoStringEncodingUTF8));
    const auto idString = zoAdopt(ZoStringCreateWithCString(nullptr, applicationID, kZoStringEncodingUTF8));
    tav_note_initialize_category_with_default_work_Zo(variable, keyString.get(), idString.get(), nullptr, nullptr,
                                                      defaultValue, reserved, emitterOut);
}

void tav_note_initialize_with_default_work(TavNote* variable, const char* key, const char* applicationID,
                                           int32_t defaultValue)
{
    tav_note_initialize_category_with_default_work(variable, key, applicationID, nullptr, nullptr, defaultValue,
                                                   nullptr, nullptr);
}

void tav_note_initialize_work(TavNote* variable, const char* key, const char* applicationID)
{
    tav_note_initialize_with_default_work(variable, key, applicationID, 0);
}

void tav_note_initialize_autolog_work(TavNote* variable, const char* key, const char* applicationID)
{
    tav_note_initialize_with_default_work(variable, key, applicationID, 0);
}

// MARK: control

void TavNote_SetPreferences(ZoStringRef applicationID, ZoDictionaryRef preferences)
{
    if (!applicationID || !preferences) return;
    tav_note_initialize_logging();
    makeRegistry();
    onRegistryQueue([=] {
        ZoPreferencesSetMultiple(preferences, nullptr, applicationID, kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
        ZoPreferencesSynchronize(applicationID, kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
        tav_note_read_control_preferences();
        refreshRegisteredNotes();
    });
}

OSStatus TavNote_ChangeValue(ZoStringRef applicationID, ZoStringRef key, int32_t value)
{
    OSStatus status = kTavNoteError_UnknownName;
    if (!applicationID || !key) return status;
    onRegistryQueue([&] {
        const ZoArrayRef records = recordsOf(applicationID, key);
        if (!records) return;
        for (ZoIndex i = 0; i < ZoArrayGetCount(records); ++i) store(recordAt(records, i)->variable, value);
        status = 0;
    });
    return status;
}

OSStatus TavNote_GetValue(ZoStringRef applicationID, ZoStringRef key, int32_t* valueOut)
{
    OSStatus status = kTavNoteError_UnknownName;
    if (!applicationID || !key || !valueOut) return status;
    onRegistryQueue([&] {
        const ZoArrayRef records = recordsOf(applicationID, key);
        if (!records || ZoArrayGetCount(records) == 0) return;
        *valueOut = __atomic_load_n(recordAt(records, 0)->variable, __ATOMIC_RELAXED);
        status = 0;
    });
    return status;
}

OSStatus TavNote_CopyKeys(ZoStringRef applicationID, ZoArrayRef* keysOut)
{
    OSStatus status = kTavNoteError_UnknownName;
    if (!keysOut) return status;
    *keysOut = nullptr;
    if (!applicationID) return status;
    onRegistryQueue([&] {
        const ZoDictionaryRef keys = keysOf(applicationID);
        if (!keys || ZoDictionaryGetCount(keys) == 0) return;
        const ZoMutableArrayRef array =
            ZoArrayCreateMutable(nullptr, ZoDictionaryGetCount(keys), &kZoTypeArrayCallBacks);
        if (!array) memory::stop();
        ZoDictionaryApplyFunction(
            keys,
            [](const void* key, const void*, void* out) {
                ZoArrayAppendValue(static_cast<ZoMutableArrayRef>(out), key);
            },
            array);
        const auto byText = [](const void* key1, const void* key2, void*) {
            return ZoStringCompare(static_cast<ZoStringRef>(key1), static_cast<ZoStringRef>(key2), 0);
        };
        ZoArraySortValues(array, ZoRangeMake(0, ZoArrayGetCount(array)), byText, nullptr);
        *keysOut = array;
        status = 0;
    });
    return status;
}

LuBlockBufferRef TavNote_CopyAndClearNoteBBuf(void)
{
    if (__atomic_load_n(&gTavLogControl, __ATOMIC_RELAXED) != kTavLogControl_BlockBuffer) return nullptr;
    return tav_log_take_block_buffer();
}

OSStatus TavNote_OneTimeInitializationForLuviad(void)
{
    makeRegistry();
    // Ignored, the signal reaches the source alone.
    signal(SIGUSR1, SIG_IGN);
    const dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, SIGUSR1, 0, registryQueue());
    if (source) {
        dispatch_source_set_event_handler_f(source, refresh_registered_tavnote_variables);
        dispatch_resume(source);
    }
    tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "|TavNote| %s: Set up SIGUSR1 handler on queue %p",
            __func__, static_cast<const void*>(registryQueue()));
    tav_note_initialize_logging();
    return tav_note_read_control_preferences();
}

Boolean TavNote_AllowInternalDefaultLogs(void)
{
    static Boolean sAllow;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sAllow, [](void* allow) {
        const bool byDefault = TavDebugIsInternalBuild() != 0;
        const bool wanted = TavGetZoPreferenceNumberWithDefault(ZOSTR("allow_internal_default_logs"),
                                                                ZOSTR(kTavApplicationID), byDefault) != 0;
        *static_cast<Boolean*>(allow) = wanted;
        if (wanted != byDefault)
            tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                    "|TavNote| %s: %s internal default logs -- thank you for setting \"defaults write com.orvane.luvia "
                    "allow_internal_default_logs -bool %s\"",
                    "TavNote_AllowInternalDefaultLogs", wanted ? "Allowing" : "Not allowing", wanted ? "YES" : "NO");
    });
    return sAllow;
}
