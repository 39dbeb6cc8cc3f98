// The one interface-name rule and the requests built from it.
#include "internal/InterfaceName.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace orvik::detail;

bool allZero(void const* bytes, std::size_t length) {
    auto const* at = static_cast<unsigned char const*>(bytes);
    for (std::size_t i = 0; i < length; ++i)
        if (at[i] != 0)
            return false;
    return true;
}

TEST(InterfaceNameTest, FifteenCharactersFitSixteenDoNot) {
    std::string const longest(kInterfaceNameLimit, 'w');
    EXPECT_EQ(kInterfaceNameLimit, 15u);
    EXPECT_TRUE(interfaceNameFits(longest.c_str()));
    EXPECT_TRUE(interfaceNameFits(""));
    EXPECT_FALSE(interfaceNameFits((longest + "0").c_str()));
    EXPECT_FALSE(interfaceNameFits(nullptr));
}

TEST(InterfaceNameTest, RequestHoldsTheWholeNameTerminatedAndNothingElse) {
    std::string const longest(kInterfaceNameLimit, 'w');
    ifreq request;
    std::memset(&request, 0xAA, sizeof request);
    ASSERT_TRUE(fillInterfaceRequest(request, longest.c_str()));
    EXPECT_STREQ(request.ifr_name, longest.c_str());
    EXPECT_TRUE(allZero(&request.ifr_ifru, sizeof request.ifr_ifru));

    // A name that does not fit is refused whole, never cut to another interface's name.
    std::memset(&request, 0xAA, sizeof request);
    EXPECT_FALSE(fillInterfaceRequest(request, (longest + "0").c_str()));
    EXPECT_TRUE(allZero(&request, sizeof request));
    EXPECT_FALSE(fillInterfaceRequest(request, nullptr));

    std::memset(&request, 0xAA, sizeof request);
    fillInterfaceRequest(request, 3);
    EXPECT_EQ(request.ifr_ifindex, 3);
    EXPECT_TRUE(allZero(request.ifr_name, sizeof request.ifr_name));
}

TEST(InterfaceNameTest, BindingRefusesALongNameBeforeTheKernelSeesIt) {
    errno = 0;
    EXPECT_FALSE(bindToDevice(-1, "sixteen-chars-xx"));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(bindToDevice(-1, nullptr));
    // A fitting name reaches the kernel, which refuses the missing socket.
    EXPECT_FALSE(bindToDevice(-1, "lo"));
    EXPECT_EQ(errno, EBADF);
}

} // namespace
