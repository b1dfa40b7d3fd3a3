#include <gtest/gtest.h>

#include "Foundation/Services/ZoPreferences.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Support/Together.h"

using namespace luvia_test;

TEST(PreferencesThreads, settersReadersAndWritersOfOneDomain)
{
    const TemporaryFolder folder;
    setenv("LUVIA_PREFERENCES_DIR", folder.path().c_str(), 1);
    constexpr int kThreads = 4, kKeys = 10;
    const auto name = [](int thread, int key) { return "t" + std::to_string(thread) + "k" + std::to_string(key); };
    runTogether(kThreads, [name](size_t thread) {
        const ZoStringRef domain = ZOSTR("com.example.threads");
        for (int key = 0; key < kKeys; ++key) {
            const auto text = str(name(static_cast<int>(thread), key));
            ZoPreferencesSetMultiple(dictionary({{text.get(), number(key).get()}}).get(), nullptr, domain, nullptr,
                                     nullptr);
            EXPECT_EQ(ZoPreferencesGetAppIntegerValue(text.get(), domain, nullptr), key);
            EXPECT_TRUE(ZoPreferencesSynchronize(domain, nullptr, nullptr));
        }
    });
    const std::string bytes = contentsOf(folder / "com.example.threads.plist");
    for (int thread = 0; thread < kThreads; ++thread)
        for (int key = 0; key < kKeys; ++key)
            EXPECT_NE(bytes.find("<key>" + name(thread, key) + "</key>"), std::string::npos);
    unsetenv("LUVIA_PREFERENCES_DIR");
}
