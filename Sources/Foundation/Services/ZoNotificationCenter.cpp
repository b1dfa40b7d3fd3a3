#include "Foundation/Services/ZoNotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Memory/Containers.h"

struct ZoNotificationCenter_ {
    ZoConstantHeader header{kZoTypeIDNotificationCenter};
};

namespace {

struct Registration {
    const void* observer;
    ZoNotificationCallback callback;
    ZoRef<ZoStringRef> name;
    const void* object;
    uint64_t sequence = 0;
    std::atomic<bool> isRemoved = false;
};
using Registrations = memory::Vector<std::shared_ptr<Registration>>;

struct Center {
    std::mutex lock;  // guards what follows
    uint64_t lastSequence = 0;
    memory::UnorderedMap<uint64_t, Registrations> byTopic;
    memory::UnorderedMap<const void*, Registrations> byObserver;
};

// Lives as long as the process: callbacks may come from threads that outlive main().
Center& localCenter()
{
    static Center* const center = memory::make<Center>();
    return *center;
}

constinit ZoNotificationCenter_ sLocalCenter{};

// Registrations for one name (or all) and one object (or all) share a topic. A rare collision of two topics costs a
// comparison, no more.
uint64_t topicOf(ZoStringRef name, const void* object)
{
    return zoHashMix(name ? ZoHash(name) : 0, reinterpret_cast<uintptr_t>(object));
}

bool isSameName(ZoStringRef a, ZoStringRef b) { return a == b || (a && b && ZoEqual(a, b)); }

void eraseFrom(memory::UnorderedMap<uint64_t, Registrations>& topics, const Registration* registration)
{
    const auto topic = topics.find(topicOf(registration->name.get(), registration->object));
    if (topic == topics.end()) return;
    std::erase_if(topic->second, [&](const auto& other) { return other.get() == registration; });
    if (topic->second.empty()) topics.erase(topic);
}

// Those that observe the name and object, in the order in which they were added.
Registrations registrationsFor(ZoStringRef name, const void* object)
{
    Registrations found;
    Center& center = localCenter();
    const std::lock_guard guard(center.lock);
    const auto collect = [&](ZoStringRef topicName, const void* topicObject) {
        const auto topic = center.byTopic.find(topicOf(topicName, topicObject));
        if (topic == center.byTopic.end()) return;
        for (const auto& registration : topic->second)
            if (registration->object == topicObject && isSameName(registration->name.get(), topicName))
                found.push_back(registration);
    };
    collect(name, nullptr);
    collect(nullptr, nullptr);
    if (object) {
        collect(name, object);
        collect(nullptr, object);
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a->sequence < b->sequence; });
    return found;
}

bool isCenter(ZoNotificationCenterRef center)
{
    return ZO_EXPECT(zoIsOfType(center, kZoTypeIDNotificationCenter), "not a notification center");
}

}  // namespace

const ZoRuntimeClass __ZoNotificationCenterClass = {.className = "ZoNotificationCenter"};

ZoTypeID ZoNotificationCenterGetTypeID() { return kZoTypeIDNotificationCenter; }

ZoNotificationCenterRef ZoNotificationCenterGetLocalCenter() { return &sLocalCenter; }

void ZoNotificationCenterAddObserver(ZoNotificationCenterRef center, const void* observer,
                                     ZoNotificationCallback callback, ZoStringRef name, const void* object,
                                     ZoNotificationSuspensionBehavior)
{
    if (!isCenter(center) || !ZO_EXPECT(callback, "absent callback")) return;
    const auto registration = std::allocate_shared<Registration>(memory::StoppingAllocator<Registration>());
    registration->observer = observer;
    registration->callback = callback;
    if (name) registration->name = zoAdopt(ZoStringCreateCopy(nullptr, name));
    if (name && !registration->name) memory::stop();  // without one it would observe all names
    registration->object = object;

    Center& local = localCenter();
    const std::lock_guard guard(local.lock);
    registration->sequence = ++local.lastSequence;
    local.byTopic[topicOf(name, object)].push_back(registration);
    local.byObserver[observer].push_back(registration);
}

void ZoNotificationCenterRemoveObserver(ZoNotificationCenterRef center, const void* observer, ZoStringRef name,
                                        const void* object)
{
    if (!isCenter(center)) return;
    Registrations removed;  // goes after the lock has been left
    Center& local = localCenter();
    const std::lock_guard guard(local.lock);
    const auto own = local.byObserver.find(observer);
    if (own == local.byObserver.end()) return;
    std::erase_if(own->second, [&](const std::shared_ptr<Registration>& registration) {
        if (name && !isSameName(registration->name.get(), name)) return false;
        if (object && registration->object != object) return false;
        registration->isRemoved.store(true, std::memory_order_release);
        eraseFrom(local.byTopic, registration.get());
        removed.push_back(registration);
        return true;
    });
    if (own->second.empty()) local.byObserver.erase(own);
}

void ZoNotificationCenterPostNotification(ZoNotificationCenterRef center, ZoStringRef name, const void* object,
                                          ZoDictionaryRef userInfo, Boolean)
{
    if (!isCenter(center) || !ZO_EXPECT(name, "absent name")) return;
    for (const auto& registration : registrationsFor(name, object)) {
        if (registration->isRemoved.load(std::memory_order_acquire)) continue;
        registration->callback(center, const_cast<void*>(registration->observer), name, object, userInfo);
    }
}
