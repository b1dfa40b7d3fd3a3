#include "Foundation/Services/ZoBundle.h"

#include "Tests/Foundation/Services/Objects.h"

using namespace luvia_test;

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

    const auto pathOf = [](ZoURLRef owned) {
        const auto url = zoAdopt(owned);
        return url ? textOf(ZoURLCopyFileSystemPath(url.get(), 0)) : "(none)";
    };
    EXPECT_EQ(pathOf(ZoBundleCopyResourcesDirectoryURL(bundle)), resources.string());
    EXPECT_EQ(pathOf(ZoBundleCopyResourceURL(bundle, ZOSTR("list"), ZOSTR("plist"), nullptr)),
              (resources / "list.plist").string());
    EXPECT_EQ(pathOf(ZoBundleCopyResourceURL(bundle, ZOSTR("plain"), nullptr, ZOSTR("sub dir"))),
              (resources / "sub dir/plain").string());
    EXPECT_EQ(pathOf(ZoBundleCopyResourceURL(bundle, ZOSTR("list"), nullptr, nullptr)), "(none)");
    EXPECT_EQ(pathOf(ZoBundleCopyResourceURL(bundle, ZOSTR("../../secret"), nullptr, nullptr)), "(none)");
    EXPECT_EQ(pathOf(ZoBundleCopyResourceURL(bundle, nullptr, ZOSTR("plist"), nullptr)), "(none)");
    unsetenv("LUVIA_RESOURCES_DIR");
}
