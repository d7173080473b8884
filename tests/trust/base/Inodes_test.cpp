// A file system whose inode numbers need 64 bits: a 32-bit set opens its files like any other.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "base/Exists.h"
#include "base/GuardedFile.h"
#include "trust/Namespace.h"
#include "trust/Trust.h"

using namespace KURA::base;
namespace fs = std::filesystem;

namespace {

/// Two file systems, one above the other: the number of the one fills the high bits of the other's inodes.
bool MountOverlay() {
    if (!trust::EnterMountNamespace()) {
        return false;
    }
    for (const char* folder : {"/tmp/above", "/tmp/below", "/tmp/both"}) {
        fs::create_directory(folder);
    }
    for (const char* folder : {"/tmp/above", "/tmp/below"}) {
        EXPECT_EQ(mount("tmpfs", folder, "tmpfs", 0, ""), 0) << std::strerror(errno);
    }
    std::ofstream("/tmp/above/file") << "above";
    std::ofstream("/tmp/below/other") << "below";
    return mount("overlay", "/tmp/both", "overlay", 0, "lowerdir=/tmp/above:/tmp/below,xino=on") == 0;
}

}  // namespace

TEST(Inodes, MayHaveNumbersOf64Bits) {
    if (!MountOverlay()) {
        GTEST_SKIP() << "nobody may mount such a file system here";
    }
    std::size_t large = 0;
    for (const char* path : {"/tmp/both/file", "/tmp/both/other"}) {
        struct stat status {};
        ASSERT_EQ(stat(path, &status), 0) << path << ": " << std::strerror(errno);
        large += status.st_ino > 0xffffffffU ? 1 : 0;
        EXPECT_TRUE(Exists(path));
        EXPECT_NE(OpenPlainFileForReading(path), nullptr) << path << ": " << std::strerror(errno);
    }
    if (large == 0) {
        GTEST_SKIP() << "this kernel gives its overlays short numbers";
    }
    trust::Report("Inode numbers of 64 bits", "overlay of two file systems", large);
}
