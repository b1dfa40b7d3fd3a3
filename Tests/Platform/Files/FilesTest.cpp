#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>

#include "Platform/Common/CommonFile.h"
#include "Platform/Linux/TavLinuxHelpers.h"
#include "Platform/Ostra/OstraFilePath.h"
#include "Tests/Support/FileURLs.h"
#include "Tests/Support/SignalProbe.h"
#include "Utilities/TavZoUtilities_ForkPropertyLists.h"

using namespace luvia_test;

namespace {

struct Fork {
    TavFileForkRef fork = nullptr;
    OSStatus status;
    Fork(const std::filesystem::path& path, uint32_t options)
        : status(TavFileForkOpenMainByZoURL(fileURL(path).get(), options, &fork))
    {}
    ~Fork() { TavFileForkClose(fork); }
    operator TavFileForkRef() const { return fork; }
};
// Whether `body` holds in a process of its own, which may limit and unprivilege itself.
template <typename Body>
bool holdsInChild(Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

constexpr uint32_t kReadAndWrite = kTavFileOpen_ReadAndWrite, kCreate = kTavFileOpen_Create | kReadAndWrite;

TEST(Fork, mapsWhatOpeningSays)
{
    const TemporaryFolder folder;
    chmod(folder.path().c_str(), 0755);
    chmod(madeFile(folder / "file", "x").c_str(), 0600);
    symlink("loop", (folder / "loop").c_str());
    symlink("nowhere", (folder / "dangling").c_str());
    struct Row {
        std::string name;
        uint32_t options;
        OSStatus status, unprivileged;
    };
    const Row rows[] = {
        {"file", kTavFileOpen_Read, 0, kTavFilePlatformError_ReadPermission},
        {"file", kTavFileOpen_Write, 0, kTavFilePlatformError_WritePermission},
        {"file", kReadAndWrite, 0, kTavFilePlatformError_WritePermission},
        {"dangling", 0, kTavFilePlatformError_FileNotFound, kTavFilePlatformError_FileNotFound},
        {"file/below", 0, kTavFilePlatformError_NotADirectory, kTavFilePlatformError_NotADirectory},
        {"loop", 0, kTavFilePlatformError_TooManyLinks, kTavFilePlatformError_TooManyLinks},
        {std::string(255, 'n'), kCreate, 0, kTavFilePlatformError_WritePermission},
        {std::string(256, 'n'), kCreate, kTavFilePlatformError_NameTooLong, kTavFilePlatformError_NameTooLong},
        {"file", 3, kTavFilePlatformError_InvalidParameter, kTavFilePlatformError_InvalidParameter},
        {"file", kCreate | kTavFileOpen_CreateNew, EEXIST, EEXIST},
        {"new", kCreate | kTavFileOpen_CreateNew, 0, EEXIST},
    };
    for (const Row& row : rows) EXPECT_EQ(Fork(folder / row.name, row.options).status, row.status) << row.name;
    EXPECT_TRUE(holdsInChild([&] {
        ASSERT_EQ(unlink((folder / std::string(255, 'n')).c_str()), 0);
        ASSERT_EQ(setuid(65534), 0);
        for (const Row& row : rows)
            EXPECT_EQ(Fork(folder / row.name, row.options).status, row.unprivileged) << row.name;
        const rlimit none = {3, 3};
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_EQ(Fork(folder / "new", 0).status, EMFILE);
    }));
}

TEST(Fork, locksAndUnblocks)
{
    const TemporaryFolder folder;
    mkfifo((folder / "fifo").c_str(), 0600);
    const Fork fifo(folder / "fifo", kTavFileOpen_NonBlocking);
    ASSERT_EQ(fifo.status, 0) << "without waiting for a writer";
    EXPECT_EQ(fcntl(TavFileGetOstraFileDesc(fifo), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(TavFileGetOstraFileDesc(fifo), F_GETFD), FD_CLOEXEC);

    const Fork other(madeFile(folder / "file", "old"), 0);
    const SignalProbe probe;
    {
        const Fork locked(folder / "file", kReadAndWrite | kTavFileOpen_Truncate | kTavFileOpen_ExclusiveLock);
        EXPECT_EQ(contentsOf(folder / "file"), "");
        EXPECT_EQ(TavFileLock(other, LOCK_SH | LOCK_NB), kTavFilePlatformError_LockWouldBlock);
    }
    EXPECT_EQ(TavFileLock(other, LOCK_SH | LOCK_NB), 0) << "a lock goes with its fork";
    EXPECT_EQ(TavFileLock(other, LOCK_UN), EINVAL) << "of the operation only three bits count";
    EXPECT_EQ(probe.count(), 0u);
}

TEST(Fork, readsAndWritesAtOffsets)
{
    const TemporaryFolder folder;
    const Fork fork(folder / "file", kCreate);
    constexpr int64_t kFar = int64_t{5} << 30;  // sparse
    char bytes[8] = {};
    size_t count = 99;
    ASSERT_EQ(TavFileForkWrite(fork, "far", 3, kFar, &count), 0);
    EXPECT_EQ(TavFileForkRead(fork, bytes, sizeof(bytes), kFar + 1, &count), 0);
    EXPECT_EQ(std::string(bytes, count), "ar");
    for (const auto& [offset, expected] : {std::pair{kFar + 2, 1}, {kFar + 3, 0}, {int64_t{-1}, 0}}) {
        int64_t length = -1;
        EXPECT_EQ(TavFileForkGetLengthAtOffset(fork, offset, &length), 0);
        EXPECT_EQ(length, expected) << offset;
    }
}

TEST(Fork, survivesAFullDiskAndALimit)
{
    const TemporaryFolder folder;
    const std::string content(1 << 20, 'x');
    const auto fill = [&](size_t room, OSStatus refusal) {
        const Fork fork(folder / "file", kCreate);
        size_t count = 0;
        EXPECT_EQ(TavFileForkWrite(fork, content.data(), content.size(), 0, &count), 0);
        EXPECT_LE(count, room) << "short, which is no error";
        EXPECT_EQ(TavFileForkWrite(fork, "x", 1, static_cast<int64_t>(room), &count), refusal);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(TavFileForkWrite(fork, "x", 1, 50, &count), 0) << "the fork stays usable";
    };
    EXPECT_TRUE(holdsInChild([&] {
        const bool mayMount =
            unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        if (mayMount && mount("none", folder.path().c_str(), "tmpfs", 0, "size=64k") == 0) return fill(65536, ENOSPC);
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {65536, 65536};
        setrlimit(RLIMIT_FSIZE, &limit);
        fill(65536, EFBIG);
    }));
}

ZoRef<ZoStringRef> textOf(const std::string& text)
{
    return zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
}

std::string pathFrom(const std::string& text)
{
    ZoRef<TavFilePathRef> path;
    const OSStatus status = TavFilePathCreateFromNativePath(nullptr, textOf(text).get(), path.outParam());
    return status == 0 ? TavFileGetOstraPath(path.get()) : std::to_string(status);
}

TEST(FilePath, isResolvedWhereItLeadsSomewhere)
{
    const TemporaryFolder folder;
    madeFile(folder / "file", "");
    symlink("file", (folder / "link").c_str());
    symlink("nowhere", (folder / "dangling").c_str());
    const std::string longest(4095, 'a');
    const std::pair<std::string, std::string> rows[] = {
        {folder / "./link", folder / "file"},
        {folder / "dangling", folder / "dangling"},  // as given, not half resolved
        {"FILE:///no/x%20", "/no/x%20"},
        {"file://" + longest, longest},
        {longest + "a", std::to_string(kTavFilePlatformError_InvalidParameter)},
        {std::string(5000, 'a'), std::to_string(kTavFilePlatformError_InvalidParameter)},
        {std::string("/no\0/x", 6), std::to_string(kTavFilePathError_BadEncoding)},
    };
    for (const auto& [text, path] : rows) EXPECT_EQ(pathFrom(text), path);
}

TEST(FileServices, makeTemporaryFiles)
{
    const TemporaryFolder folder;
    const auto create = [&](const std::string& prefix) {
        ZoRef<ZoURLRef> url;
        TavFileForkRef fork = nullptr;
        const OSStatus status =
            TavFileCreateTempFileAtURL(fileURL(folder.path(), true).get(), textOf(prefix).get(), url.outParam(), &fork);
        EXPECT_EQ(status == 0, url && fork && TavFileDoesFileExist(url.get()));
        TavFileForkClose(fork);
        return status;
    };
    EXPECT_EQ(create("a %\xC3\xA4"), 0);
    EXPECT_EQ(create(std::string(248, 'n')), 0);
    EXPECT_EQ(create(std::string(249, 'n')), kTavFilePlatformError_CreationFailure);
    EXPECT_EQ(create("../out"), kTavFilePlatformError_InvalidParameter);
}

std::string wholeFile(const std::filesystem::path& path)
{
    ZoRef<ZoDataRef> data;
    if (TavFileReadURLAndCreateZoData(fileURL(path).get(), data.outParam()) != 0) return "failed";
    return {reinterpret_cast<const char*>(ZoDataGetBytePtr(data.get())),
            static_cast<size_t>(ZoDataGetLength(data.get()))};
}

TEST(FileServices, moveReadAndDelete)
{
    const TemporaryFolder folder;
    const auto file = fileURL(madeFile(folder / "file", "12345")), odd = fileURL(folder / "\xFF %");  // not UTF-8
    symlink("nowhere", (folder / "dangling").c_str());
    TavFileInfo before, after;
    ASSERT_EQ(TavFileGetFileInfo(file.get(), &before), 0);
    EXPECT_EQ(TavFileRename(file.get(), odd.get()), 0);
    ASSERT_EQ(TavFileGetFileInfo(odd.get(), &after), 0);
    EXPECT_TRUE(TavFileInfoEqual(&before, &after));
    for (const char* name : {"file", "\xFF %", "dangling"})
        EXPECT_EQ(TavFileDeleteFile(fileURL(folder / name).get()), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

    for (const std::string& content : {std::string(), std::string("short"), std::string(5 << 20, 'b')})
        EXPECT_EQ(wholeFile(madeFile(folder / "file", content)), content);
    // Says 4,096 bytes and gives fewer, as a file does that shrinks.
    const std::string shrinking = "/sys/kernel/mm/transparent_hugepage/enabled";
    if (std::filesystem::exists(shrinking)) {
        EXPECT_EQ(wholeFile(shrinking), contentsOf(shrinking));
    }
}

// A process that replaces a file over and over is killed: who reads finds one of the files, whole.
TEST(FileServices, replaceFilesAsAWhole)
{
    const TemporaryFolder folder;
    const std::string contents[] = {std::string(200000, 'a'), std::string(100000, 'b')};
    const auto target = fileURL(madeFile(folder / "target", contents[0]));
    const pid_t parent = getpid();
    for (int round = 0; round < 5; ++round) {
        const pid_t child = fork();
        for (int i = 0; getpid() != parent; i = !i) {
            ZoRef<ZoURLRef> url;
            TavFileForkRef fork = nullptr;
            TavFileCreateTempFileAtURL(fileURL(folder.path(), true).get(), ZOSTR("new"), url.outParam(), &fork);
            TavFileForkWrite(fork, contents[i].data(), contents[i].size(), 0, nullptr);
            TavFileForkClose(fork);
            TavFileRename(url.get(), target.get());
        }
        for (int i = 0; i < 100; ++i) {
            if (i == 99) kill(child, SIGKILL);
            const std::string found = wholeFile(folder / "target");
            ASSERT_TRUE(found == contents[0] || found == contents[1]) << found.size();
        }
        waitpid(child, nullptr, 0);
    }
}

TEST(FileServices, keepNamesInTheirFolder)
{
    const auto folder = fileURL("/no/folder", true);
    for (const std::string name : {"a b%", "..name", "..", "../out", "a/b", "a/../../b", "/etc/x", "../folder/x/.."}) {
        const OSStatus expected = name == "a b%" || name == "..name" ? 0 : kTavPersistentURLError_TranslationFailed;
        EXPECT_EQ(TavFileValidateFileNameIsWithinParentDirectory(folder.get(), textOf(name).get(), true), expected)
            << name;
    }
}

TEST(Resources, areFoundBesideTheProgramThenHereThenInShare)
{
    const TemporaryFolder here;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const std::filesystem::path share = program / "../share", before = std::filesystem::current_path();
    std::filesystem::create_directory(share);
    std::filesystem::current_path(here.path());
    const std::string name = "luvia-resource-" + std::to_string(getpid());
    const auto lengthOf = [](const std::string& wanted) {
        TavFileForkRef fork = nullptr;
        int64_t length = -1;
        if (TavZoGetResourceFile(nullptr, textOf(wanted).get(), &fork) == 0)
            TavFileForkGetLengthAtOffset(fork, 0, &length);
        TavFileForkClose(fork);
        return length;
    };
    EXPECT_EQ(lengthOf(name) + lengthOf(""), -2) << "neither is there";
    std::ofstream(share / name) << "share";
    EXPECT_EQ(lengthOf(name), 5);
    EXPECT_EQ(lengthOf(madeFile(here / name, "here")), 4);
    EXPECT_EQ(lengthOf(name), 4);
    std::ofstream(program / name) << "program";
    EXPECT_EQ(lengthOf(name), 7);
    std::filesystem::current_path(before);
    std::filesystem::remove(program / name);
    std::filesystem::remove(share / name);
}

TEST(ForkPropertyLists, goToForksAndComeBack)
{
    const TemporaryFolder folder;
    TavFileForkRef fork = nullptr;
    ASSERT_EQ(TavFileForkOpenMainByZoURL(fileURL(madeFile(folder / "list.plist", "")).get(), kTavFileOpen_ReadAndWrite,
                                         &fork),
              0);
    for (const std::string& text : {std::string(500, 'x'), std::string("short")}) {
        const auto list = textOf(text), name = textOf(folder / "list");
        TavZoPropertyListWriteToTavFileFork(list.get(), fork, kZoPropertyListXMLFormat_v1_0, 0, nullptr);
        const auto back =
            zoAdopt(TavCreatePropertyListFromBundleIdentifierOnPlatform(nullptr, name.get(), ZOSTR("plist")));
        EXPECT_TRUE(back && ZoEqual(back.get(), list.get()));
    }
    const auto url = fileURL(folder.path());  // no value of a property list
    EXPECT_EQ(TavZoPropertyListWriteToTavFileFork(url.get(), fork, kZoPropertyListXMLFormat_v1_0, 0, nullptr), 0);
    EXPECT_GT(std::filesystem::file_size(folder / "list.plist"), 0u) << "what was there stays";
    TavFileForkClose(fork);
}

}  // namespace
