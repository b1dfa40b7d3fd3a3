#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Foundation/Services/ZoPreferences.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"

using namespace luvia_test;

TEST(PreferencesThreads, settersReadersAndWritersOfOneDomain)
{
    const TemporaryFolder folder;
    setenv("LUVIA_PREFERENCES_DIR", folder.path().c_str(), 1);
    constexpr int kThreads = 4, kKeys = 10;
    const auto name = [](int thread, int key) { return "t" + std::to_string(thread) + "k" + std::to_string(key); };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([thread, name] {
            for (int key = 0; key < kKeys; ++key) {
                const auto pairs = dictionary({{str(name(thread, key)).get(), number(key).get()}});
                ZoPreferencesSetMultiple(pairs.get(), nullptr, ZOSTR("com.example.threads"), nullptr, nullptr);
                EXPECT_EQ(ZoPreferencesGetAppIntegerValue(str(name(thread, key)).get(), ZOSTR("com.example.threads"),
                                                          nullptr),
                          key);
                EXPECT_TRUE(ZoPreferencesSynchronize(ZOSTR("com.example.threads"), nullptr, nullptr));
            }
        });
    for (auto& thread : threads) thread.join();
    const std::string bytes = contentsOf(folder / "com.example.threads.plist");
    for (int thread = 0; thread < kThreads; ++thread)
        for (int key = 0; key < kKeys; ++key)
            EXPECT_NE(bytes.find("<key>" + name(thread, key) + "</key>"), std::string::npos);
    unsetenv("LUVIA_PREFERENCES_DIR");
}
