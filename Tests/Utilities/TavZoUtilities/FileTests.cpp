// URLs, the files that they name, and names for new ones.

#include <cerrno>
#include <ctime>

#include "Foundation/URLs/ZoURL.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_TemporaryNames.h"
#include "Utilities/TavZoUtilities_URLs.h"

using namespace collection_test;
using luvia_test::str;

namespace {

ZoRef<ZoURLRef> url(const std::string& text)
{
    return zoAdopt(ZoURLCreateWithString(nullptr, str(text).get(), nullptr));
}
ZoRef<ZoURLRef> fileURL(const std::string& path)
{
    return zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, str(path).get(), kZoURLPOSIXPathStyle, false));
}
std::string pathOf(ZoRef<ZoURLRef> made)
{
    return made ? utf8(zoAdopt(ZoURLCopyFileSystemPath(made.get(), kZoURLPOSIXPathStyle)).get()) : takeSignals();
}

TEST(URLHelpers, makeURLsRelativeSoThatTheyResolveToThemselves)
{
    const char* rows[][3] = {{"http://h/a/b/c?q", "http://h/a/b/", "c?q"},
                             {"http://h/a/b/c", "http://h/a/x", "b/c"},
                             {"http://h/a/", "http://h/a/", ""},
                             {"http://h/a/x:y", "http://h/a/", "./x:y"},
                             {"http://h/a//evil/z", "http://h/a/", ".//evil/z"},
                             {"http://h/b/c", "http://h/a/", "-12996 baseURL is not a parent directory of URL"},
                             {"b/c", "http://h/a/", "-12996 URL is not absolute"},
                             {"mailto:a@b", "http://h/", "-12990 baseURL can't be decomposed"}};
    for (const auto& [text, base, expected] : rows) {
        takeSignals();
        const auto whole = url(text);
        ZoRef<ZoURLRef> relative;
        const OSStatus status =
            TavZoURLCreateRelativeURLWithURLAndBaseURL(nullptr, whole.get(), url(base).get(), relative.outParam());
        EXPECT_EQ(status == 0 ? utf8(ZoURLGetString(relative.get())) : takeSignals(), expected) << text;
        if (status != 0) continue;
        EXPECT_TRUE(ZoEqual(zoAdopt(ZoURLCopyAbsoluteURL(relative.get())).get(), whole.get())) << text;
    }
}

TEST(FileHelpers, askAndMakeWhatTheFileSystemHas)
{
    const luvia_test::TemporaryFolder folder;
    const auto made = fileURL((folder / "new").string()), file = fileURL((folder / "file").string());
    const auto link = fileURL((folder / "link").string()), deep = fileURL((folder / "no/where").string());
    EXPECT_FALSE(TavZoURLDoesDirectoryExist(made.get()));
    EXPECT_EQ(TavZoURLCreateDirectory(made.get()), 0);
    EXPECT_EQ(TavZoURLCreateDirectory(made.get()), 0) << "it is there";
    EXPECT_EQ(std::filesystem::status(folder / "new").permissions(), std::filesystem::perms::owner_all);
    EXPECT_EQ(TavZoURLCreateDirectory(deep.get()), -12995);

    luvia_test::writeFile(folder / "file", "hello");
    std::filesystem::create_symlink("file", folder / "link");
    int64_t size = 0;
    EXPECT_EQ(TavZoURLGetFileStats(link.get(), &size, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(size, 5);
    EXPECT_EQ(TavZoURLGetFileStats(deep.get(), &size, nullptr, nullptr, nullptr), ENOENT);
    EXPECT_TRUE(TavZoURLIdentifiesSameFileResourceAsZoURL(file.get(), link.get()));
    EXPECT_FALSE(TavZoURLIdentifiesSameFileResourceAsZoURL(file.get(), made.get()));
}

/// What a name says, with the mixing undone: seconds, and the count behind them.
uint64_t bitsOf(std::string path, size_t start)
{
    for (size_t i = start; i < path.size() / 2; ++i) std::swap(path[i], path[path.size() - 1 - i]);
    uint64_t bits = 0;
    for (size_t i = path.size(); i-- > start;)
        bits = bits << 5 | std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567").find(path[i]);
    return bits;
}

TEST(TemporaryNames, areTheTimeAndACountBehindTheTemplate)
{
    const luvia_test::TemporaryFolder folder;
    const auto inFolder = fileURL(folder.path().string()), nowhere = fileURL("/no/where");
    const auto named = [](ZoStringRef nameTemplate, ZoURLRef directory) {
        takeSignals();
        return pathOf(zoAdopt(TavZoURLCreateFromTemporaryFileWithDirectoryAndSuffix(nullptr, directory, nameTemplate)));
    };
    for (uint64_t i = 1; i <= 100; ++i) {
        const auto before = static_cast<uint64_t>(time(nullptr));
        const std::string path = named(nullptr, nullptr);
        const uint64_t bits = bitsOf(path, 5), seconds = bits & ((uint64_t{1} << 35) - 1);
        EXPECT_EQ(path.substr(0, 5), "/tmp/");
        EXPECT_TRUE(seconds >= before && seconds <= before + 2 && bits >> 35 == i) << path;
    }
    const std::string start = folder.path().string() + "/";
    EXPECT_EQ(named(ZOSTR("pfxXXXX"), inFolder.get()).substr(0, start.size() + 3), start + "pfx");
    EXPECT_EQ(named(ZOSTR("pXXXX"), inFolder.get()).size(), start.size() + 9) << "7 of the time, 2 of the count";
    EXPECT_EQ(named(ZOSTR("../pfx"), nullptr), "-12991 Failed to generate temporary file name");
    EXPECT_EQ(named(nullptr, nowhere.get()), "-12991 Temporary directory doesn't exist");
}

}  // namespace
