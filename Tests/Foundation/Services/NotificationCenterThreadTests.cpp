#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoNotificationCenter.h"
#include "Foundation/Text/ZoString.h"

namespace {

void countCall(ZoNotificationCenterRef, void* observer, ZoStringRef, const void*, ZoDictionaryRef)
{
    ++*static_cast<std::atomic<int>*>(observer);
}

// Posts run while observers come and go; who was there all the time gets every post.
TEST(NotificationCenterThreads, postsWhileObserversComeAndGo)
{
    const ZoNotificationCenterRef center = ZoNotificationCenterGetLocalCenter();
    static std::atomic<int> steady, passing[2];
    steady = 0;
    ZoNotificationCenterAddObserver(center, &steady, countCall, ZOSTR("load"), nullptr, 0);
    constexpr int kPosts = 2000, kPosters = 2;
    std::atomic<bool> stop = false;
    {
        std::vector<std::jthread> changing;
        for (auto& observer : passing)
            changing.emplace_back([&] {
                while (!stop) {
                    ZoNotificationCenterAddObserver(center, &observer, countCall, ZOSTR("load"), nullptr, 0);
                    ZoNotificationCenterAddObserver(center, &observer, countCall, nullptr, &observer, 0);
                    ZoNotificationCenterRemoveObserver(center, &observer, nullptr, nullptr);
                }
            });
        std::vector<std::jthread> posting;
        for (int i = 0; i < kPosters; ++i)
            posting.emplace_back([&, i] {
                const auto name = zoAdopt(ZoStringCreateWithCString(nullptr, "load", kZoStringEncodingASCII));
                for (int n = 0; n < kPosts; ++n)
                    ZoNotificationCenterPostNotification(center, name.get(), &passing[i], nullptr, true);
            });
        posting.clear();
        stop = true;
    }
    EXPECT_EQ(steady, kPosts * kPosters);
    ZoNotificationCenterRemoveObserver(center, &steady, nullptr, nullptr);
}

}  // namespace
