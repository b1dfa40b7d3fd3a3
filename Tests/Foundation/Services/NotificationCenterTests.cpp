#include <gtest/gtest.h>

#include <string>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoNotificationCenter.h"
#include "Foundation/Text/ZoString.h"

namespace {

struct Observer {
    std::string name;
    std::string* log;
    void (*then)(Observer* self) = nullptr;
};

const ZoNotificationCenterRef kCenter = ZoNotificationCenterGetLocalCenter();
const int kObjectA = 0, kObjectB = 0;

void record(ZoNotificationCenterRef, void* observer, ZoStringRef, const void*, ZoDictionaryRef)
{
    auto* self = static_cast<Observer*>(observer);
    *self->log += self->name;
    if (self->then) self->then(self);
}

void add(const Observer& observer, ZoStringRef name, const void* object)
{
    ZoNotificationCenterAddObserver(kCenter, &observer, record, name, object, kZoNotificationDeliverImmediately);
}
void removeAll(const Observer& observer) { ZoNotificationCenterRemoveObserver(kCenter, &observer, nullptr, nullptr); }
void post(ZoStringRef name, const void* object)
{
    ZoNotificationCenterPostNotification(kCenter, name, object, nullptr, true);
}

TEST(NotificationCenter, callsWhoObservesTheNameAndTheObject)
{
    std::string log;
    Observer a{"a", &log}, b{"b", &log}, c{"c", &log}, d{"d", &log};
    const auto made = zoAdopt(ZoStringCreateWithCString(nullptr, "event", kZoStringEncodingASCII));
    add(d, nullptr, nullptr);  // everything
    add(a, ZOSTR("event"), &kObjectA);
    add(b, made.get(), nullptr);
    add(c, nullptr, &kObjectB);
    const struct {
        ZoStringRef name;
        const void* object;
        const char* called;  // in the order in which they were added
    } posts[] = {
        {ZOSTR("event"), &kObjectA, "dab"}, {made.get(), &kObjectB, "dbc"},    {ZOSTR("event"), nullptr, "db"},
        {ZOSTR("other"), &kObjectA, "d"},   {ZOSTR("other"), &kObjectB, "dc"},
    };
    for (const auto& row : posts) {
        log.clear();
        post(row.name, row.object);
        EXPECT_EQ(log, row.called);
    }
    for (const Observer* observer : {&a, &b, &c, &d}) removeAll(*observer);
    log.clear();
    post(ZOSTR("event"), &kObjectA);
    EXPECT_EQ(log, "");
}

TEST(NotificationCenter, handsOnWhatWasPosted)
{
    static const auto kObserver = reinterpret_cast<void*>(0x1234);  // a key, not a pointer
    static int calls = 0;
    static const auto kInfo = zoAdopt(ZoDictionaryCreate(nullptr, nullptr, nullptr, 0, nullptr, nullptr));
    const auto callback = [](ZoNotificationCenterRef center, void* observer, ZoStringRef name, const void* object,
                             ZoDictionaryRef info) {
        calls += center == kCenter && observer == kObserver && ZoEqual(name, ZOSTR("event")) && object == &kObjectA &&
                 info == kInfo.get();
    };
    ZoNotificationCenterAddObserver(kCenter, kObserver, callback, ZOSTR("event"), nullptr, 0);
    ZoNotificationCenterPostNotification(kCenter, ZOSTR("event"), &kObjectA, kInfo.get(), false);
    EXPECT_EQ(calls, 1);
    ZoNotificationCenterRemoveObserver(kCenter, kObserver, nullptr, nullptr);
}

TEST(NotificationCenter, removesWhatMatches)
{
    std::string log;
    Observer a{"a", &log}, b{"b", &log};
    const auto callsAfterRemoving = [&](ZoStringRef name, const void* object) {
        log.clear();
        add(a, ZOSTR("x"), &kObjectA);
        add(a, ZOSTR("x"), &kObjectA);  // twice: called twice
        add(a, ZOSTR("y"), &kObjectA);
        add(a, ZOSTR("x"), &kObjectB);
        add(a, nullptr, &kObjectA);
        add(b, ZOSTR("x"), &kObjectA);
        ZoNotificationCenterRemoveObserver(kCenter, &a, name, object);
        post(ZOSTR("x"), &kObjectA);
        log += "|";
        post(ZOSTR("y"), &kObjectA);
        log += "|";
        post(ZOSTR("x"), &kObjectB);
        removeAll(a);
        removeAll(b);
        return log;
    };
    EXPECT_EQ(callsAfterRemoving(ZOSTR("x"), &kObjectA), "ab|aa|a");
    EXPECT_EQ(callsAfterRemoving(ZOSTR("x"), nullptr), "ab|aa|");
    EXPECT_EQ(callsAfterRemoving(nullptr, &kObjectA), "b||a");
    EXPECT_EQ(callsAfterRemoving(ZOSTR("z"), nullptr), "aaab|aa|a");
    EXPECT_EQ(callsAfterRemoving(nullptr, nullptr), "b||");
}

TEST(NotificationCenter, mayBeChangedByItsCallbacks)
{
    static std::string log;
    static Observer second{"2", &log}, late{"3", &log};
    log.clear();
    Observer first{"1", &log, [](Observer* self) {
                       removeAll(second);                   // not called any more
                       add(late, ZOSTR("event"), nullptr);  // only from the next post on
                       removeAll(*self);
                       post(ZOSTR("event"), nullptr);  // a post within a post: late alone
                   }};
    add(first, ZOSTR("event"), nullptr);
    add(second, ZOSTR("event"), nullptr);
    post(ZOSTR("event"), nullptr);
    EXPECT_EQ(log, "13");
    post(ZOSTR("event"), nullptr);
    EXPECT_EQ(log, "133");
    removeAll(late);
    removeAll(late);
}

}  // namespace
