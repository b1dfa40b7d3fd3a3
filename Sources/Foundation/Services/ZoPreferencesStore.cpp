#include "Foundation/Services/ZoPreferencesStorePrivate.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Memory/Containers.h"

namespace zoprefs {
namespace {

constexpr size_t kMaximumFileSize = 64 << 20;
constexpr size_t kMaximumDomainLength = 200;  // leaves room for suffixes in a file name of 255 bytes
constexpr int kMaximumBackups = 1000;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }
    bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

private:
    int number_;
};

bool complain(const memory::String& path, const char* what)
{
    const auto text = zoStringFromUTF8(nullptr, path);
    ZoLog(3, ZOSTR("preferences: %s: %@ (%s)"), what, text.get(), strerror(errno));
    return false;
}

bool readAll(int descriptor, memory::ReportingArray<uint8_t>& bytes)
{
    constexpr size_t kPiece = 1 << 16;
    for (;;) {
        const size_t before = bytes.size();
        if (before > kMaximumFileSize) {
            errno = EFBIG;
            return false;
        }
        if (!bytes.resize(before + kPiece)) {
            errno = ENOMEM;
            return false;
        }
        const ssize_t count = read(descriptor, bytes.data() + before, kPiece);
        bytes.truncate(before + static_cast<size_t>(count > 0 ? count : 0));
        if (count == 0) return true;
        if (count < 0 && errno != EINTR) return false;
    }
}

bool writeAll(int descriptor, const uint8_t* bytes, size_t count)
{
    while (count) {
        const ssize_t written = write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) {
            bytes += written;
            count -= static_cast<size_t>(written);
        }
    }
    return true;
}

bool makeFolders(const memory::String& path)
{
    for (size_t slash = path.find('/', 1); slash != memory::String::npos; slash = path.find('/', slash + 1))
        if (mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST && errno != EROFS && errno != EACCES)
            return false;
    return true;  // what is missing because it may not be made shows when the file is opened
}

/// Where the file itself is, so that a symbolic link to it stays one.
memory::String targetOf(const memory::String& path)
{
    char target[PATH_MAX];
    return realpath(path.c_str(), target) ? target : path;
}

bool isSameFile(const memory::String& a, const memory::String& b)
{
    struct stat left, right;
    return lstat(a.c_str(), &left) == 0 && lstat(b.c_str(), &right) == 0 && left.st_dev == right.st_dev &&
           left.st_ino == right.st_ino;
}

/// Keeps the file under a name that no other file has, which comes out in `name`.
bool backUp(const memory::String& path, memory::String& name)
{
    name = path + ".corrupt";
    for (int i = 1; i <= kMaximumBackups; ++i) {
        if (link(path.c_str(), name.c_str()) == 0) return true;
        // A file system without hard links: then by name, and the file is gone until the new one takes its place.
        if ((errno == EPERM || errno == EOPNOTSUPP) &&
            renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0)
            return true;
        if (errno != EEXIST) return false;
        if (isSameFile(path, name)) return true;  // by somebody who came no further
        char suffix[16];
        snprintf(suffix, sizeof suffix, ".corrupt.%d", i);
        name = path + suffix;
    }
    return false;
}

void syncFolderOf(const memory::String& path)
{
    const Descriptor folder(open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) fsync(folder.get());  // of no use on some file systems, and no harm
}

/// The caller has the lock, so that one name is enough; who was killed before has left it, perhaps.
bool replaceFile(const memory::String& path, const uint8_t* bytes, size_t count)
{
    const memory::String temporary = path + ".new";
    unlink(temporary.c_str());
    Descriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file) return false;
    struct stat old;
    const bool keepsMode = stat(path.c_str(), &old) == 0;
    const bool isWritten = (!keepsMode || fchmod(file.get(), old.st_mode & 07777) == 0) &&
                           writeAll(file.get(), bytes, count) && fsync(file.get()) == 0 && file.close() &&
                           rename(temporary.c_str(), path.c_str()) == 0;
    if (!isWritten) {
        const int reason = errno;
        unlink(temporary.c_str());
        errno = reason;
        return false;
    }
    syncFolderOf(path);
    return true;
}

ZoRef<ZoDictionaryRef> merged(ZoDictionaryRef contents, const Changes& changes)
{
    const auto result = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, contents));
    if (!result) memory::stop();
    for (const auto& [name, value] : changes) {
        const auto key = zoStringFromUTF8(nullptr, name);
        if (!key) memory::stop();
        if (value)
            ZoDictionarySetValue(result.get(), key.get(), value.get());
        else
            ZoDictionaryRemoveValue(result.get(), key.get());
    }
    auto copy = zoAdopt(ZoDictionaryCreateCopy(nullptr, result.get()));
    if (!copy) memory::stop();
    return copy;
}

/// A property list of `bytes`. A shortage of memory is not a corrupt file: Reading::unreadable.
Reading parse(memory::ReportingArray<uint8_t>& bytes, ZoRef<ZoTypeRef>& list)
{
    const auto data = zoAdopt(
        ZoDataCreateWithBytesNoCopy(nullptr, bytes.data(), static_cast<ZoIndex>(bytes.size()), kZoAllocatorNull));
    ZoErrorRef error = nullptr;
    if (data) list.reset(ZoPropertyListCreateWithData(nullptr, data.get(), kZoPropertyListImmutable, nullptr, &error));
    const auto reason = zoAdopt(error);
    if (list) return Reading::ok;
    if (reason && ZoErrorGetCode(reason.get()) != kZoPropertyListErrorAllocation) return Reading::corrupt;
    errno = ENOMEM;
    return Reading::unreadable;
}

}  // namespace

memory::String pathOfDomain(const memory::String& domain)
{
    if (domain.empty() || domain.size() > kMaximumDomainLength || domain.find('/') != memory::String::npos ||
        domain.find('\0') != memory::String::npos)
        return {};
    const char* moved = getenv("LUVIA_PREFERENCES_DIR");
    if (moved && *moved) return memory::String(moved) + "/" + domain + ".plist";
    // A relative path counts as none (XDG Base Directory): the place would move with the working directory.
    const char* config = getenv("XDG_CONFIG_HOME");
    if (config && *config == '/') return memory::String(config) + "/" + domain + ".plist";
    const char* home = getenv("HOME");
    return home && *home ? memory::String(home) + "/.config/" + domain + ".plist" : memory::String();
}

Reading readStore(const memory::String& path, ZoRef<ZoDictionaryRef>& contents)
{
    contents.reset(ZoDictionaryCreate(nullptr, nullptr, nullptr, 0, &kZoTypeDictionaryKeyCallBacks,
                                      &kZoTypeDictionaryValueCallBacks));
    if (!contents) memory::stop();
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file) return errno == ENOENT || errno == ENOTDIR ? Reading::ok : Reading::unreadable;
    memory::ReportingArray<uint8_t> bytes;
    if (!readAll(file.get(), bytes)) return Reading::unreadable;
    ZoRef<ZoTypeRef> list;
    if (const Reading reading = parse(bytes, list); reading != Reading::ok) return reading;
    if (ZoGetTypeID(list.get()) != ZoDictionaryGetTypeID()) return Reading::corrupt;
    contents.reset(static_cast<ZoDictionaryRef>(list.release()));
    return Reading::ok;
}

/// Held until the descriptor closes. One for each file, by whichever link it is reached.
static Descriptor lockStore(const memory::String& path, memory::String& target)
{
    for (;;) {
        target = targetOf(path);
        const memory::String lockPath = target + ".lock";
        Descriptor lock(open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        int result;
        do {
            result = lock ? flock(lock.get(), LOCK_EX) : -1;
        } while (result != 0 && lock && errno == EINTR);
        if (result != 0) {
            complain(lockPath, "cannot lock");
            return Descriptor(-1);
        }
        if (targetOf(path) == target) return lock;  // else the link leads elsewhere by now
    }
}

static bool moveAside(const memory::String& path)
{
    memory::String name;
    if (!backUp(path, name)) return complain(path, "cannot keep a copy of the corrupt file");
    const auto from = zoStringFromUTF8(nullptr, path), to = zoStringFromUTF8(nullptr, name);
    ZoLog(3, ZOSTR("preferences: %@ is not a property list with a dictionary; kept as %@"), from.get(), to.get());
    return true;
}

bool updateStore(const memory::String& path, const Changes& changes, ZoRef<ZoDictionaryRef>& contents)
{
    if (!makeFolders(path)) return complain(path, "cannot make the folder");
    memory::String target;
    const Descriptor lock = lockStore(path, target);
    if (!lock) return false;
    ZoRef<ZoDictionaryRef> old;
    const Reading reading = readStore(target, old);
    if (reading == Reading::unreadable) return complain(target, "cannot read");
    if (reading == Reading::corrupt && !moveAside(target)) return false;

    auto changed = merged(old.get(), changes);
    ZoErrorRef error = nullptr;
    const auto data =
        zoAdopt(ZoPropertyListCreateData(nullptr, changed.get(), kZoPropertyListXMLFormat_v1_0, 0, &error));
    const auto reason = zoAdopt(error);
    if (!data && (!reason || ZoErrorGetCode(reason.get()) == kZoPropertyListErrorAllocation)) {
        errno = ENOMEM;
        return complain(target, "cannot write");
    }
    if (!data) {
        errno = EINVAL;  // a binary file may hold what XML cannot
        return complain(target, "holds what an XML property list cannot");
    }
    if (!replaceFile(target, ZoDataGetBytePtr(data.get()), static_cast<size_t>(ZoDataGetLength(data.get()))))
        return complain(target, "cannot write");
    contents = std::move(changed);
    return true;
}

}  // namespace zoprefs
