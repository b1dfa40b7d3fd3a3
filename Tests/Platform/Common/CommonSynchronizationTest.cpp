#include "Platform/Common/CommonSynchronization.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "Tests/Support/HandOver.h"
#include "Tests/Support/Sleeper.h"

using luvia_test::HandOver;
using luvia_test::Sleeper;

namespace {

constexpr uint32_t kPlain = 0;
constexpr uint32_t kWritersFirst = kTavReadWriteLockFlag_WritersTakePrecedence;

TEST(TavReadWriteLock, aNewReaderStandsBackForAWaitingWriterOnlyIfWritersTakePrecedence)
{
    for (const uint32_t flags : {kPlain, kWritersFirst}) {
        const TavReadWriteLockRef lock = TavReadWriteLockCreate(flags);
        std::string order;  // guarded by the lock: the reader's turn comes while the writer is out
        ASSERT_EQ(TavReadWriteLockLockForRead(lock), 0);
        Sleeper writer([&] {
            EXPECT_EQ(TavReadWriteLockLockForWrite(lock), 0);
            order.push_back('w');
            EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
        });
        writer.awaitAsleep();
        Sleeper reader([&] {
            EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
            order.push_back('r');
            EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
        });
        if (flags == kWritersFirst)
            reader.awaitAsleep();
        else
            reader.join();
        EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
        writer.join();
        reader.join();
        EXPECT_EQ(order, flags == kWritersFirst ? "wr" : "rw");
        ASSERT_EQ(TavReadWriteLockLockForRead(lock), 0) << "no writer waits any more";
        EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
        EXPECT_EQ(TavReadWriteLockDestroy(lock), 0);
    }
}

TEST(TavReadWriteLock, readersThatSleptThroughAWriterShareTheLock)
{
    for (const uint32_t flags : {kPlain, kWritersFirst}) {
        const TavReadWriteLockRef lock = TavReadWriteLockCreate(flags);
        ASSERT_EQ(TavReadWriteLockLockForWrite(lock), 0);
        HandOver inside;
        std::deque<Sleeper> readers;
        for (int index = 0; index < 3; ++index)
            readers.emplace_back([&] {
                EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
                inside.advance();
                inside.await(3);  // nobody leaves before all are in
                EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
            });
        for (const Sleeper& reader : readers) reader.awaitAsleep();
        EXPECT_EQ(inside.step(), 0);
        EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
        readers.clear();
        EXPECT_EQ(TavReadWriteLockDestroy(lock), 0);
    }
}

TEST(TavReadWriteLock, unlockingWhatIsNotLockedDoesNothing)
{
    const TavReadWriteLockRef lock = TavReadWriteLockCreate(kWritersFirst);
    EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
    EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
    ASSERT_EQ(TavReadWriteLockLockForWrite(lock), 0);
    EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
    HandOver in;
    Sleeper reader([&] {
        EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
        EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
        in.reach(1);
        in.await(2);
        EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
    });
    reader.awaitAsleep();
    EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0) << "with a sleeper";
    EXPECT_EQ(in.step(), 0);
    EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
    EXPECT_TRUE(in.await(1));
    Sleeper writer([&] { EXPECT_EQ(TavReadWriteLockLockForWrite(lock), 0); });
    writer.awaitAsleep();
    EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0) << "with a sleeper, which the reader still bars";
    writer.awaitAsleep();
    in.reach(2);
    writer.join();
    EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
    EXPECT_EQ(TavReadWriteLockDestroy(lock), 0);
    EXPECT_EQ(TavReadWriteLockDestroy(nullptr), 0);
}

TEST(TavReadWriteLock, writersExcludeEveryoneAndNobodyIsForgotten)
{
    constexpr int kTurns = 2000;
    for (const uint32_t flags : {kPlain, kWritersFirst}) {
        const TavReadWriteLockRef lock = TavReadWriteLockCreate(flags);
        int first = 0, second = 0, torn = 0;
        std::vector<std::thread> threads;
        for (int index = 0; index < 2; ++index)
            threads.emplace_back([&] {
                for (int turn = 0; turn < kTurns; ++turn) {
                    TavReadWriteLockLockForWrite(lock);
                    ++first;
                    if (turn % 16 == 0) sched_yield();  // lets others find the way barred
                    ++second;
                    TavReadWriteLockUnlockForWrite(lock);
                }
            });
        for (int index = 0; index < 3; ++index)
            threads.emplace_back([&] {
                int seenTorn = 0;
                for (int turn = 0; turn < kTurns; ++turn) {
                    TavReadWriteLockLockForRead(lock);
                    seenTorn += first != second;
                    if (turn % 16 == 0) sched_yield();
                    TavReadWriteLockUnlockForRead(lock);
                }
                TavReadWriteLockLockForWrite(lock);
                torn += seenTorn;
                TavReadWriteLockUnlockForWrite(lock);
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(first, 2 * kTurns);
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(TavReadWriteLockDestroy(lock), 0);
    }
}

}  // namespace
