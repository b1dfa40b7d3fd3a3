#include <gtest/gtest.h>

#include "Platform/Common/CommonSynchronization.h"

namespace {

TEST(TavReadWriteQueue, readsAndWritesHappenInOrder)
{
    const TavReadWriteQueueRef queue = TavReadWriteQueue_Create("rwqueue");
    static TavReadWriteQueueRef sQueue;
    sQueue = queue;
    int value = 0;
    const auto write = [](void* context) {
        EXPECT_TRUE(_TavIsCurrentDispatchQueue(sQueue) && !_TavIsNotCurrentDispatchQueue(sQueue));
        ++*static_cast<int*>(context);
    };
    TavReadWriteQueue_Write(queue, &value, write);
    EXPECT_EQ(value, 1);
    for (int turn = 0; turn < 100; ++turn) TavReadWriteQueue_Write_Async(queue, &value, write);
    TavReadWriteQueue_Read(queue, &value, [](void* read) { EXPECT_EQ(*static_cast<int*>(read), 101); });
    EXPECT_TRUE(_TavIsNotCurrentDispatchQueue(queue));
    dispatch_release(queue);
}

}  // namespace
