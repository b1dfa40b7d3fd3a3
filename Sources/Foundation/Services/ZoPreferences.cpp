#include "Foundation/Services/ZoPreferences.h"

#include <strings.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <mutex>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Services/ZoPreferencesStorePrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/Values/ZoNumber.h"
#include "Memory/Containers.h"

ZO_DEFINE_STRING(kZoPreferencesCurrentUser, "kZoPreferencesCurrentUser");
ZO_DEFINE_STRING(kZoPreferencesAnyHost, "kZoPreferencesAnyHost");

using namespace zoprefs;

namespace {

/// A domain as this process sees it. `values` guards what readers look at, and is never held over input or output;
/// `file` orders those who write.
struct Domain {
    explicit Domain(memory::String place) : path(std::move(place)) {}

    const memory::String path;
    std::mutex file, values;
    bool isRead = false;
    bool isComplaintMade = false;  // that the file is corrupt or cannot be read
    ZoRef<ZoDictionaryRef> stored;
    Changes changes;
};

/// Found by the file's place, so that a program that moves the place (tests do) sees the other file. Never freed.
Domain* domainFor(ZoStringRef applicationID)
{
    static std::mutex sLock;
    static auto* sDomains = memory::make<memory::Map<memory::String, Domain*>>();
    const memory::String path = pathOfDomain(zoUTF8(applicationID));
    if (path.empty()) return nullptr;
    const std::lock_guard guard(sLock);
    auto& domain = (*sDomains)[path];
    if (!domain) domain = memory::make<Domain>(path);
    return domain;
}

/// Reads the file. The caller holds domain.file.
bool readAgain(Domain& domain)
{
    ZoRef<ZoDictionaryRef> contents;
    const Reading reading = readStore(domain.path, contents);
    const int reason = errno;
    const std::lock_guard guard(domain.values);
    const bool complains = reading != Reading::ok && !std::exchange(domain.isComplaintMade, reading != Reading::ok);
    if (reading == Reading::ok) domain.isComplaintMade = false;
    if (complains) {
        const auto path = zoStringFromUTF8(nullptr, domain.path);
        if (reading == Reading::corrupt)
            ZoLog(3, ZOSTR("preferences: %@ is not a property list with a dictionary; taken as empty"), path.get());
        else
            ZoLog(3, ZOSTR("preferences: cannot read %@ (%s); taken as empty"), path.get(), strerror(reason));
    }
    domain.stored = std::move(contents);
    domain.isRead = reading != Reading::unreadable || reason != ENOMEM;  // else memory may be there the next time
    return reading != Reading::unreadable;
}

void readOnce(Domain& domain)
{
    {
        const std::lock_guard guard(domain.values);
        if (domain.isRead) return;
    }
    const std::lock_guard guard(domain.file);
    if (!domain.isRead) readAgain(domain);
}

/// Changes that are still to be written, retained one by one.
Changes copyChanges(const Changes& changes)
{
    Changes copy;
    for (const auto& [key, value] : changes) copy.emplace(key, ZoRef<ZoTypeRef>::retain(value.get()));
    return copy;
}

bool writeChanges(Domain& domain)
{
    Changes changes;
    {
        const std::lock_guard guard(domain.values);
        changes = copyChanges(domain.changes);
    }
    if (changes.empty()) return readAgain(domain);
    ZoRef<ZoDictionaryRef> contents;
    const bool isWritten = updateStore(domain.path, changes, contents);
    if (!isWritten) {
        readAgain(domain);
        return false;
    }
    const std::lock_guard guard(domain.values);
    for (const auto& [key, value] : changes) {  // unless set again in the meantime
        const auto at = domain.changes.find(key);
        if (at != domain.changes.end() && at->second.get() == value.get()) domain.changes.erase(at);
    }
    domain.stored = std::move(contents);
    domain.isRead = true;
    domain.isComplaintMade = false;
    return true;
}

/// A copy that later changes do not reach, if XML can carry it.
ZoRef<ZoTypeRef> storable(ZoTypeRef value)
{
    if (!value || !zoAdopt(ZoPropertyListCreateData(nullptr, value, kZoPropertyListXMLFormat_v1_0, 0, nullptr)))
        return nullptr;
    return zoAdopt(ZoPropertyListCreateDeepCopy(nullptr, value, kZoPropertyListImmutable));
}

bool isOurs(ZoStringRef userName, ZoStringRef hostName)
{
    return (!userName || ZoEqual(userName, kZoPreferencesCurrentUser)) &&
           (!hostName || ZoEqual(hostName, kZoPreferencesAnyHost));
}

bool isString(ZoTypeRef object) { return object && ZoGetTypeID(object) == ZoStringGetTypeID(); }

void setPairs(Domain& domain, ZoDictionaryRef pairs)
{
    const auto count = static_cast<size_t>(ZoDictionaryGetCount(pairs));
    memory::Vector<const void*> keys(count), values(count);
    ZoDictionaryGetKeysAndValues(pairs, keys.data(), values.data());
    for (size_t i = 0; i < count; ++i) {
        memory::String key;
        const bool hasKey = isString(keys[i]) && storable(keys[i]) &&
                            zoAppendBytes(static_cast<ZoStringRef>(keys[i]), kZoStringEncodingUTF8, key);
        auto value = storable(values[i]);
        if (!hasKey || !value) {
            ZoLog(3, ZOSTR("preferences: the value of %@ cannot be stored and is left out"), keys[i]);
            continue;
        }
        const std::lock_guard guard(domain.values);
        domain.changes.insert_or_assign(std::move(key), std::move(value));
    }
}

void removeKeys(Domain& domain, ZoArrayRef keys)
{
    for (ZoIndex i = 0; i < ZoArrayGetCount(keys); ++i) {
        const void* key = ZoArrayGetValueAtIndex(keys, i);
        memory::String name;
        if (!isString(key) || !zoAppendBytes(static_cast<ZoStringRef>(key), kZoStringEncodingUTF8, name)) continue;
        const std::lock_guard guard(domain.values);
        domain.changes.insert_or_assign(std::move(name), ZoRef<ZoTypeRef>());
    }
}

/// The integer that all of the text is, in decimal digits.
bool parseInteger(std::string_view text, ZoIndex& value)
{
    if (text.starts_with('+')) text.remove_prefix(1);
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
}

bool readBoolean(ZoTypeRef object, bool& value)
{
    const ZoTypeID type = ZoGetTypeID(object);
    if (type == ZoBooleanGetTypeID()) {
        value = ZoBooleanGetValue(static_cast<ZoBooleanRef>(object));
        return true;
    }
    if (type == ZoNumberGetTypeID()) {
        double number = 0;
        (void)ZoNumberGetValue(static_cast<ZoNumberRef>(object), kZoNumberFloat64Type, &number);
        value = number != 0;
        return true;
    }
    if (type != ZoStringGetTypeID()) return false;
    struct Word {
        const char* text;
        bool value;
    };
    static constexpr Word kWords[] = {{"true", true},   {"yes", true}, {"1", true},
                                      {"false", false}, {"no", false}, {"0", false}};
    const memory::String text = zoUTF8(static_cast<ZoStringRef>(object));
    for (const Word& word : kWords) {
        if (strcasecmp(text.c_str(), word.text) != 0) continue;
        value = word.value;
        return true;
    }
    return false;
}

bool readInteger(ZoTypeRef object, ZoIndex& value)
{
    const ZoTypeID type = ZoGetTypeID(object);
    if (type == ZoNumberGetTypeID())
        return ZoNumberGetValue(static_cast<ZoNumberRef>(object), kZoNumberZoIndexType, &value);
    if (type == ZoStringGetTypeID()) return parseInteger(zoUTF8(static_cast<ZoStringRef>(object)), value);
    if (type != ZoBooleanGetTypeID()) return false;
    value = ZoBooleanGetValue(static_cast<ZoBooleanRef>(object)) ? 1 : 0;
    return true;
}

/// The value of a key, converted by `read`; 0 where that does not work.
template <typename Value>
Value converted(ZoStringRef key, ZoStringRef applicationID, Boolean* isValid, bool (*read)(ZoTypeRef, Value&))
{
    const auto object = zoAdopt(ZoPreferencesCopyAppValue(key, applicationID));
    Value value = {};
    const bool ok = object && read(object.get(), value);
    if (isValid) *isValid = ok;
    return ok ? value : Value{};
}

}  // namespace

ZoPropertyListRef ZoPreferencesCopyAppValue(ZoStringRef key, ZoStringRef applicationID)
{
    Domain* domain = key ? domainFor(applicationID) : nullptr;
    if (!domain) return nullptr;
    readOnce(*domain);
    memory::String name;
    if (!zoAppendBytes(key, kZoStringEncodingUTF8, name)) return nullptr;
    const std::lock_guard guard(domain->values);
    const auto change = domain->changes.find(name);
    const ZoTypeRef value =
        change != domain->changes.end() ? change->second.get() : ZoDictionaryGetValue(domain->stored.get(), key);
    return ZoRef<ZoTypeRef>::retain(value).release();
}

Boolean ZoPreferencesGetAppBooleanValue(ZoStringRef key, ZoStringRef applicationID, Boolean* keyExistsAndHasValidFormat)
{
    return converted<bool>(key, applicationID, keyExistsAndHasValidFormat, readBoolean);
}

ZoIndex ZoPreferencesGetAppIntegerValue(ZoStringRef key, ZoStringRef applicationID, Boolean* keyExistsAndHasValidFormat)
{
    return converted<ZoIndex>(key, applicationID, keyExistsAndHasValidFormat, readInteger);
}

void ZoPreferencesSetMultiple(ZoDictionaryRef keysToSet, ZoArrayRef keysToRemove, ZoStringRef applicationID,
                              ZoStringRef userName, ZoStringRef hostName)
{
    Domain* domain = isOurs(userName, hostName) ? domainFor(applicationID) : nullptr;
    if (!domain) return;
    if (keysToSet) setPairs(*domain, keysToSet);
    if (keysToRemove) removeKeys(*domain, keysToRemove);
}

Boolean ZoPreferencesSynchronize(ZoStringRef applicationID, ZoStringRef userName, ZoStringRef hostName)
{
    Domain* domain = isOurs(userName, hostName) ? domainFor(applicationID) : nullptr;
    if (!domain) return false;
    const std::lock_guard guard(domain->file);
    return writeChanges(*domain);
}
