#include <gtest/gtest.h>

#include <filesystem>

#include "Foundation/Services/ZoBundle.h"

#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"

using namespace luvia_test;

static std::string pathOf(ZoURLRef owned)
{
    const auto url = zoAdopt(owned);
    return url ? textOf(ZoURLCopyFileSystemPath(url.get(), 0)) : "(none)";
}

TEST(Bundle, findsResourcesBelowItsRootAndNotOutside)
{
    const TemporaryFolder folder;
    setenv("LUVIA_RESOURCES_DIR", folder.path().c_str(), 1);
    const auto resources = folder / "com.example.bundle" / "Resources";
    std::filesystem::create_directories(resources / "sub dir");
    writeFile(resources / "list.plist", "x");
    writeFile(resources / "sub dir" / "plain", "x");
    writeFile(folder / "secret", "x");

    EXPECT_EQ(ZoBundleGetBundleWithIdentifier(ZOSTR("com.example.missing")), nullptr);
    for (const char* name : {"", ".", "..", "com.example.bundle/Resources", "../etc"})
        EXPECT_EQ(ZoBundleGetBundleWithIdentifier(str(name).get()), nullptr);
    const ZoBundleRef bundle = ZoBundleGetBundleWithIdentifier(ZOSTR("com.example.bundle"));
    ASSERT_TRUE(bundle);
    EXPECT_EQ(ZoBundleGetBundleWithIdentifier(ZOSTR("com.example.bundle")), bundle);

    const auto pathOfResource = [bundle](ZoStringRef name, ZoStringRef type, ZoStringRef place) {
        return pathOf(ZoBundleCopyResourceURL(bundle, name, type, place));
    };
    EXPECT_EQ(pathOf(ZoBundleCopyResourcesDirectoryURL(bundle)), resources.string());
    EXPECT_EQ(pathOfResource(ZOSTR("list"), ZOSTR("plist"), nullptr), (resources / "list.plist").string());
    EXPECT_EQ(pathOfResource(ZOSTR("plain"), nullptr, ZOSTR("sub dir")), (resources / "sub dir/plain").string());
    EXPECT_EQ(pathOfResource(ZOSTR("list"), nullptr, nullptr), "(none)");
    EXPECT_EQ(pathOfResource(ZOSTR("../../secret"), nullptr, nullptr), "(none)");
    EXPECT_EQ(pathOfResource(nullptr, ZOSTR("plist"), nullptr), "(none)");
    unsetenv("LUVIA_RESOURCES_DIR");
}

// One's own folder, the program's prefix, the system's folders; a relative root counts as none.
TEST(Bundle, isLookedForInEachRootInTurn)
{
    const TemporaryFolder folder;
    const auto prefix = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
    const auto make = [](const std::filesystem::path& root, const char* name) {
        std::filesystem::create_directories(root / name / "Resources");
    };
    make(folder / "one", "com.example.both");
    make(folder / "two", "com.example.both");
    make(folder / "two", "com.example.second");
    make(prefix / "share", "com.example.luvia.prefix");
    setenv("XDG_DATA_DIRS", ((folder / "one").string() + ":" + (folder / "two").string()).c_str(), 1);
    const auto rootOf = [](const char* name) {
        const ZoBundleRef bundle = ZoBundleGetBundleWithIdentifier(str(name).get());
        if (!bundle) return std::string("(none)");
        const std::filesystem::path resources = pathOf(ZoBundleCopyResourcesDirectoryURL(bundle));
        return resources.parent_path().parent_path().string();
    };
    EXPECT_EQ(rootOf("com.example.both"), (folder / "one").string());
    EXPECT_EQ(rootOf("com.example.second"), (folder / "two").string());
    EXPECT_EQ(rootOf("com.example.luvia.prefix"), (prefix / "share").string());
    std::filesystem::remove_all(prefix / "share" / "com.example.luvia.prefix");
    setenv("LUVIA_RESOURCES_DIR", "relative", 1);
    make("relative", "com.example.relative");
    EXPECT_EQ(rootOf("com.example.relative"), "(none)");
    std::filesystem::remove_all("relative");
    unsetenv("LUVIA_RESOURCES_DIR");
    unsetenv("XDG_DATA_DIRS");
}
