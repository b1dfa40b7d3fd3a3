#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <deque>
#include <filesystem>
#include <vector>

#include "LogCapture.h"
#include "id3tag/ID3Output.h"

using namespace std::string_literals;

// The answers that a test chooses for the system, and what was asked of it.
struct FakeSystem {
    std::vector<size_t> sends;
    std::deque<ssize_t> sendLimits;  // of the next sends: a largest count, or -errno; empty: as the system does
    bool overrideAddresses = false;
    std::vector<uint16_t> addresses;  // ports on loopback
    addrinfo hints = {};
    int resolutionFailure = 0;
    int connects = 0;
    int listsAlive = 0;
};
static FakeSystem gSystem;

extern "C" {
int __real_getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found);
void __real_freeaddrinfo(addrinfo* list);
int __real_connect(int descriptor, const sockaddr* address, socklen_t length);
ssize_t __real_send(int descriptor, const void* bytes, size_t length, int flags);

int __wrap_getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found)
{
    gSystem.hints = *hints;
    if (gSystem.resolutionFailure) return gSystem.resolutionFailure;
    if (!gSystem.overrideAddresses) {
        const int result = __real_getaddrinfo(host, service, hints, found);
        if (result == 0) gSystem.listsAlive++;
        return result;
    }
    *found = nullptr;
    for (auto port = gSystem.addresses.rbegin(); port != gSystem.addresses.rend(); ++port) {
        addrinfo* list = nullptr;
        __real_getaddrinfo("127.0.0.1", std::to_string(*port).c_str(), hints, &list);
        list->ai_next = *found;
        *found = list;
    }
    if (*found) gSystem.listsAlive++;
    return 0;
}
void __wrap_freeaddrinfo(addrinfo* list)
{
    gSystem.listsAlive--;
    __real_freeaddrinfo(list);
}
int __wrap_connect(int descriptor, const sockaddr* address, socklen_t length)
{
    gSystem.connects++;
    return __real_connect(descriptor, address, length);
}
ssize_t __wrap_send(int descriptor, const void* bytes, size_t length, int flags)
{
    gSystem.sends.push_back(length);
    if (!gSystem.sendLimits.empty()) {
        const ssize_t limit = gSystem.sendLimits.front();
        gSystem.sendLimits.pop_front();
        if (limit < 0) {
            errno = static_cast<int>(-limit);
            return -1;
        }
        length = std::min(length, static_cast<size_t>(limit));
    }
    return __real_send(descriptor, bytes, length, flags);
}
}

namespace {

size_t openDescriptors()
{
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) count++;
    return count;
}

// Listens on loopback; what is sent waits in the socket's buffer until it is taken.
class Receiver {
public:
    Receiver() : listener_(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(listen(listener_, 4), 0);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
    }
    ~Receiver() { close(listener_); }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    uint16_t port() const { return port_; }
    std::string take()
    {
        const int peer = accept(listener_, nullptr, nullptr);
        std::string all;
        char piece[4096];
        for (ssize_t got; (got = recv(peer, piece, sizeof piece, 0)) > 0;) all.append(piece, static_cast<size_t>(got));
        close(peer);
        return all;
    }

private:
    int listener_;
    uint16_t port_ = 0;
};

class Delivery : public testing::Test {
protected:
    Delivery()
    {
        gSystem = {};
        descriptors_ = openDescriptors();
    }
    ~Delivery() override
    {
        EXPECT_EQ(gSystem.listsAlive, 0);
        EXPECT_EQ(openDescriptors(), descriptors_);
    }

    int32_t send(const std::string& tag, int repeat = 0)
    {
        return ID3OutputSendTag(reinterpret_cast<const uint8_t*>(tag.data()), tag.size(), "127.0.0.1",
                                std::to_string(receiver_.port()).c_str(), repeat);
    }
    static std::string pattern(size_t length)
    {
        std::string bytes(length, '\0');
        for (size_t i = 0; i < length; i++) bytes[i] = static_cast<char>(i * 31 + i / 251);
        return bytes;
    }

    LogCapture log_;
    Receiver receiver_;
    size_t descriptors_;
};

TEST_F(Delivery, sendsTheHeaderAloneAndTheTagInPieces)
{
    struct Row {
        size_t length;
        int repeat;
        std::string header;
        std::vector<size_t> sends;
    };
    const Row rows[] = {
        {0, 0, "\0\0\0\0\0"s, {5}},
        {1400, 0x101, "\0\0\5\x78\1"s, {5, 1400}},
        {1401, 0, "\0\0\5\x79\0"s, {5, 1400, 1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.length);
        gSystem.sends.clear();
        EXPECT_EQ(send(pattern(row.length), row.repeat), 0);
        EXPECT_EQ(receiver_.take(), row.header + pattern(row.length));
        EXPECT_EQ(gSystem.sends, row.sends);
    }
    EXPECT_EQ(gSystem.hints.ai_family, AF_INET);
    EXPECT_EQ(gSystem.hints.ai_socktype, SOCK_STREAM);
    EXPECT_EQ(gSystem.hints.ai_flags, AI_ADDRCONFIG);
}

TEST_F(Delivery, resumesAPartialSendAtTheRightByte)
{
    gSystem.sendLimits = {5, 1, 1399, 7, 0, 200};
    EXPECT_EQ(send(pattern(3000)), 0);
    EXPECT_EQ(receiver_.take(), "\0\0\x0B\xB8\0"s + pattern(3000));
    EXPECT_EQ(gSystem.sends, (std::vector<size_t>{5, 1400, 1400, 1400, 1400, 1400, 1393}));
}

TEST_F(Delivery, endsWithTheFirstSendThatFails)
{
    gSystem.sendLimits = {-EPIPE};
    EXPECT_EQ(send(pattern(10)), -1);
    EXPECT_EQ(log_.take(), "ID3OutputSendTag - Data send error: Broken pipe\n");
    gSystem.sendLimits = {4};
    EXPECT_EQ(send(pattern(10)), -1);
    EXPECT_EQ(gSystem.sends, (std::vector<size_t>{5, 5}));
    log_.take();
    gSystem.sendLimits = {5, 1400, -ECONNRESET};
    EXPECT_EQ(send(pattern(9000)), -1);
    EXPECT_EQ(log_.take(), "ID3OutputSendTag - Data send error: Connection reset by peer\n");
}

TEST_F(Delivery, triesTheFirstAddressOnly)
{
    uint16_t refusing = 0;
    {
        const Receiver gone;
        refusing = gone.port();
    }
    gSystem.overrideAddresses = true;
    gSystem.addresses = {refusing, receiver_.port()};
    EXPECT_EQ(send(pattern(10)), -1);
    EXPECT_EQ(gSystem.connects, 1);
    EXPECT_EQ(log_.take(), "ID3OutputSendTag - Connection to remote host failed: Connection refused\n");

    gSystem.addresses = {receiver_.port(), refusing};
    EXPECT_EQ(send(pattern(10)), 0);
    receiver_.take();

    gSystem.addresses = {};
    EXPECT_EQ(send(pattern(10)), -1);
    EXPECT_EQ(log_.take(), "ID3OutputSendTag - Host 127.0.0.1 unknown\n");

    gSystem.resolutionFailure = EAI_NONAME;
    EXPECT_EQ(send(pattern(10)), -1);
    EXPECT_EQ(log_.take(), "ID3OutputSendTag - Failed resolving host name: Name or service not known\n");
}

}  // namespace
