#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "Tests/Foundation/Text/TextSupport.h"

using namespace luvia_test;

TEST(StringThreads, readOneStringAtOnce)
{
    constexpr int kThreads = 4;
    for (const char* text : {"an immutable string", "an immutable str\u00efng"}) {
        const auto string = fromUTF8(text), other = fromUTF8(text);
        const ZoHashCode expected = ZoHash(other.get());
        std::barrier start(kThreads);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                start.arrive_and_wait();  // all of them ask for the hash that nobody has asked for
                EXPECT_EQ(ZoHash(string.get()), expected);
                const auto copy = zoAdopt(ZoStringCreateCopy(nullptr, string.get()));
                EXPECT_TRUE(ZoEqual(copy.get(), other.get()));
                EXPECT_EQ(toUTF8(copy), text);
                const auto format = zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@"), string.get()));
                EXPECT_TRUE(ZoEqual(format.get(), other.get()));
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
}
