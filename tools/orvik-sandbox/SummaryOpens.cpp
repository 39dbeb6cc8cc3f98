#include "SummaryOpens.h"

#include "Namespaces.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace orvik_sandbox {

namespace {

constexpr char kPath[] = "/proc/sysinfo/summary";

#if defined(__x86_64__)
constexpr uint32_t kArch = AUDIT_ARCH_X86_64;
#elif defined(__arm__)
constexpr uint32_t kArch = AUDIT_ARCH_ARM;
#elif defined(__aarch64__)
constexpr uint32_t kArch = AUDIT_ARCH_AARCH64;
#else
constexpr uint32_t kArch = 0;
#endif

// The path argument of an open call, the flags argument, and whether the call is one.
bool openArguments(seccomp_data const& call, uint64_t* path, uint64_t* flags, int64_t* dir) {
#ifdef __NR_open
    if (call.nr == __NR_open) {
        *dir = AT_FDCWD;
        *path = call.args[0];
        *flags = call.args[1];
        return true;
    }
#endif
    if (call.nr == __NR_openat) {
        *dir = int64_t(int32_t(call.args[0]));
        *path = call.args[1];
        *flags = call.args[2];
        return true;
    }
    return false;
}

} // namespace

int installOpenFilter(std::string* why) {
    if (kArch == 0) {
        *why = "no seccomp filter for this architecture";
        return -1;
    }
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArch, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_openat, 2, 0),
#ifdef __NR_open
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_open, 1, 0),
#else
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_openat, 1, 0),
#endif
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
    };
    sock_fprog program = {static_cast<unsigned short>(sizeof code / sizeof code[0]), code};
    long const listener =
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
    if (listener < 0)
        *why = errnoText("seccomp(SECCOMP_FILTER_FLAG_NEW_LISTENER)");
    return int(listener);
}

SummaryOpens::SummaryOpens(std::string const& text) {
    summary = int(syscall(SYS_memfd_create, "summary", MFD_CLOEXEC));
    if (summary >= 0 && write(summary, text.data(), text.size()) != ssize_t(text.size())) {
        close(summary);
        summary = -1;
    }
}

SummaryOpens::~SummaryOpens() {
    if (summary >= 0)
        close(summary);
    if (notifications >= 0)
        close(notifications);
}

void SummaryOpens::listen(int listener) {
    if (notifications >= 0)
        close(notifications);
    notifications = listener;
}

bool SummaryOpens::answer(int* pid) {
    seccomp_notif request;
    std::memset(&request, 0, sizeof request);
    if (ioctl(notifications, SECCOMP_IOCTL_NOTIF_RECV, &request) != 0) {
        if (errno != EINTR && errno != ENOENT) // ENOENT: the caller went away meanwhile
            listen(-1);
        return false;
    }
    *pid = int(request.pid);
    uint64_t address = 0, flags = 0;
    int64_t dir = 0;
    char path[sizeof kPath + 1] = {};
    bool ours = false;
    if (openArguments(request.data, &address, &flags, &dir) && (flags & O_ACCMODE) == O_RDONLY) {
        std::string const memory = "/proc/" + std::to_string(request.pid) + "/mem";
        int const fd = open(memory.c_str(), O_RDONLY | O_CLOEXEC);
        ours = fd >= 0 && pread(fd, path, sizeof path - 1, off_t(address)) > 0 &&
               std::strcmp(path, kPath) == 0 && (dir == AT_FDCWD || path[0] == '/');
        if (fd >= 0)
            close(fd);
        // A process that made its own summary (a test in its own namespace) reads that one.
        struct stat info;
        std::string const own = "/proc/" + std::to_string(request.pid) + "/root" + kPath;
        ours = ours && stat(own.c_str(), &info) != 0 &&
               ioctl(notifications, SECCOMP_IOCTL_NOTIF_ID_VALID, &request.id) == 0;
    }
    if (ours && summary >= 0) {
        // A description of its own for every reader, each with its own offset.
        int const reading =
            open(("/proc/self/fd/" + std::to_string(summary)).c_str(), O_RDONLY | O_CLOEXEC);
        if (reading >= 0) {
            seccomp_notif_addfd add;
            std::memset(&add, 0, sizeof add);
            add.id = request.id;
            add.flags = SECCOMP_ADDFD_FLAG_SEND;
            add.srcfd = uint32_t(reading);
            add.newfd_flags = uint32_t(flags & O_CLOEXEC);
            bool const sent = ioctl(notifications, SECCOMP_IOCTL_NOTIF_ADDFD, &add) >= 0;
            close(reading);
            if (sent)
                return true;
        }
    }
    seccomp_notif_resp response;
    std::memset(&response, 0, sizeof response);
    response.id = request.id;
    response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
    ioctl(notifications, SECCOMP_IOCTL_NOTIF_SEND, &response);
    return false;
}

} // namespace orvik_sandbox
