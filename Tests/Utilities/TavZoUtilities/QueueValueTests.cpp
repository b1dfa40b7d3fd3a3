#include <gtest/gtest.h>

#include <dispatch/dispatch.h>

#include "Tests/Utilities/TavZoUtilities/Support.h"

using namespace collection_test;

namespace {

TEST(CollectionHelpers, holdDispatchQueues)
{
    const dispatch_queue_t queue = dispatch_queue_create("com.orvane.luvia.test", DISPATCH_QUEUE_SERIAL);
    {
        const auto queues = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks,
                                                              &kTavDispatchQueueZoDictionaryValueCallbacks));
        ZoDictionarySetValue(queues.get(), ZOSTR("q"), queue);
        dispatch_release(queue);  // the dictionary's reference keeps it
        bool ran = false;
        auto* held = static_cast<dispatch_queue_t>(const_cast<void*>(ZoDictionaryGetValue(queues.get(), ZOSTR("q"))));
        dispatch_sync_f(held, &ran, [](void* context) { *static_cast<bool*>(context) = true; });
        EXPECT_TRUE(ran);
        EXPECT_EQ(luvia_test::textOf(kTavDispatchQueueZoDictionaryValueCallbacks.copyDescription(held)),
                  "com.orvane.luvia.test");
    }
}

}  // namespace
