// The least that sending takes: SIZE bytes of memory in pieces of 1400 to a port on loopback.
//
//   send_loop PORT SIZE

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::atoi(argv[1])));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 1;
    const std::vector<char> bytes(std::strtoul(argv[2], nullptr, 10));
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t sent = send(descriptor, &bytes[at], std::min<size_t>(bytes.size() - at, 1400), 0);
        if (sent < 0) return 1;
        at += static_cast<size_t>(sent);
    }
    return 0;
}
