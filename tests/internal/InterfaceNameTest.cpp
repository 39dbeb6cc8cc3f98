// The one interface-name rule and the requests built from it.
#include "internal/InterfaceName.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using namespace orvik::detail;

bool allZero(void const* bytes, std::size_t length) {
    auto const* at = static_cast<unsigned char const*>(bytes);
    return std::count(at, at + length, 0) == static_cast<std::ptrdiff_t>(length);
}

// Fifteen characters fit, sixteen do not: a name that does not fit is refused whole (the
// request zeroed), never cut to another interface's name.
TEST(InterfaceNameTest, RequestsHoldTheWholeNameOrNothing) {
    std::string const longest(15, 'w'), tooLong = longest + "0";
    EXPECT_TRUE(interfaceNameFits(longest.c_str()) && interfaceNameFits(""));
    EXPECT_FALSE(interfaceNameFits(tooLong.c_str()) || interfaceNameFits(nullptr));
    ifreq request;
    std::memset(&request, 0xAA, sizeof request);
    ASSERT_TRUE(fillInterfaceRequest(request, longest.c_str()));
    EXPECT_STREQ(request.ifr_name, longest.c_str());
    EXPECT_TRUE(allZero(&request.ifr_ifru, sizeof request.ifr_ifru));
    std::memset(&request, 0xAA, sizeof request);
    EXPECT_FALSE(fillInterfaceRequest(request, tooLong.c_str()) ||
                 fillInterfaceRequest(request, nullptr));
    EXPECT_TRUE(allZero(&request, sizeof request));
    std::memset(&request, 0xAA, sizeof request);
    fillInterfaceRequest(request, 3);
    EXPECT_TRUE(request.ifr_ifindex == 3 && allZero(request.ifr_name, sizeof request.ifr_name));
}

// A long name is refused before the kernel sees it; a fitting one reaches the kernel, which
// refuses the missing socket.
TEST(InterfaceNameTest, BindingRefusesALongNameBeforeTheKernelSeesIt) {
    EXPECT_FALSE(bindToDevice(-1, "sixteen-chars-xx"));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(bindToDevice(-1, nullptr) || bindToDevice(-1, "lo"));
    EXPECT_EQ(errno, EBADF);
}

} // namespace
