#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavLogPrivate.h"
#include "Tests/Platform/Diagnostics/DiagnosticsSupport.h"
#include "Tests/Support/SignalProbe.h"

namespace {

using luvia_test::contentsOf;
using luvia_test::LogDestination;
using luvia_test::setPreference;

constexpr uint32_t kNoStamp = kTavLogFlag_NoTimeStamp;

// The lines that were logged behind the banner of a new file.
std::vector<std::string> linesOf(const std::string& contents)
{
    std::vector<std::string> lines;
    size_t at = contents.rfind("=== New Log Starting At ");
    at = contents.find('\n', at) + 1;
    for (size_t end; (end = contents.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(contents.substr(at, end - at));
    return lines;
}

std::string takeBlockBuffer()
{
    const auto collected = zoAdopt(TavNote_CopyAndClearNoteBBuf());
    std::string text(LuBlockBufferGetDataLength(collected.get()), 'x');
    LuBlockBufferCopyDataBytes(collected.get(), 0, text.size(), text.data());
    return text;
}

// What the call writes to standard error.
template <typename Call>
std::string writtenBy(Call call)
{
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

void logLines(int count)  // of 1,000 bytes
{
    for (int i = 0; i < count; ++i) tav_log(1, kNoStamp, 0, 0, "%s", std::string(999, 'z').c_str());
}

class ExternalLog : public ::testing::Test {
protected:
    ExternalLog()
    {
        static int sCount = 0;
        path_ = luvia_test::temporaryFolder() + "/log" + std::to_string(++sCount);
        setPreference(ZOSTR("tav_notes_log"), path_.c_str());
        setPreference(ZOSTR("tav_notes_log_limit"), int64_t{0});
    }
    ~ExternalLog() override { setPreference(ZOSTR("tav_notes"), "off"); }
    void open() { setPreference(ZOSTR("tav_notes"), "external"); }

    std::string path_;
};

TEST(LogFormat, losesItsAnnotationsAndFindsObjects)
{
    struct Row {
        std::string format, filtered;
        bool hasObject = false;
    };
    const std::string fill(508, 'x');
    for (const Row& row : {
             Row{"%{public}s and %{private}d", "%s and %d"},
             Row{"plain", "plain"},
             Row{"", ""},
             Row{"%@", "%@", true},
             Row{"%%@", "%%@", true},
             Row{"%{public}@!", "%@!", true},
             Row{"a@b", "a@b"},
             Row{"{%d}", "{%d}"},
             Row{"% {x}", "% {x}"},
             Row{"%{never closed", ""},
             Row{"%d 100%", "%d 100"},
             Row{"%d%%", "%d%%"},
             Row{"<%{tag}*.P>", "<(%zu) %p>"},
             Row{"%{a}%{b}s", "%%s"},
             Row{fill + "abcdef", fill + "abc"},  // 511 characters
             Row{fill + "ab%d", fill + "ab"},     // cut inside a conversion
             Row{fill + "%{x}*.P", fill + "("},   // no room for the whole replacement
             Row{fill + "%-0*.3lld", fill},
         }) {
        char filtered[kTavLogFilteredFormatSize];
        EXPECT_EQ(CopyFilteredFormatString(row.format.c_str(), filtered), row.hasObject) << row.format;
        EXPECT_EQ(filtered, row.filtered);
    }
}

TEST(Log, goesWhereItIsSent)
{
    {
        LogDestination destination("stderr");
        EXPECT_EQ(writtenBy([] {
                      tav_log(1, kNoStamp, 0, 0, "one %{public}d", 1);
                      tav_log_Zo1(1, kNoStamp, 0, 0, "two %@", ZOSTR("objects"));
                      tav_log(1, kNoStamp, 0, 0, "");
                  }),
                  "one 1\ntwo objects\n\n");
    }
    {
        LogDestination destination("stdout");
        testing::internal::CaptureStdout();
        tav_log_emit(0, 1, kNoStamp, 0, 0, "emitted");
        fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "emitted\n");
    }
    {
        LogDestination destination("syslog");
        luvia_test::takeSyslog();
        for (uint32_t type : {0u, 1u, 2u, 3u}) tav_log(type, kNoStamp, 0, 0, "type %u", type);
        const auto lines = luvia_test::takeSyslog();
        ASSERT_EQ(lines.size(), 4u);
        for (size_t type = 0; type < 4; ++type) {
            EXPECT_EQ(lines[type].first, type % 2 == 0 ? 3 : 5) << "an error or a notice";
            EXPECT_EQ(lines[type].second, "type " + std::to_string(type));
        }
    }
    {
        LogDestination destination("bbuf");
        EXPECT_TRUE(zoAdopt(TavNote_CopyAndClearNoteBBuf()));
        tav_log(1, kNoStamp, 0, 0, "collected %d", 1);
        tav_log(1, kNoStamp, 0, 0, "collected %@", ZOSTR("2"));
        EXPECT_EQ(takeBlockBuffer(), std::string("collected 1\n\0collected 2\n\0", 26));
        EXPECT_EQ(LuBlockBufferGetDataLength(zoAdopt(TavNote_CopyAndClearNoteBBuf()).get()), 0u);
    }
    {
        LogDestination destination("ring");
        EXPECT_FALSE(zoAdopt(TavNote_CopyAndClearNoteBBuf())) << "nothing but with the block buffer";
        EXPECT_EQ(writtenBy([] { tav_log(1, kNoStamp, 0, 0, "formatted and dropped"); }), "");
    }
    // Off: no argument is touched.
    LogDestination destination("off");
    tav_log(1, kNoStamp, 0, 0, "%s", reinterpret_cast<const char*>(1));
    tav_log(1, kNoStamp, 0, 0, nullptr);
}

// Failing to make room for a line is signalled, and what is signalled is logged.
TEST(Log, dropsALineThatTheBlockBufferHasNoRoomFor)
{
    LogDestination destination("bbuf");
    tav_log(1, kNoStamp, 0, 0, "before");
    const luvia_test::SignalProbe probe;
    luvia_test::withoutMemory([] { tav_log(1, kNoStamp, 0, 0, "lost"); });
    EXPECT_EQ(probe.count(), 1u);
    tav_log(1, kNoStamp, 0, 0, "after");
    EXPECT_EQ(takeBlockBuffer(), std::string("before\n\0after\n\0", 15));
}

TEST(Log, writesTimeStampsAsAsked)
{
    struct Row {
        uint32_t flags;
        const char* pattern;
    };
    LogDestination destination("stderr");
    for (const Row& row :
         {Row{kTavLogFlag_LocalTime, R"(\[\d\d:\d\d:\d\d\.\d\d\d\] x\n)"},
          Row{kTavLogFlag_TimeSinceStart, R"(\[\d\d:\d\d\.\d{6}\] x\n)"}, Row{kTavLogFlag_Blank, R"(\[ \] x\n)"},
          Row{kTavLogFlag_LocalTime | 4, R"(\[\d\d:\d\d:\d\d\.\d\d\d\] x\n)"}}) {
        const std::string line = writtenBy([&] { tav_log(1, row.flags, 0, 0, "x"); });
        EXPECT_TRUE(std::regex_match(line, std::regex(row.pattern))) << line;
    }
}

TEST(Log, neverCutsALongLine)
{
    LogDestination destination("stderr");
    for (size_t length : {1534, 1535, 1536, 1537, 20000}) {
        const std::string text(length, 'y');
        EXPECT_EQ(writtenBy([&] { tav_log(1, kNoStamp, 0, 0, "%s", text.c_str()); }), text + "\n") << length;
    }
    const std::string format = std::string(509, 'f') + "%d%d";  // the second conversion is cut off
    EXPECT_EQ(writtenBy([&] { tav_log(1, kNoStamp, 0, 0, format.c_str(), 5, 6); }), std::string(509, 'f') + "5\n");
}

TEST_F(ExternalLog, beginsWithItsBannerAndGoesOnBehindWhatIsThere)
{
    open();
    EXPECT_EQ(gTavLogControl, kTavLogControl_ExternalFile);
    tav_log(1, kNoStamp, 0, 0, "first");
    open();
    tav_log(1, kNoStamp, 0, 0, "second");
    const std::string contents = contentsOf(path_);
    EXPECT_TRUE(std::regex_search(contents, std::regex("^\n\n\n=== New Log Starting At \\w{3} \\w{3} [ \\d]\\d "
                                                       "\\d\\d:\\d\\d:\\d\\d \\d{4} ={61}\nfirst\n\n\n\n=== New")))
        << contents;
    EXPECT_EQ(linesOf(contents), std::vector<std::string>{"second"});
}

TEST_F(ExternalLog, startsAfreshPastItsLimit)
{
    setPreference(ZOSTR("tav_notes_log_limit"), "1000");  // raised to 65536
    open();
    logLines(64);
    EXPECT_EQ(linesOf(contentsOf(path_)).size(), 64u) << "64,000 bytes and a banner are within the limit";
    logLines(3);
    const std::string contents = contentsOf(path_);
    EXPECT_EQ(contents.find("\n\n\n=== New Log"), 0u);
    EXPECT_LT(linesOf(contents).size(), 3u);
}

TEST_F(ExternalLog, countsWhatTheFileHeldBefore)
{
    FILE* file = fopen(path_.c_str(), "w");
    fputs(std::string(70000, 'o').c_str(), file);
    fclose(file);
    setPreference(ZOSTR("tav_notes_log_limit"), int64_t{65536});
    open();
    tav_log(1, kNoStamp, 0, 0, "the line that is too much");
    EXPECT_EQ(contentsOf(path_).find('o' + std::string("oo")), std::string::npos);
    EXPECT_TRUE(linesOf(contentsOf(path_)).empty());
}

// A full disk loses lines and nothing else: the destination stays, and the next file gets what comes then.
TEST_F(ExternalLog, goesOnAfterAFullDisk)
{
    const std::string full = path_ + ".full";  // a link: a log that mistook it for a file may delete it
    ASSERT_EQ(symlink("/dev/full", full.c_str()), 0);
    setPreference(ZOSTR("tav_notes_log"), full.c_str());
    setPreference(ZOSTR("tav_notes_log_limit"), int64_t{65536});  // no line counts that was not written
    open();
    ASSERT_EQ(gTavLogControl, kTavLogControl_ExternalFile);
    for (int i = 0; i < 2000; ++i) tav_log(1, kNoStamp, 0, 0, "a line that the disk has no room for, %d", i);
    EXPECT_EQ(gTavLogControl, kTavLogControl_ExternalFile);
    EXPECT_EQ(access(full.c_str(), F_OK), 0) << "taken for a file that has grown past its limit";
    setPreference(ZOSTR("tav_notes_log"), path_.c_str());
    open();
    tav_log(1, kNoStamp, 0, 0, "kept");
    EXPECT_EQ(linesOf(contentsOf(path_)), std::vector<std::string>{"kept"});
}

TEST_F(ExternalLog, waitsForNoReaderOfAFIFO)
{
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    open();
    EXPECT_EQ(gTavLogControl, kTavLogControl_Syslog) << "no reader";
    const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK);
    open();
    tav_log(1, kNoStamp, 0, 0, "read");
    char text[256] = "";
    const ssize_t count = read(reader, text, sizeof(text) - 1);
    EXPECT_EQ(std::string(text, size_t(std::max<ssize_t>(count, 0))).find("\n\n\n=== New Log"), 0u);
    EXPECT_NE(strstr(text, "===\nread\n"), nullptr) << text;
    for (int i = 0; i < 2000; ++i) tav_log(1, kNoStamp, 0, 0, "more than a pipe holds while nobody reads, %d", i);
    close(reader);
    tav_log(1, kNoStamp, 0, 0, "nobody's");  // does not end the process
    EXPECT_EQ(gTavLogControl, kTavLogControl_ExternalFile);
}

TEST_F(ExternalLog, followsLinksOfThisUserOrRootOnly)
{
    const std::string link = path_ + ".link", inner = path_ + ".inner";
    ASSERT_EQ(symlink(inner.c_str(), link.c_str()), 0);
    ASSERT_EQ(symlink(std::filesystem::path(path_).filename().c_str(), inner.c_str()), 0);
    setPreference(ZOSTR("tav_notes_log"), link.c_str());
    open();
    tav_log(1, kNoStamp, 0, 0, "through two links");
    EXPECT_EQ(linesOf(contentsOf(path_)), std::vector<std::string>{"through two links"});
    constexpr uid_t kNobody = 65534;
    if (lchown(inner.c_str(), kNobody, kNobody) != 0) GTEST_SKIP() << "only root makes a foreigner's link";
    open();
    EXPECT_EQ(gTavLogControl, kTavLogControl_Syslog);
}

TEST_F(ExternalLog, removesOnlyWhatItHasOpen)
{
    const std::string link = path_ + ".link", moved = path_ + ".moved";
    const auto contentsAfterTheLimit = [&](const std::string& path) {
        logLines(70);
        return linesOf(contentsOf(path)).size();
    };
    ASSERT_EQ(symlink(path_.c_str(), link.c_str()), 0);
    setPreference(ZOSTR("tav_notes_log"), link.c_str());
    setPreference(ZOSTR("tav_notes_log_limit"), int64_t{65536});
    open();
    EXPECT_LT(contentsAfterTheLimit(path_), 10u) << "begun anew behind its link";
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    // The name is another file's by now.
    std::filesystem::rename(path_, moved);
    std::ofstream(path_) << "not ours\n";
    EXPECT_LT(contentsAfterTheLimit(path_), 10u);
    EXPECT_EQ(contentsOf(path_).find("not ours\n"), 0u);
    EXPECT_GT(std::filesystem::file_size(moved), 65000u);
}

TEST_F(ExternalLog, hasAPublicName)
{
    setPreference(ZOSTR("tav_notes_log_limit"), int64_t{65536});
    setPreference(ZOSTR("tav_notes"), "public");
    ASSERT_EQ(gTavLogControl, kTavLogControl_ExternalFile);
    std::ofstream(path_) << "not the public one\n";
    logLines(70);
    EXPECT_EQ(contentsOf(path_), "not the public one\n");
    int found = 0;
    for (const auto& descriptor :
         std::filesystem::directory_iterator("/proc/self/fd")) {  // others may have theirs in /tmp
        std::error_code gone;
        const std::string name = std::filesystem::read_symlink(descriptor, gone);
        if (!std::regex_match(name, std::regex(R"(/tmp/luviad_log_\d{4}-\d\d-\d\d-\d{6}\.txt)"))) continue;
        ++found;
        EXPECT_LT(std::filesystem::file_size(name), 10000u) << "past its limit it was begun anew";
        unlink(name.c_str());
    }
    EXPECT_EQ(found, 1);
}

// No line is lost or torn, and each thread's lines stay in order.
TEST_F(ExternalLog, takesLinesFromManyThreads)
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    constexpr int kThreads = 8, kLines = 2000;
#else
    constexpr int kThreads = 8, kLines = 10000;
#endif
    open();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([thread] {
            for (int line = 0; line < kLines; ++line)
                tav_log(1, kNoStamp, 0, 0, "thread %d line %d %@", thread, line,
                        line % 100 == 0 ? ZOSTR("object") : ZOSTR(""));
        });
    for (std::thread& thread : threads) thread.join();
    int next[kThreads] = {};
    const auto lines = linesOf(contentsOf(path_));
    for (const std::string& line : lines) {
        int thread = -1, number = -1, used = 0;
        ASSERT_EQ(sscanf(line.c_str(), "thread %d line %d %n", &thread, &number, &used), 2) << line;
        ASSERT_TRUE(thread >= 0 && thread < kThreads) << line;
        ASSERT_EQ(line.substr(static_cast<size_t>(used)), number % 100 == 0 ? "object" : "") << line;
        ASSERT_EQ(number, next[thread]++) << line;
    }
    EXPECT_EQ(lines.size(), size_t{kThreads} * kLines);
}

}  // namespace
