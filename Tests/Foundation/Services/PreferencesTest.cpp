#include <gtest/gtest.h>

#include <filesystem>

#include "Foundation/Services/ZoPreferences.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <random>
#include <regex>
#include <vector>

#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Services/ZoPreferencesStorePrivate.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/TemporaryFolder.h"

using namespace luvia_test;

namespace {

class Preferences : public testing::Test {
protected:
    Preferences() { setenv("LUVIA_PREFERENCES_DIR", folder_.path().c_str(), 1); }
    ~Preferences() override { unsetenv("LUVIA_PREFERENCES_DIR"); }

    static constexpr std::string_view kDomain = "com.example.test";
    std::filesystem::path file() const { return folder_ / "com.example.test.plist"; }
    void store(std::string_view dictionary) const
    {
        writeFile(file(), "<plist><dict>" + std::string(dictionary) + "</dict></plist>");
    }

    static void set(std::string_view key, ZoTypeRef value)
    {
        const auto pairs = dictionary({{str(key).get(), value}});
        ZoPreferencesSetMultiple(pairs.get(), nullptr, str(kDomain).get(), kZoPreferencesCurrentUser,
                                 kZoPreferencesAnyHost);
    }
    static bool synchronize()
    {
        return ZoPreferencesSynchronize(str(kDomain).get(), kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
    }
    static ZoRef<ZoTypeRef> get(std::string_view key)
    {
        return zoAdopt<ZoTypeRef>(ZoPreferencesCopyAppValue(str(key).get(), str(kDomain).get()));
    }
    static bool has(std::string_view key, ZoTypeRef value)
    {
        const auto own = get(key);
        return own && ZoEqual(own.get(), value);
    }
    static int entriesIn(const std::filesystem::path& path)
    {
        return static_cast<int>(
            std::distance(std::filesystem::directory_iterator(path), std::filesystem::directory_iterator()));
    }

    TemporaryFolder folder_;
};

TEST_F(Preferences, convertTheirValues)
{
    static constexpr struct {
        const char* value;
        int boolean;  // -1: not one
        ZoIndex integer;
        bool isInteger;
    } kTable[] = {
        {"<true/>", 1, 1, true},
        {"<integer>1</integer>", 1, 1, true},
        {"<integer>-7</integer>", 1, -7, true},
        {"<real>2.5</real>", 1, 0, false},
        {"<string>YES</string>", 1, 0, false},
        {"<string>no</string>", 0, 0, false},
        {"<string>12x</string>", -1, 0, false},
        {"<string>-42</string>", -1, -42, true},
        {"<integer>18446744073709551615</integer>", 1, 0, false},
        {"<array/>", -1, 0, false},
        {nullptr, -1, 0, false},
    };
    std::string pairs;
    for (const auto& row : kTable)
        if (row.value) pairs += "<key>" + std::to_string(&row - kTable) + "</key>" + row.value;
    store(pairs);
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.value ? row.value : "absent");
        const auto key = str(std::to_string(&row - kTable)), domain = str(kDomain);
        Boolean isValid = 2;
        EXPECT_EQ(ZoPreferencesGetAppBooleanValue(key.get(), domain.get(), &isValid), row.boolean == 1);
        EXPECT_EQ(isValid, row.boolean >= 0);
        EXPECT_EQ(ZoPreferencesGetAppIntegerValue(key.get(), domain.get(), &isValid), row.integer);
        EXPECT_EQ(isValid, row.isInteger);
    }
    EXPECT_FALSE(ZoPreferencesGetAppBooleanValue(ZOSTR("x"), ZOSTR("../escape"), nullptr));
}

TEST_F(Preferences, areSeenHereAtOnceAndElsewhereAfterSynchronizing)
{
    store("<key>kept</key><string>k</string><key>gone</key><string>g</string>");
    set("new", number(5).get());
    EXPECT_TRUE(has("new", number(5).get()));
    EXPECT_EQ(contentsOf(file()).find("new"), std::string::npos);
    const auto keys = array({ZOSTR("gone")});
    ZoPreferencesSetMultiple(nullptr, keys.get(), str(kDomain).get(), kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
    EXPECT_FALSE(get("gone"));

    // Somebody else changes the file in the meantime.
    store("<key>kept</key><string>other</string><key>gone</key><string>g</string><key>theirs</key><true/>");
    chmod(file().c_str(), 0640);
    EXPECT_TRUE(has("kept", ZOSTR("k")));
    EXPECT_TRUE(synchronize());
    EXPECT_TRUE(has("kept", ZOSTR("other")));
    EXPECT_TRUE(has("theirs", kZoBooleanTrue));
    EXPECT_FALSE(get("gone"));
    const std::string bytes = contentsOf(file());
    EXPECT_NE(bytes.find("<key>new</key>"), std::string::npos);
    EXPECT_EQ(bytes.find("gone"), std::string::npos);
    struct stat status;
    EXPECT_EQ(stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(entriesIn(folder_.path()), 2);  // the file and its lock
}

TEST_F(Preferences, otherUsersAndUnstorableValuesChangeNothing)
{
    const auto pairs = dictionary({{ZOSTR("k"), kZoBooleanTrue}});
    ZoPreferencesSetMultiple(pairs.get(), nullptr, str(kDomain).get(), ZOSTR("somebody"), kZoPreferencesAnyHost);
    EXPECT_FALSE(get("k"));
    testing::internal::CaptureStderr();
    set("bad", kZoNull);
    set("control", str("\x01").get());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("left out"), std::string::npos);
    set("good", kZoBooleanTrue);
    EXPECT_TRUE(synchronize());
    EXPECT_FALSE(get("bad"));
    EXPECT_TRUE(get("good"));
}

TEST_F(Preferences, aCorruptFileIsReportedOnceAndKept)
{
    const struct {
        std::string garbage, backup;
        bool isReadFirst;
    } rows[] = {{"no property list", "com.example.test.plist.corrupt", true},
                {"<plist><array/></plist>", "com.example.test.plist.corrupt.1", true},
                {"set without a read", "com.example.test.plist.corrupt.2", false}};
    for (const auto& row : rows) {
        writeFile(file(), row.garbage);
        testing::internal::CaptureStderr();
        if (row.isReadFirst) {
            synchronize();
            EXPECT_FALSE(get("k"));
            EXPECT_TRUE(synchronize());
            EXPECT_EQ(contentsOf(file()), row.garbage);  // reading alone changes nothing
        }
        set("k", kZoBooleanTrue);
        EXPECT_TRUE(synchronize());
        const std::string report = testing::internal::GetCapturedStderr();
        const std::regex kReports("not a property list");
        EXPECT_EQ(std::distance(std::sregex_iterator(report.begin(), report.end(), kReports), {}), 1 + row.isReadFirst)
            << report;
        EXPECT_NE(report.find("kept as"), std::string::npos);
        EXPECT_NE(contentsOf(file()).find("<key>k</key>"), std::string::npos);
        EXPECT_EQ(contentsOf(folder_ / row.backup), row.garbage);
    }
}

TEST_F(Preferences, aFolderThatCannotBeWrittenLosesNothing)
{
    const auto blocked = folder_ / "blocked";
    setenv("LUVIA_PREFERENCES_DIR", blocked.c_str(), 1);
    writeFile(blocked, "a file where the folder should be");
    testing::internal::CaptureStderr();
    set("k", kZoBooleanTrue);
    EXPECT_FALSE(synchronize());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("preferences: "), std::string::npos);
    EXPECT_TRUE(has("k", kZoBooleanTrue));

    std::filesystem::remove(blocked);
    EXPECT_TRUE(synchronize());
    EXPECT_NE(contentsOf(blocked / "com.example.test.plist").find("<key>k</key>"), std::string::npos);
}

TEST_F(Preferences, aSymbolicLinkStaysOne)
{
    std::filesystem::create_directory(folder_ / "dotfiles");
    const auto target = folder_ / "dotfiles" / "real.plist";
    writeFile(target, "<plist><dict/></plist>");
    std::filesystem::create_symlink(target, file());
    set("k", kZoBooleanTrue);
    EXPECT_TRUE(synchronize());
    EXPECT_TRUE(std::filesystem::is_symlink(file()));
    EXPECT_NE(contentsOf(target).find("<key>k</key>"), std::string::npos);
}

// Whenever a writer dies, what was there or what was to be there is; and it leaves no more than one file, which the
// next one takes away.
TEST_F(Preferences, survivesWritersThatAreKilled)
{
    store("<key>kept</key><true/>");
    std::mt19937 random(1);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            for (int64_t i = 0;; ++i) {
                set("counter", number(i).get());
                synchronize();
            }
        }
        usleep(random() % 8000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const std::string bytes = contentsOf(file());
        EXPECT_TRUE(bytes.starts_with("<") && bytes.find("</plist>") != std::string::npos) << bytes;
        EXPECT_LE(entriesIn(folder_.path()), 3);
    }
    set("after", kZoBooleanTrue);
    EXPECT_TRUE(synchronize());
    EXPECT_TRUE(has("kept", kZoBooleanTrue));
    EXPECT_EQ(entriesIn(folder_.path()), 2);
}

TEST_F(Preferences, concurrentWritersAllWin)
{
    constexpr int kWriters = 6, kKeys = 15;
    const auto name = [](int writer, int key) { return std::to_string(writer) + " " + std::to_string(key); };
    pid_t children[kWriters];
    for (int writer = 0; writer < kWriters; ++writer) {
        children[writer] = fork();
        if (children[writer] != 0) continue;
        bool ok = true;
        for (int key = 0; key < kKeys; ++key) {
            set(name(writer, key), number(key).get());
            ok &= synchronize();
        }
        _exit(ok ? 0 : 1);
    }
    for (int writer = 0; writer < kWriters; ++writer) {
        int status = 1;
        EXPECT_EQ(waitpid(children[writer], &status, 0), children[writer]);
        EXPECT_EQ(status, 0);
    }
    for (int i = 0; i < kWriters * kKeys; ++i) EXPECT_TRUE(has(name(i / kKeys, i % kKeys), number(i % kKeys).get()));
    EXPECT_EQ(entriesIn(folder_.path()), 2);
}

}  // namespace

TEST(PreferencesPlace, isThatOfTheFirstVariableThatNamesOne)
{
    struct Row {
        const char *moved, *config, *home;
        const char* path;
    };
    static constexpr Row kRows[] = {
        {"moved", "/config", "/home/a", "moved/d.plist"},          {"", "/config", "/home/a", "/config/d.plist"},
        {nullptr, "config", "/home/a", "/home/a/.config/d.plist"},  // would move with the working directory
        {nullptr, "", "/home/a", "/home/a/.config/d.plist"},       {nullptr, nullptr, nullptr, ""},
    };
    const auto put = [](const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); };
    const std::string home = getenv("HOME") ? getenv("HOME") : "";
    for (const Row& row : kRows) {
        put("LUVIA_PREFERENCES_DIR", row.moved);
        put("XDG_CONFIG_HOME", row.config);
        put("HOME", row.home);
        EXPECT_EQ(zoprefs::pathOfDomain("d"), row.path);
    }
    put("HOME", home.c_str());
    put("LUVIA_PREFERENCES_DIR", "/moved");
    for (const std::string& domain : {std::string("a/b"), std::string("a\0b", 3), std::string(), std::string(201, 'a')})
        EXPECT_EQ(zoprefs::pathOfDomain(memory::String(domain)), "") << domain;
    put("LUVIA_PREFERENCES_DIR", nullptr);
}
