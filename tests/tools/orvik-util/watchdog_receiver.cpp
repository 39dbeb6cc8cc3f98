// Stands in for the watchdog service: binds its socket path, prints each 76-byte message as
// "cmd pid value name", and exits after COUNT messages or five quiet seconds.
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, argv[1], sizeof address.sun_path - 1);
    unlink(argv[1]);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return 1;
    for (long left = std::atol(argv[2]); left > 0; --left) {
        pollfd entry{fd, POLLIN, 0};
        unsigned char message[128];
        if (poll(&entry, 1, 5000) != 1 || recv(fd, message, sizeof message, 0) != 76)
            return 1;
        int32_t fields[3];
        std::memcpy(fields, message, sizeof fields);
        message[75] = 0;
        std::printf("%d %d %d %s\n", fields[0], fields[1], fields[2], message + 12);
        std::fflush(stdout);
    }
    return 0;
}
