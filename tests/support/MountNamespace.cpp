#include "support/MountNamespace.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace orvik_test {

namespace {

std::string errnoText(std::string const& what) { return what + ": " + std::strerror(errno); }

std::string parentOf(std::string const& path) {
    std::size_t const slash = path.find_last_of('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

bool exists(std::string const& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

struct Entry {
    std::string name;
    unsigned char type;
};

// Entries of the current directory (d_type, or lstat where the file system gives none).
std::vector<Entry> entriesHere() {
    std::vector<Entry> entries;
    DIR* dir = opendir(".");
    if (dir == nullptr)
        return entries;
    while (dirent* entry = readdir(dir)) {
        std::string const name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        unsigned char type = entry->d_type;
        struct stat info;
        if (type == DT_UNKNOWN && lstat(name.c_str(), &info) == 0)
            type = S_ISDIR(info.st_mode) ? DT_DIR : S_ISLNK(info.st_mode) ? DT_LNK : DT_REG;
        entries.push_back({name, type});
    }
    closedir(dir);
    return entries;
}

} // namespace

MountNamespace::MountNamespace() {
    if (geteuid() != 0) {
        problem = "needs root: mounts tmpfs over the device's fixed paths in a private mount "
                  "namespace";
        permissionMissing = true;
        return;
    }
    originalNamespace = open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
    originalDirectory = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (originalNamespace < 0 || originalDirectory < 0) {
        problem = errnoText("cannot hold on to the original namespace");
        return;
    }
    if (unshare(CLONE_NEWNS) != 0) {
        permissionMissing = errno == EPERM;
        problem = errnoText("unshare(CLONE_NEWNS)");
        return;
    }
    unshared = true;
    // Without this, mounts below a shared mount would appear on the host too.
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        problem = errnoText("making / private");
}

MountNamespace::~MountNamespace() {
    for (auto it = mounts.rbegin(); it != mounts.rend(); ++it)
        umount2(it->c_str(), MNT_DETACH);
    if (unshared && setns(originalNamespace, CLONE_NEWNS) != 0)
        ADD_FAILURE() << errnoText("returning to the original mount namespace");
    // setns moves the working directory to the root of the namespace joined.
    if (originalDirectory >= 0 && fchdir(originalDirectory) != 0)
        ADD_FAILURE() << errnoText("returning to the working directory");
    if (originalNamespace >= 0)
        close(originalNamespace);
    if (originalDirectory >= 0)
        close(originalDirectory);
}

bool MountNamespace::mountOver(char const* source, std::string const& target, char const* type,
                               unsigned long flags) {
    if (mount(source, target.c_str(), type, flags, nullptr) != 0) {
        ADD_FAILURE() << errnoText("mounting " + std::string(source) + " over " + target);
        return false;
    }
    return true;
}

bool MountNamespace::tmpfs(std::string const& dir) {
    if (!entered() || !mountOver("tmpfs", dir, "tmpfs", 0))
        return false;
    mounts.push_back(dir);
    privateDirs.insert(dir);
    return true;
}

bool MountNamespace::shadow(std::string const& dir) {
    // The working directory keeps the original in reach once the tmpfs hides it, also for
    // /proc, through which no other path could lead back.
    if (!entered() || chdir(dir.c_str()) != 0) {
        ADD_FAILURE() << errnoText("entering " + dir);
        return false;
    }
    std::vector<Entry> const entries = entriesHere();
    bool const covered = tmpfs(dir);
    for (Entry const& entry : entries) {
        if (!covered)
            break;
        std::string const target = dir + "/" + entry.name;
        if (entry.type == DT_LNK) {
            char link[4096];
            ssize_t const length = readlink(entry.name.c_str(), link, sizeof link - 1);
            if (length >= 0 &&
                symlink(std::string(link, std::size_t(length)).c_str(), target.c_str()) != 0)
                ADD_FAILURE() << errnoText("copying the link " + target);
            continue;
        }
        int const made = entry.type == DT_DIR
                             ? mkdir(target.c_str(), 0755)
                             : close(open(target.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
        // Entries may vanish meanwhile (process directories in /proc): best effort.
        if (made == 0)
            mount(entry.name.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
    }
    if (fchdir(originalDirectory) != 0)
        ADD_FAILURE() << errnoText("returning to the working directory");
    return covered;
}

bool MountNamespace::privateDir(std::string const& path) {
    if (privateDirs.count(path) != 0)
        return true;
    if (exists(path))
        return tmpfs(path);
    std::string const parent = parentOf(path);
    bool const parentReady =
        privateDirs.count(parent) != 0 || (exists(parent) ? shadow(parent) : privateDir(parent));
    if (!parentReady)
        return false;
    if (mkdir(path.c_str(), 0755) != 0) {
        ADD_FAILURE() << errnoText("making " + path);
        return false;
    }
    privateDirs.insert(path);
    return true;
}

bool MountNamespace::bind(std::string const& source, std::string const& target) {
    if (!entered() || !mountOver(source.c_str(), target, nullptr, MS_BIND | MS_REC))
        return false;
    mounts.push_back(target);
    return true;
}

void MountNamespaceTest::SetUp() {
    ns = std::make_unique<MountNamespace>();
    if (ns->skipWanted())
        GTEST_SKIP() << ns->whyNotEntered();
    ASSERT_TRUE(ns->entered()) << ns->whyNotEntered();
    prepare();
}

bool writeFile(std::string const& path, std::string const& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        ADD_FAILURE() << "cannot write " << path;
        return false;
    }
    return true;
}

std::string readFile(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "<unreadable>";
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

} // namespace orvik_test
