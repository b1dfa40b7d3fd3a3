#include <gtest/gtest.h>

#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/Together.h"

using namespace luvia_test;

TEST(StringThreads, readOneStringAtOnce)
{
    for (const char* text : {"an immutable string", "an immutable str\u00efng"}) {
        const auto string = fromUTF8(text), other = fromUTF8(text);
        const ZoHashCode expected = ZoHash(other.get());
        runTogether(4, [&](size_t) {
            EXPECT_EQ(ZoHash(string.get()), expected);  // that nobody has asked for
            EXPECT_TRUE(ZoEqual(zoAdopt(ZoStringCreateCopy(nullptr, string.get())).get(), other.get()));
            EXPECT_EQ(textOf(ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@"), string.get())), text);
        });
    }
}
