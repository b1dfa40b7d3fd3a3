#include <gtest/gtest.h>

#include "Platform/Common/CommonSynchronization.h"

namespace {

TEST(TavReadWriteQueue, readsAndWritesHappenInOrder)
{
    const TavReadWriteQueueRef queue = TavReadWriteQueue_Create("rwqueue");
    EXPECT_STREQ(dispatch_queue_get_label(queue), "rwqueue");
    struct State {
        TavReadWriteQueueRef queue;
        int value, read;
        bool onQueue;
    } state = {queue, 0, -1, false};
    const auto write = [](void* context) {
        auto* s = static_cast<State*>(context);
        ++s->value;
        s->onQueue = _TavIsCurrentDispatchQueue(s->queue) && !_TavIsNotCurrentDispatchQueue(s->queue);
    };
    const auto read = [](void* context) { static_cast<State*>(context)->read = static_cast<State*>(context)->value; };
    TavReadWriteQueue_Write(queue, &state, write);
    EXPECT_EQ(state.value, 1);
    for (int turn = 0; turn < 100; ++turn) TavReadWriteQueue_Write_Async(queue, &state, write);
    TavReadWriteQueue_Read(queue, &state, read);
    EXPECT_EQ(state.read, 101);
    EXPECT_TRUE(state.onQueue);
    EXPECT_TRUE(_TavIsNotCurrentDispatchQueue(queue));
    dispatch_release(queue);
}

}  // namespace
