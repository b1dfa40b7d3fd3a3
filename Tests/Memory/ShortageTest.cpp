// Wherever memory ends: a result that is whole, a refusal, or the end of the process with one line. Never part of a
// result, a leak, an exception or a crash.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <regex>
#include <string>

#include "Tests/Memory/FailingHeap.h"
#include "Tests/Memory/MemoryMakers.h"

using namespace luvia_test;

namespace {

enum Verdict { kFine, kDone, kWrong, kLeaks };
using Way = Verdict (*)(const Maker& maker, int64_t n) noexcept;

// In a process that never used the library: all fails from the n-th allocation on, in the middle of what is set up
// once. What was set up by halves does no harm later on.
Verdict runFresh(const Maker& maker, int64_t n) noexcept
{
    failing_heap::failAt(n, true);
    const Made result = maker.make(nullptr);
    if (!failing_heap::stopFailing()) return result == Made::kWhole ? kDone : kWrong;
    if (result == Made::kWrong) return kWrong;
    return maker.make(nullptr) == Made::kWrong ? kWrong : kFine;
}

// Whether more stays behind each time; what is kept for later use, or by a thread that ends, does not.
bool leaksAgain(const Maker& maker, int64_t n)
{
    for (int turn = 0; turn < 4; ++turn) {
        for (int i = 0; i < 3; ++i) maker.make(nullptr);
        const int64_t then = failing_heap::liveBlocks();
        failing_heap::failAt(n, false);
        maker.make(nullptr);
        failing_heap::stopFailing();
        if (failing_heap::liveBlocks() <= then) return false;
    }
    return true;
}

// Where all is set up: the n-th allocation alone fails, and nothing stays behind.
Verdict runOften(const Maker& maker, int64_t n) noexcept
{
    for (int i = 0; i < 3; ++i)
        if (maker.make(nullptr) != Made::kWhole) return kWrong;
    const int64_t before = failing_heap::liveBlocks();
    failing_heap::failAt(n, false);
    const Made result = maker.make(nullptr);
    const bool failed = failing_heap::stopFailing();
    if (result == Made::kWrong || (!failed && result != Made::kWhole)) return kWrong;
    if (failing_heap::liveBlocks() > before && leaksAgain(maker, n)) return kLeaks;
    return failed ? kFine : kDone;
}

// What a process of its own comes to; empty if it is fine. `done` once nothing was there to fail.
std::string outcomeOf(Way run, const Maker& maker, int64_t n, bool* done)
{
    const int errors = memfd_create("errors", 0);
    const pid_t child = fork();
    if (child == 0) {
        constexpr rlimit kNoCore = {0, 0};
        setrlimit(RLIMIT_CORE, &kNoCore);
        dup2(errors, STDERR_FILENO);
        dup2(errors, STDOUT_FILENO);
        alarm(10);
        if (maker.sparesICU) failing_heap::spareCallsFrom("/libicu");
        _exit(run(maker, n));
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::string text(static_cast<size_t>(lseek(errors, 0, SEEK_END)), '\0');
    if (pread(errors, text.data(), text.size(), 0) < 0) text.clear();
    close(errors);
    *done = WIFEXITED(status) && WEXITSTATUS(status) == kDone;
    if (WIFEXITED(status) && (WEXITSTATUS(status) == kFine || *done)) return "";
    if (WIFEXITED(status)) return std::string("verdict ") + std::to_string(WEXITSTATUS(status)) + "\n" + text;
    static const std::regex kOneLine("(^|\n)[^\n]*(out of|no) memory[^\n]*\n$");
    if (WTERMSIG(status) == SIGABRT && std::regex_search(text, kOneLine)) return "";
    return std::string(strsignal(WTERMSIG(status))) + "\n" + text;
}

class Shortage : public testing::TestWithParam<const Maker*> {};

TEST_P(Shortage, endsInAWholeResultARefusalOrOneLine)
{
    if (!failing_heap::isThere()) GTEST_SKIP() << "the sanitizer has a heap of its own";
    for (const Way run : {Way{runFresh}, Way{runOften}}) {
        bool done = false;
        for (int64_t n = 1; !done && n < 2000; ++n) {
            const std::string complaint = outcomeOf(run, *GetParam(), n, &done);
            EXPECT_EQ(complaint, "") << (run == runFresh ? "fresh" : "often") << ", allocation " << n;
            if (!complaint.empty()) break;
        }
        EXPECT_TRUE(done || HasFailure());
    }
}

std::vector<const Maker*> allMakers()
{
    std::vector<const Maker*> all;
    for (const auto& makers : {kFoundationMakers, kPlatformMakers, kCoreMakers})
        for (const Maker& maker : makers) all.push_back(&maker);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Heap, Shortage, testing::ValuesIn(allMakers()),
                         [](const auto& row) { return std::string(row.param->what); });

void sweepAll()
{
    for (const Maker* maker : allMakers()) sweepMakers(maker, 1);
}

// In a process of its own: the threads that it starts would be missing in those that are forked for the heap.
TEST(PassedAllocator, failsWithoutEndingTheProcess)
{
    EXPECT_EXIT((sweepAll(), _exit(HasFailure())), testing::ExitedWithCode(0), "");
}

}  // namespace
