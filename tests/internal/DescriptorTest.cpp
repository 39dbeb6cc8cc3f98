// The descriptor owner: close-on-exec from the start, one close, ownership that moves.
#include "internal/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>

namespace {

using orvik::detail::Descriptor;

bool isOpenDescriptor(int fd) { return fcntl(fd, F_GETFD) != -1; }

bool closesOnExec(int fd) { return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0; }

TEST(DescriptorTest, OpensCloseOnExecAndClosesWhenItGoes) {
    int socketFd;
    int fileFd;
    {
        Descriptor const socket = orvik::detail::openSocket(AF_UNIX, SOCK_DGRAM, 0);
        Descriptor const file = orvik::detail::openFile("/dev/null", O_RDONLY);
        ASSERT_TRUE(socket.isOpen());
        ASSERT_TRUE(file.isOpen());
        socketFd = socket.get();
        fileFd = file.get();
        EXPECT_TRUE(closesOnExec(socketFd));
        EXPECT_TRUE(closesOnExec(fileFd));
    }
    EXPECT_FALSE(isOpenDescriptor(socketFd));
    EXPECT_FALSE(isOpenDescriptor(fileFd));
}

TEST(DescriptorTest, FailedOpenOwnsNothing) {
    Descriptor const missing = orvik::detail::openFile("/nonexistent/orvik", O_RDONLY);
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.get(), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(DescriptorTest, MoveAndReleaseHandOwnershipOn) {
    Descriptor first = orvik::detail::openFile("/dev/null", O_RDONLY);
    int const fd = first.get();
    Descriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT(bugprone-use-after-move): the moved-from state
    EXPECT_EQ(second.get(), fd);

    Descriptor third = orvik::detail::openFile("/dev/null", O_RDONLY);
    int const replaced = third.get();
    third = std::move(second);
    EXPECT_FALSE(isOpenDescriptor(replaced));
    EXPECT_EQ(third.get(), fd);

    int kept = third.release();
    EXPECT_FALSE(third.isOpen());
    EXPECT_TRUE(isOpenDescriptor(kept));
    orvik::detail::closeDescriptor(kept);
    EXPECT_EQ(kept, -1);
    EXPECT_FALSE(isOpenDescriptor(fd));
    orvik::detail::closeDescriptor(kept); // a second close of a closed field does nothing
    EXPECT_EQ(kept, -1);
}

} // namespace
