// The sandbox kit in GoogleTest's terms: tests that need root build the device's paths and
// network with it, and skip with the reason where the machine does not allow namespaces.
#ifndef ORVIK_TESTS_SUPPORT_SANDBOX_H
#define ORVIK_TESTS_SUPPORT_SANDBOX_H

#include "DeviceNetwork.h"
#include "Namespaces.h"
#include "Services.h"

#include <gtest/gtest.h>

#include <memory>

namespace orvik_test {

using orvik_sandbox::Datagram;
using orvik_sandbox::DatagramSocket;
using orvik_sandbox::DeviceNetwork;
using orvik_sandbox::MountNamespace;
using orvik_sandbox::NetworkNamespace;
using orvik_sandbox::PeerHost;
using orvik_sandbox::readFile;
using orvik_sandbox::writeFile;

// SetUp enters a fresh mount namespace (ns), then calls prepare(), where a derived fixture
// builds its paths (a fatal failure there skips the test body). The namespace is left when
// the fixture is destroyed, after the derived fixture's members: bind receivers in
// prepare(), never in member initialisers, or they land on the host.
class MountNamespaceTest : public ::testing::Test {
protected:
    void SetUp() final {
        ns = std::make_unique<MountNamespace>();
        if (ns->permissionMissing())
            GTEST_SKIP() << "needs root: " << ns->error();
        ASSERT_TRUE(ns->entered()) << ns->error();
        prepare();
    }
    virtual void prepare() {}
    std::unique_ptr<MountNamespace> ns;
};

} // namespace orvik_test

// Enters a network namespace called name, or skips the test (no privilege) or fails it.
#define ORVIK_ENTER_NETWORK_NAMESPACE(name)                                                        \
    ::orvik_test::NetworkNamespace name;                                                           \
    do {                                                                                           \
        if (name.permissionMissing())                                                              \
            GTEST_SKIP() << "needs root: " << name.error();                                        \
        ASSERT_TRUE(name.entered()) << name.error();                                               \
    } while (false)

#endif
