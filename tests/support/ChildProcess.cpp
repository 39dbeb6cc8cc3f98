#include "support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace orvik_test {

#if defined(ORVIK_COVERAGE_BUILD)
// libgcov's flush: _exit skips it, and what a child ran would go uncounted.
extern "C" void __gcov_dump(); // NOLINT(bugprone-reserved-identifier): libgcov's own name
#endif

namespace {

void writeAll(int fd, std::string const& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t const n = write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        done += std::size_t(n);
    }
}

// Reads until the child closes its end or the deadline passes; false on the deadline.
bool readUntilClosed(int fd, std::string* out, int timeoutSeconds) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
    for (;;) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd waiting = {fd, POLLIN, 0};
        if (poll(&waiting, 1, int(left.count())) < 0 && errno != EINTR)
            return false;
        char chunk[512];
        ssize_t const n = read(fd, chunk, sizeof chunk);
        if (n == 0)
            return true;
        if (n > 0)
            out->append(chunk, std::size_t(n));
        else if (errno != EINTR && errno != EAGAIN)
            return true;
    }
}

} // namespace

ChildRun runInChild(std::function<std::string()> const& body, int timeoutSeconds) {
    ChildRun run;
    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0) {
        run.output = "<no pipe>";
        return run;
    }
    run.pid = fork();
    if (run.pid == 0) {
        close(channel[0]);
        writeAll(channel[1], body());
#if defined(ORVIK_COVERAGE_BUILD)
        __gcov_dump();
#endif
        _exit(0);
    }
    close(channel[1]);
    if (run.pid < 0) {
        close(channel[0]);
        run.output = "<fork failed>";
        return run;
    }
    bool const finished = readUntilClosed(channel[0], &run.output, timeoutSeconds);
    close(channel[0]);
    if (!finished)
        kill(run.pid, SIGKILL);
    int status = 0;
    while (waitpid(run.pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!finished)
        run.output += "<child hung and was killed>";
    else if (WIFSIGNALED(status))
        run.output += "<child killed by signal " + std::to_string(WTERMSIG(status)) + ">";
    return run;
}

} // namespace orvik_test
