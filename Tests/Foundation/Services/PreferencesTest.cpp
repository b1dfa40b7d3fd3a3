#include <gtest/gtest.h>

#include <filesystem>

#include "Foundation/Services/ZoPreferences.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <climits>
#include <csignal>
#include <optional>
#include <random>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
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
        const auto pairs = dictionary();
        ZoDictionarySetValue(pairs.get(), str(key).get(), value);
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
    store(
        "<key>true</key><true/><key>one</key><integer>1</integer><key>minus</key><integer>-7</integer><key>real</"
        "key><real>2.5</real>"
        "<key>YES</key><string>YES</string><key>no</key><string>no</string><key>text</key><string>12x</string>"
        "<key>digits</key><string>-42</string><key>huge</key><integer>18446744073709551615</integer><key>list</"
        "key><array/>");
    struct Row {
        const char* key;
        int boolean;  // -1: not one
        ZoIndex integer;
        bool isInteger;
    };
    static constexpr Row kTable[] = {
        {"true", 1, 1, true},  {"one", 1, 1, true},    {"minus", 1, -7, true},   {"real", 1, 0, false},
        {"YES", 1, 0, false},  {"no", 0, 0, false},    {"text", -1, 0, false},   {"digits", -1, -42, true},
        {"huge", 1, 0, false}, {"list", -1, 0, false}, {"absent", -1, 0, false},
    };
    for (const Row& row : kTable) {
        Boolean isValid = 2;
        EXPECT_EQ(ZoPreferencesGetAppBooleanValue(str(row.key).get(), str(kDomain).get(), &isValid), row.boolean == 1)
            << row.key;
        EXPECT_EQ(isValid, row.boolean >= 0) << row.key;
        EXPECT_EQ(ZoPreferencesGetAppIntegerValue(str(row.key).get(), str(kDomain).get(), &isValid), row.integer)
            << row.key;
        EXPECT_EQ(isValid, row.isInteger) << row.key;
    }
    EXPECT_FALSE(ZoPreferencesGetAppBooleanValue(ZOSTR("x"), ZOSTR("../escape"), nullptr));
}

TEST_F(Preferences, areSeenHereAtOnceAndElsewhereAfterSynchronizing)
{
    store("<key>kept</key><string>k</string><key>gone</key><string>g</string>");
    set("new", number(5).get());
    EXPECT_TRUE(has("new", number(5).get()));
    EXPECT_EQ(contentsOf(file()).find("new"), std::string::npos);
    const void* key = ZOSTR("gone");
    const auto keys = zoAdopt(ZoArrayCreate(nullptr, &key, 1, &kZoTypeArrayCallBacks));
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
    const auto pairs = dictionary();
    ZoDictionarySetValue(pairs.get(), ZOSTR("k"), kZoBooleanTrue);
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
    for (const std::string garbage : {"no property list", "<plist><array/></plist>"}) {
        writeFile(file(), garbage);
        testing::internal::CaptureStderr();
        synchronize();
        EXPECT_FALSE(get("k"));
        EXPECT_TRUE(synchronize());
        const std::string report = testing::internal::GetCapturedStderr();
        const size_t first = report.find("not a property list");
        EXPECT_NE(first, std::string::npos);
        EXPECT_EQ(report.find("not a property list", first + 1), std::string::npos);
        EXPECT_EQ(contentsOf(file()), garbage);  // reading alone changes nothing

        set("k", kZoBooleanTrue);
        testing::internal::CaptureStderr();
        EXPECT_TRUE(synchronize());
        EXPECT_NE(testing::internal::GetCapturedStderr().find("kept as"), std::string::npos);
        EXPECT_NE(contentsOf(file()).find("<key>k</key>"), std::string::npos);
        const char* backup =
            garbage.front() == 'n' ? "com.example.test.plist.corrupt" : "com.example.test.plist.corrupt.1";
        EXPECT_EQ(contentsOf(folder_ / backup), garbage);
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

    setenv("LUVIA_PREFERENCES_DIR", "/proc/self/none", 1);  // a folder that is read-only even for root
    testing::internal::CaptureStderr();
    set("k", kZoBooleanTrue);
    EXPECT_FALSE(synchronize());
    testing::internal::GetCapturedStderr();
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

TEST_F(Preferences, aCorruptFileIsReportedWhenItIsSetWithoutARead)
{
    const auto folder = folder_ / "unread";
    std::filesystem::create_directory(folder);
    setenv("LUVIA_PREFERENCES_DIR", folder.c_str(), 1);
    writeFile(folder / "com.example.test.plist", "no property list");
    testing::internal::CaptureStderr();
    set("k", kZoBooleanTrue);
    EXPECT_TRUE(synchronize());
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(report.find("not a property list"), std::string::npos);
    EXPECT_NE(report.find("com.example.test.plist.corrupt"), std::string::npos);
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
    pid_t children[kWriters];
    for (int writer = 0; writer < kWriters; ++writer) {
        children[writer] = fork();
        if (children[writer] != 0) continue;
        bool ok = true;
        for (int key = 0; key < kKeys; ++key) {
            set("writer " + std::to_string(writer) + " key " + std::to_string(key), number(key).get());
            ok &= synchronize();
        }
        _exit(ok ? 0 : 1);
    }
    for (const pid_t child : children) {
        int status = 1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    for (int writer = 0; writer < kWriters; ++writer)
        for (int key = 0; key < kKeys; ++key)
            EXPECT_TRUE(has("writer " + std::to_string(writer) + " key " + std::to_string(key), number(key).get()));
    EXPECT_EQ(entriesIn(folder_.path()), 2);
}

}  // namespace

// Sets variables of the environment, or unsets those that are null, and puts them back.
class Environment {
public:
    Environment(std::initializer_list<std::pair<const char*, const char*>> variables)
    {
        for (const auto& [name, value] : variables) {
            const char* old = getenv(name);
            before_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
            put(name, value);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment()
    {
        for (const auto& [name, value] : before_) put(name.c_str(), value ? value->c_str() : nullptr);
    }

private:
    static void put(const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); }
    std::vector<std::pair<std::string, std::optional<std::string>>> before_;
};

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
    for (const Row& row : kRows) {
        const Environment environment{
            {"LUVIA_PREFERENCES_DIR", row.moved}, {"XDG_CONFIG_HOME", row.config}, {"HOME", row.home}};
        EXPECT_EQ(zoprefs::pathOfDomain("d"), row.path);
    }
    const Environment environment{{"LUVIA_PREFERENCES_DIR", "/moved"}};
    for (const std::string& domain : {std::string("a/b"), std::string("a\0b", 3), std::string(), std::string(201, 'a')})
        EXPECT_EQ(zoprefs::pathOfDomain(memory::String(domain)), "") << domain;
}
