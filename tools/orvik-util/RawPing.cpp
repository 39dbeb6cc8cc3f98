// rawping: the one-interface echo probe, its log lines shown as they go to syslog.
#include <orvik_utilities/net/RawPing.h>

#include "Tool.h"

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

int runRawping(int argc, char** argv) {
    if (argc < 3 || argc > 4 || argv[1][0] == '\0' || argv[2][0] == '\0')
        return tool::usage("rawping", "needs DEVICE TARGET [GATEWAY]");
    char const* device = argv[1];
    if (if_nametoindex(device) == 0)
        return tool::fail(tool::kFailed, "no interface '%s': list them with 'ip link'", device);
    // The probe only logs "failed"; EPERM without CAP_NET_RAW deserves a plain answer.
    int fd = socket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
    if (fd < 0 && (errno == EPERM || errno == EACCES))
        return tool::fail(tool::kFailed, "rawping needs CAP_NET_RAW: run as root or grant the "
                                         "capability");
    if (fd >= 0)
        close(fd);
    // The probe reports through syslog only; LOG_PERROR copies each line to standard error.
    openlog("orvik-util", LOG_PID | LOG_PERROR, LOG_USER);
    int answered = rawping(device, argv[2], argc == 4 ? argv[3] : nullptr);
    closelog();
    std::printf("%s %s through %s%s%s\n", argv[2], answered ? "answered" : "did not answer", device,
                argc == 4 ? " via " : "", argc == 4 ? argv[3] : "");
    std::printf("log: syslog (user.err), also copied to standard error\n");
    return answered ? tool::kOk : tool::kFailed;
}
