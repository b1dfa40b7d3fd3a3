#include "Foundation/Services/ZoPreferencesStorePrivate.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"

namespace zoprefs {
namespace {

constexpr size_t kMaximumFileSize = 64 << 20;
constexpr size_t kMaximumDomainLength = 200;  // leaves room for suffixes in a file name of 255 bytes
constexpr int kMaximumBackups = 1000;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }
    bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

private:
    int number_;
};

bool complain(const std::string& path, const char* what)
{
    const auto text = zoStringFromUTF8(nullptr, path);
    ZoLog(3, ZOSTR("preferences: %s: %@ (%s)"), what, text.get(), strerror(errno));
    return false;
}

bool readAll(int descriptor, std::vector<uint8_t>& bytes)
{
    constexpr size_t kPiece = 1 << 16;
    for (;;) {
        const size_t before = bytes.size();
        if (before > kMaximumFileSize) {
            errno = EFBIG;
            return false;
        }
        bytes.resize(before + kPiece);
        const ssize_t count = read(descriptor, bytes.data() + before, kPiece);
        bytes.resize(before + static_cast<size_t>(count > 0 ? count : 0));
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

bool makeFolders(const std::string& path)
{
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        if (mkdir(path.substr(0, slash).c_str(), 0700) != 0 && errno != EEXIST && errno != EROFS && errno != EACCES)
            return false;
    return true;  // what is missing because it may not be made shows when the file is opened
}

/// Where the file itself is, so that a symbolic link to it stays one.
std::string targetOf(const std::string& path)
{
    char target[PATH_MAX];
    return realpath(path.c_str(), target) ? target : path;
}

/// Keeps the file under a name that nobody has.
bool backUp(const std::string& path)
{
    std::string name = path + ".corrupt";
    for (int i = 1; i <= kMaximumBackups; ++i) {
        if (link(path.c_str(), name.c_str()) == 0) return true;
        // A file system without hard links: then by name, and the file is gone until the new one takes its place.
        if ((errno == EPERM || errno == EOPNOTSUPP) &&
            renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0)
            return true;
        if (errno != EEXIST) return false;
        name = path + ".corrupt." + std::to_string(i);
    }
    return false;
}

void syncFolderOf(const std::string& path)
{
    const Descriptor folder(open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder) fsync(folder.get());  // of no use on some file systems, and no harm
}

bool replaceFile(const std::string& path, const uint8_t* bytes, size_t count)
{
    std::string temporary = path + ".XXXXXX";
    Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
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
    for (const auto& [name, value] : changes) {
        const auto key = zoStringFromUTF8(nullptr, name);
        if (value)
            ZoDictionarySetValue(result.get(), key.get(), value.get());
        else
            ZoDictionaryRemoveValue(result.get(), key.get());
    }
    return zoAdopt(ZoDictionaryCreateCopy(nullptr, result.get()));
}

}  // namespace

std::string pathOfDomain(const std::string& domain)
{
    if (domain.empty() || domain.size() > kMaximumDomainLength || domain.find('/') != std::string::npos ||
        domain.find('\0') != std::string::npos)
        return {};
    const char* moved = getenv("LUVIA_PREFERENCES_DIR");
    if (moved && *moved) return std::string(moved) + "/" + domain + ".plist";
    // A relative path counts as none (XDG Base Directory): the place would move with the working directory.
    const char* config = getenv("XDG_CONFIG_HOME");
    if (config && *config == '/') return std::string(config) + "/" + domain + ".plist";
    const char* home = getenv("HOME");
    return home && *home ? std::string(home) + "/.config/" + domain + ".plist" : std::string();
}

Reading readStore(const std::string& path, ZoRef<ZoDictionaryRef>& contents)
{
    contents.reset(ZoDictionaryCreate(nullptr, nullptr, nullptr, 0, &kZoTypeDictionaryKeyCallBacks,
                                      &kZoTypeDictionaryValueCallBacks));
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file) return errno == ENOENT || errno == ENOTDIR ? Reading::ok : Reading::unreadable;
    std::vector<uint8_t> bytes;
    if (!readAll(file.get(), bytes)) return Reading::unreadable;
    const auto data = zoAdopt(
        ZoDataCreateWithBytesNoCopy(nullptr, bytes.data(), static_cast<ZoIndex>(bytes.size()), kZoAllocatorNull));
    auto list = zoAdopt(ZoPropertyListCreateWithData(nullptr, data.get(), kZoPropertyListImmutable, nullptr, nullptr));
    if (!list || ZoGetTypeID(list.get()) != ZoDictionaryGetTypeID()) return Reading::corrupt;
    contents.reset(static_cast<ZoDictionaryRef>(list.release()));
    return Reading::ok;
}

bool updateStore(const std::string& path, const Changes& changes, ZoRef<ZoDictionaryRef>& contents)
{
    if (!makeFolders(path)) return complain(path, "cannot make the folder");
    const std::string lockPath = path + ".lock";
    const Descriptor lock(open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    int result;
    do {
        result = lock ? flock(lock.get(), LOCK_EX) : -1;  // let go when the descriptor closes
    } while (result != 0 && lock && errno == EINTR);
    if (result != 0) return complain(lockPath, "cannot lock");

    const std::string target = targetOf(path);
    ZoRef<ZoDictionaryRef> old;
    const Reading reading = readStore(target, old);
    if (reading == Reading::unreadable) return complain(target, "cannot read");
    if (reading == Reading::corrupt && !backUp(target))
        return complain(target, "cannot keep a copy of the corrupt file");

    auto changed = merged(old.get(), changes);
    const auto data =
        zoAdopt(ZoPropertyListCreateData(nullptr, changed.get(), kZoPropertyListXMLFormat_v1_0, 0, nullptr));
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
