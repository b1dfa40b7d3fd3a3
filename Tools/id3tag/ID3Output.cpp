#include "id3tag/ID3Output.h"

#include <errno.h>
#include <netdb.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "id3tag/ConsoleLog.h"

int32_t ID3OutputWriteFile(const uint8_t* bytes, uint64_t length, const char* path)
{
    FILE* const file = fopen(path, "w");
    if (!file) {
        OutputMessage(0, "ID3OutputWriteFile - Failed opening destination file: %s", strerror(errno));
        return -1;
    }
    setvbuf(file, nullptr, _IONBF, 0);  // the write is the one that meets an error, not the close
    int32_t result = 0;
    if (fwrite(bytes, 1, length, file) < length) {
        OutputMessage(0, "ID3OutputWriteFile - Failed writing ID3 tag: %s", strerror(errno));
        result = -1;
    }
    fclose(file);
    return result;
}

namespace {

constexpr uint64_t kLargestPiece = 1400;

struct AddressListFreed {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddressList = std::unique_ptr<addrinfo, AddressListFreed>;

class Socket {
public:
    explicit Socket(const addrinfo& address)
        : descriptor_(socket(address.ai_family, address.ai_socktype, address.ai_protocol))
    {}
    ~Socket()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

AddressList resolve(const char* host, const char* service)
{
    addrinfo hints = {};
    hints.ai_flags = AI_ADDRCONFIG;
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;

    addrinfo* found = nullptr;
    const int failure = getaddrinfo(host, service, &hints, &found);
    if (failure) {
        OutputMessage(0, "ID3OutputSendTag - Failed resolving host name: %s", gai_strerror(failure));
        return nullptr;
    }
    if (!found) OutputMessage(0, "ID3OutputSendTag - Host %s unknown", host);
    return AddressList(found);
}

// A peer that has gone is an error of the call, not a signal that ends the process.
ssize_t sendPiece(int descriptor, const uint8_t* bytes, uint64_t length)
{
    return send(descriptor, bytes, length, MSG_NOSIGNAL);
}

bool sendHeaderAndTag(int descriptor, const uint8_t* bytes, uint64_t length, uint8_t repeat)
{
    const auto size = static_cast<uint32_t>(length);
    const uint8_t header[] = {static_cast<uint8_t>(size >> 24), static_cast<uint8_t>(size >> 16),
                              static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size), repeat};
    if (sendPiece(descriptor, header, sizeof header) < static_cast<ssize_t>(sizeof header)) return false;
    while (length > 0) {
        const ssize_t sent = sendPiece(descriptor, bytes, std::min(length, kLargestPiece));
        if (sent < 0) return false;
        bytes += sent;
        length -= static_cast<uint64_t>(sent);
    }
    return true;
}

}  // namespace

int32_t ID3OutputSendTag(const uint8_t* bytes, uint64_t length, const char* host, const char* service, int repeat)
{
    const AddressList addresses = resolve(host, service);
    if (!addresses) return -1;

    const Socket connection(*addresses);
    if (connection.descriptor() < 0) {
        OutputMessage(0, "ID3OutputSendTag - Socket creation failed: %s", strerror(errno));
        return -1;
    }
    if (connect(connection.descriptor(), addresses->ai_addr, addresses->ai_addrlen) != 0) {
        OutputMessage(0, "ID3OutputSendTag - Connection to remote host failed: %s", strerror(errno));
        return -1;
    }
    if (!sendHeaderAndTag(connection.descriptor(), bytes, length, static_cast<uint8_t>(repeat))) {
        OutputMessage(0, "ID3OutputSendTag - Data send error: %s", strerror(errno));
        return -1;
    }
    return 0;
}
