// The descriptor owner: close-on-exec from the start, one close, ownership that moves.
#include "internal/Descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace orvik::detail;

// 1 for an open close-on-exec descriptor, 0 for another open one, -1 for a closed one.
int closeOnExec(int fd) {
    int const flags = fcntl(fd, F_GETFD);
    return flags < 0 ? -1 : (flags & FD_CLOEXEC) != 0;
}

TEST(DescriptorTest, OpensCloseOnExecAndClosesWhenItGoes) {
    int socketFd, fileFd;
    {
        Descriptor const socket = openSocket(AF_UNIX, SOCK_DGRAM, 0);
        Descriptor const file = openFile("/dev/null", O_RDONLY);
        socketFd = socket.get();
        fileFd = file.get();
        EXPECT_TRUE(socket.isOpen() && file.isOpen());
        EXPECT_EQ(closeOnExec(socketFd) + closeOnExec(fileFd), 2);
    }
    EXPECT_EQ(closeOnExec(socketFd) + closeOnExec(fileFd), -2);
    Descriptor const missing = openFile("/nonexistent/orvik", O_RDONLY);
    EXPECT_TRUE(!missing.isOpen() && missing.get() == -1 && errno == ENOENT);
}

TEST(DescriptorTest, MoveResetAndReleaseHandOwnershipOn) {
    Descriptor first = openFile("/dev/null", O_RDONLY);
    int const fd = first.get();
    Descriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move): the moved-from state
    Descriptor third = openFile("/dev/null", O_RDONLY);
    int const replaced = third.get();
    third = std::move(second);
    third = std::move(third);
    EXPECT_TRUE(closeOnExec(replaced) == -1 && third.get() == fd);
    int kept = third.release();
    EXPECT_TRUE(!third.isOpen() && closeOnExec(kept) == 1);
    closeDescriptor(kept);
    closeDescriptor(kept); // a second close of a closed field does nothing
    EXPECT_TRUE(kept == -1 && closeOnExec(fd) == -1);
    Descriptor fourth = openFile("/dev/null", O_RDONLY);
    int const reset = fourth.get();
    fourth.reset();
    EXPECT_TRUE(!fourth.isOpen() && closeOnExec(reset) == -1);
}

} // namespace
