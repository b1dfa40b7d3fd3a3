#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoRunLoop.h"
#include "Platform/Common/CommonThread.h"
#include "Tests/Support/HandOver.h"

using luvia_test::HandOver;

namespace {

struct Fired {
    HandOver steps;
    ZoRunLoopRef loop = nullptr;
    std::string threadName;
};

void fire(ZoRunLoopTimerRef, void* info)
{
    auto* fired = static_cast<Fired*>(info);
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof name);
    fired->threadName = name;
    fired->loop = ZoRunLoopGetCurrent();
    fired->steps.reach(1);
    fired->steps.await(2);
}

TEST(NetworkBuffering, eachRunLoopRunsOnItsOwnThread)
{
    const std::vector<ZoRunLoopRef> loops = {TavThreadGetGlobalNetworkBufferingRunloop(),
                                             TavThreadGetGlobalNetworkBufferingLowPriorityRunloop(),
                                             TavThreadGetGlobalNetworkBufferingBackgroundThrottledRunloop()};
    static auto& sKept = *new std::deque<Fired>;  // the last callouts may outlast the test, and the process its end
    std::vector<Fired*> fired;
    for (size_t index = 0; index < loops.size(); ++index) fired.push_back(&sKept.emplace_back());
    for (size_t index = 0; index < loops.size(); ++index) {
        ASSERT_NE(loops[index], nullptr);
        ZoRunLoopTimerContext context = {};
        context.info = fired[index];
        const auto timer = zoAdopt(ZoRunLoopTimerCreate(nullptr, ZoAbsoluteTimeGetCurrent(), 0, 0, 0, fire, &context));
        ZoRunLoopAddTimer(loops[index], timer.get(), kZoRunLoopCommonModes);
    }
    // All three are inside their callouts at once, and go on running afterwards.
    for (size_t index = 0; index < loops.size(); ++index) {
        EXPECT_TRUE(fired[index]->steps.await(1));
        EXPECT_EQ(fired[index]->loop, loops[index]);
        EXPECT_EQ(fired[index]->threadName, "com.orvane.luvi");
    }
    for (Fired* f : fired) f->steps.reach(2);
}

TEST(NetworkBuffering, queuesAndRunLoopsAreMadeOnce)
{
    const dispatch_queue_t queue = TavThreadGetGlobalNetworkBufferingQueue();
    EXPECT_EQ(TavThreadGetGlobalNetworkBufferingQueue(), queue);
    EXPECT_EQ(TavThreadGetGlobalNetworkBufferingRunloop(), TavThreadGetGlobalNetworkBufferingRunloop());
    EXPECT_STREQ(dispatch_queue_get_label(queue), "com.orvane.luvia.networkbuffering");
    EXPECT_STREQ(dispatch_queue_get_label(TavThreadGetGlobalNetworkBufferingLowPriorityQueue()),
                 "com.orvane.luvia.networkbufferinglowpriority");
}

}  // namespace
