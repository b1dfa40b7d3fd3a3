#include "Platform/Common/CommonSynchronization.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Tests/Platform/LockProbe.h"
#include "Tests/Support/HandOver.h"

using luvia_test::awaitUnder;
using luvia_test::HandOver;

namespace {

constexpr uint32_t kPlain = 0;
constexpr uint32_t kWritersFirst = kTavReadWriteLockFlag_WritersTakePrecedence;

void awaitSleepers(TavReadWriteLockRef lock, uint32_t count)
{
    awaitUnder(lock->mutex, [&] { return lock->sleepers == count; });
}

TEST(TavReadWriteLock, aNewReaderStandsBackForAWaitingWriterOnlyIfWritersTakePrecedence)
{
    for (const uint32_t flags : {kPlain, kWritersFirst}) {
        const TavReadWriteLockRef lock = TavReadWriteLockCreate(flags);
        std::vector<char> order;  // guarded by the lock: the reader's turn comes while the writer is out
        ASSERT_EQ(TavReadWriteLockLockForRead(lock), 0);
        std::thread writer([&] {
            EXPECT_EQ(TavReadWriteLockLockForWrite(lock), 0);
            order.push_back('w');
            EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
        });
        awaitSleepers(lock, 1);
        std::thread reader([&] {
            EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
            order.push_back('r');
            EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
        });
        if (flags == kWritersFirst)
            awaitSleepers(lock, 2);
        else
            reader.join();
        EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
        writer.join();
        if (reader.joinable()) reader.join();
        EXPECT_EQ(std::string(order.begin(), order.end()), flags == kWritersFirst ? "wr" : "rw");
        EXPECT_EQ(TavReadWriteLockDestroy(lock), 0);
    }
}

TEST(TavReadWriteLock, readersThatSleptThroughAWriterShareTheLock)
{
    for (const uint32_t flags : {kPlain, kWritersFirst}) {
        const TavReadWriteLockRef lock = TavReadWriteLockCreate(flags);
        ASSERT_EQ(TavReadWriteLockLockForWrite(lock), 0);
        HandOver inside;
        std::vector<std::thread> readers;
        for (int index = 0; index < 3; ++index)
            readers.emplace_back([&] {
                EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
                inside.advance();
                inside.await(3);  // nobody leaves before all are in
                EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
            });
        awaitSleepers(lock, 3);
        EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
        for (std::thread& reader : readers) reader.join();
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
    std::thread reader([&] {
        EXPECT_EQ(TavReadWriteLockLockForRead(lock), 0);
        in.reach(1);
        EXPECT_EQ(TavReadWriteLockUnlockForRead(lock), 0);
    });
    awaitSleepers(lock, 1);
    EXPECT_EQ(in.step(), 0);
    EXPECT_EQ(TavReadWriteLockUnlockForWrite(lock), 0);
    reader.join();
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
