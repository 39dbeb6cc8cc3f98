// A private mount namespace in which a test builds the device's fixed paths on tmpfs.
#ifndef ORVIK_TESTS_SUPPORT_MOUNT_NAMESPACE_H
#define ORVIK_TESTS_SUPPORT_MOUNT_NAMESPACE_H

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orvik_test {

// Entering unshares the mount namespace of the calling process and makes every mount in
// it private, so nothing done here reaches the host; leaving unmounts what was mounted
// (newest first) and rejoins the original namespace and working directory, after which the
// private namespace and all its mounts are gone. Forked children inherit the namespace.
// The mount calls report their own failures to GoogleTest and return false.
class MountNamespace {
public:
    MountNamespace();
    ~MountNamespace();
    MountNamespace(MountNamespace const&) = delete;
    MountNamespace& operator=(MountNamespace const&) = delete;

    bool entered() const { return problem.empty(); }
    // Why the namespace could not be entered; skipWanted() when that is the machine's
    // permission (not root, or mount namespaces refused) rather than a fault.
    std::string const& whyNotEntered() const { return problem; }
    bool skipWanted() const { return permissionMissing; }

    // A fresh, empty tmpfs over the existing directory dir.
    bool tmpfs(std::string const& dir);
    // A tmpfs over dir that still shows dir's entries (bound back in, symlinks copied),
    // so that new entries made there stay in this namespace.
    bool shadow(std::string const& dir);
    // A private directory at path, empty unless this namespace already made it private: a
    // tmpfs over it when it exists, otherwise made inside a shadow of its parent.
    bool privateDir(std::string const& path);
    // source (file or directory tree) seen at target, which must exist.
    bool bind(std::string const& source, std::string const& target);

private:
    bool mountOver(char const* source, std::string const& target, char const* type,
                   unsigned long flags);

    std::string problem;
    bool permissionMissing = false;
    bool unshared = false;
    int originalNamespace = -1;
    int originalDirectory = -1;
    std::vector<std::string> mounts;
    std::set<std::string> privateDirs;
};

// Fixture base for tests that need root: SetUp enters a fresh namespace (ns), skipping the
// test with the reason when the machine does not allow it, then calls prepare(), where a
// derived fixture builds its paths (a fatal failure there skips the test body). The
// namespace is left when the fixture is destroyed, after the derived fixture's members.
class MountNamespaceTest : public ::testing::Test {
protected:
    void SetUp() final;
    virtual void prepare() {}
    std::unique_ptr<MountNamespace> ns;
};

// Writes text to path (created or truncated); reports a failure and returns false if it cannot.
bool writeFile(std::string const& path, std::string const& text);
// The whole content of path, or "<unreadable>".
std::string readFile(std::string const& path);

} // namespace orvik_test

#endif
