// The files that an installation leaves, and a host that is built from them alone.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools.h"

namespace {

namespace fs = std::filesystem;

using contract::Shell;

std::set<std::string> FilesBelow(const fs::path& folder) {
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.insert(entry.path().lexically_relative(folder));
        }
    }
    return files;
}

class Install : public testing::Test {
protected:
    void SetUp() override {
        // Not named by the process: the tests run side by side, each the first process of its own namespace.
        std::string name = KURA_BUILD "/installed.XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_root = name;
        for (const char* component : {"library", "development"}) {
            const contract::Outcome outcome =
                Shell("DESTDIR='" + m_root.string() +
                      "' " KURA_CMAKE " --install '" KURA_BUILD "' --prefix /usr --component " + component);
            ASSERT_EQ(outcome.status, 0) << outcome.output;
        }
    }
    void TearDown() override {
        if (!m_root.empty()) {
            fs::remove_all(m_root);
        }
    }

    fs::path m_root;
};

TEST_F(Install, PutsTheLibraryWhereItOpensItself) {
    const fs::path library = m_root / "usr/lib/libkura_parser.so";
    ASSERT_TRUE(fs::is_regular_file(library));
    EXPECT_FALSE(fs::is_symlink(library));
    EXPECT_THAT(Shell("readelf -dW '" + library.string() + "'").output,
                testing::Not(testing::HasSubstr("RUNPATH")));
}

TEST_F(Install, BringsEveryHeader) {
    const fs::path headers = m_root / "usr/include/kura_parser";
    std::set<std::string> wanted = FilesBelow(fs::path(KURA_SOURCE) / "include");
    for (const std::string& header : FilesBelow(fs::path(KURA_SOURCE) / "platform")) {
        wanted.insert("platform/" + header);
    }
    EXPECT_GT(wanted.size(), 25u);
    EXPECT_EQ(FilesBelow(headers), wanted);
}

TEST_F(Install, IsEnoughToBuildAHost) {
    const std::string usr = (m_root / "usr").string();
    const std::string host = (m_root / "host").string();
    const contract::Outcome built = Shell(
        KURA_COMPILER " -std=c++17 -rdynamic '" KURA_SOURCE "/tests/contract/host/host.cpp' '" KURA_SOURCE
                      "'/tests/fakes/*.cpp -I'" +
        usr + "/include/kura_parser' -I'" + usr +
        "/include/kura_parser/platform' -I'" KURA_SOURCE "/tests/fakes' $(pkg-config --cflags gio-2.0) -L'" +
        usr + "/lib' -lkura_parser -pthread -o '" + host + "'");
    ASSERT_EQ(built.status, 0) << built.output;
    const contract::Outcome ran =
        Shell(KURA_SANDBOX " --library '" + usr + "/lib/libkura_parser.so' --expose '" + m_root.string() +
              "' -- '" + host + "'");
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_EQ(ran.output, "1 7 1\n");
}

}  // namespace
