#include "base/GuardedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Kernel.h"
#include "base/Exists.h"

using namespace KURA::base;
namespace fs = std::filesystem;

namespace {

/// A folder of its own, whose path has no link in it; on a kernel that opens without links, on one that
/// cannot, and behind a filter that does not let the call through.
class GuardedFile : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        kernel::RefuseOpenat2(GetParam());
        std::string pattern = fs::canonical("/tmp").string() + "/guarded-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
    }
    void TearDown() override {
        kernel::RefuseOpenat2(0);
        fs::remove_all(m_folder);
    }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }

    static void Write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

    static std::string Read(const std::string& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// What stands in the way of a plain file, each under the path returned.
    std::vector<std::string> Obstacles() const {
        Write(Path("target"), "kept");
        fs::create_directory(Path("folder"));
        fs::create_directory(Path("folder/sub"));
        Write(Path("folder/file"), "kept");
        Write(Path("folder/sub/file"), "kept");
        fs::create_symlink(Path("target"), Path("link"));
        fs::create_symlink(Path("nothing"), Path("dangling"));
        fs::create_directory_symlink(Path("folder"), Path("linked-folder"));
        mkfifo(Path("fifo").c_str(), 0666);
        return {Path("link"),
                Path("dangling"),
                Path("linked-folder/file"),
                Path("linked-folder/new"),
                Path("linked-folder/sub/file"),
                Path("linked-folder/sub/new"),
                Path("fifo"),
                Path("folder")};
    }

    void ExpectNothingTouched() const {
        EXPECT_EQ(Read(Path("target")), "kept");
        EXPECT_EQ(Read(Path("folder/file")), "kept");
        EXPECT_FALSE(fs::exists(Path("nothing")));
        EXPECT_EQ(Read(Path("folder/sub/file")), "kept");
        EXPECT_FALSE(fs::exists(Path("folder/new")));
        EXPECT_FALSE(fs::exists(Path("folder/sub/new")));
    }

private:
    fs::path m_folder;
};

/// A host without standard input: the next file gets descriptor 0.
class WithoutInput {
public:
    WithoutInput() : m_input(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
    WithoutInput(const WithoutInput&) = delete;
    WithoutInput& operator=(const WithoutInput&) = delete;
    ~WithoutInput() {
        dup2(m_input, STDIN_FILENO);
        close(m_input);
    }

private:
    int m_input;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Kernels, GuardedFile, ::testing::Values(0, ENOSYS, EPERM), [](const auto& test) {
    return test.param == 0 ? "New" : test.param == ENOSYS ? "Old" : "Filtered";
});

TEST_P(GuardedFile, CreatesAndTruncatesAPlainFile) {
    for (const char* text : {"a longer text", "short"}) {
        const File file = OpenGuarded(Path("file").c_str());
        ASSERT_NE(file, nullptr);
        std::fputs(text, file.get());
    }
    EXPECT_EQ(Read(Path("file")), "short");
}

TEST_P(GuardedFile, CreatesWithTheUsualModeLessTheMask) {
    umask(022);
    OpenGuarded(Path("file").c_str());
    struct stat status {};
    ASSERT_EQ(stat(Path("file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
}

TEST_P(GuardedFile, IsClosedWhenAProgramIsStarted) {
    const File file = OpenPlainFile(Path("file").c_str(), WriteMode::kWrite);
    ASSERT_NE(file, nullptr);
    EXPECT_NE(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_P(GuardedFile, ReadsBackOnlyWhenAsked) {
    {
        const File file = OpenPlainFile(Path("file").c_str(), WriteMode::kReadWrite);
        ASSERT_NE(file, nullptr);
        std::fputs("x", file.get());
        std::rewind(file.get());
        EXPECT_EQ(std::fgetc(file.get()), 'x');
    }
    const File file = OpenPlainFile(Path("file").c_str(), WriteMode::kWrite);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
}

TEST_P(GuardedFile, RefusesToWriteThroughAnythingButAPlainFile) {
    for (const std::string& path : Obstacles()) {
        for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
            errno = 0;
            EXPECT_EQ(OpenPlainFile(path.c_str(), mode), nullptr) << path;
            EXPECT_NE(errno, 0) << path;
        }
        EXPECT_EQ(OpenGuarded(path.c_str()), nullptr) << path;
    }
    ExpectNothingTouched();
}

TEST_P(GuardedFile, RefusesAFileThatHasASecondName) {
    Write(Path("file"), "kept");
    fs::create_hard_link(Path("file"), Path("other"));
    EXPECT_EQ(OpenGuarded(Path("other").c_str()), nullptr);
    EXPECT_EQ(errno, EMLINK);
    EXPECT_EQ(Read(Path("file")), "kept");
}

TEST_P(GuardedFile, RefusesAFileInAFolderThatIsMissing) {
    EXPECT_EQ(OpenGuarded(Path("no/file").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_P(GuardedFile, RefusesAPathThatIsTooLong) {
    EXPECT_EQ(OpenGuarded(Path(std::string(PATH_MAX, 'x')).c_str()), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_P(GuardedFile, ReadsARegularFileOnly) {
    for (const std::string& path : Obstacles()) {
        errno = 0;
        EXPECT_EQ(OpenPlainFileForReading(path.c_str()), nullptr) << path;
        EXPECT_NE(errno, 0) << path;
    }
    EXPECT_EQ(OpenPlainFileForReading(Path("missing").c_str()), nullptr);
    EXPECT_FALSE(fs::exists(Path("missing")));
    const File file = OpenPlainFileForReading(Path("target").c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), 'k');
    EXPECT_NE(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_P(GuardedFile, ReadsAFileThatHasASecondName) {
    Write(Path("file"), "kept");
    fs::create_hard_link(Path("file"), Path("other"));
    EXPECT_NE(OpenPlainFileForReading(Path("other").c_str()), nullptr);
}

TEST_P(GuardedFile, TellsAPlainPathFromOneThatLeadsElsewhere) {
    Obstacles();
    const struct {
        std::string path;
        bool plain;
        std::string resolved;
    } rows[] = {
        {Path("target"), true, Path("target")},
        {Path("missing"), true, ""},
        {Path("dangling"), true, ""},
        {Path("link"), false, Path("target")},
        {Path("linked-folder/file"), false, Path("folder/file")},
        {Path("folder/../target"), false, Path("target")},
        {Path("target/below"), false, ""},
    };
    for (const auto& row : rows) {
        std::string resolved = "before";
        EXPECT_EQ(IsPlainPath(row.path.c_str(), &resolved), row.plain) << row.path;
        EXPECT_EQ(resolved, row.resolved) << row.path;
        EXPECT_EQ(IsPlainPath(row.path.c_str()), row.plain) << row.path;
    }
    errno = 0;
    EXPECT_FALSE(IsPlainPath(Path("link").c_str()));
    EXPECT_EQ(errno, ELOOP);
}

TEST_P(GuardedFile, TellsALinkFromAFileInPlaceOfAFolder) {
    Obstacles();
    const struct {
        const char* path;
        int error;
    } rows[] = {{"link", ELOOP},          {"linked-folder/file", ELOOP}, {"linked-folder/sub/new", ELOOP},
                {"dangling/file", ELOOP}, {"target/file", ENOTDIR},      {"nothing/file", ENOENT}};
    for (const auto& row : rows) {
        for (const bool forReading : {false, true}) {
            const std::string path = Path(row.path);
            errno = 0;
            EXPECT_EQ(forReading ? OpenPlainFileForReading(path.c_str())
                                 : OpenPlainFile(path.c_str(), WriteMode::kWrite),
                      nullptr);
            EXPECT_EQ(errno, row.error) << path;
        }
    }
}

TEST_P(GuardedFile, OpensFilesOfAnySize) {
    Write(Path("file"), "");
    fs::resize_file(Path("file"), 3221225472);
    EXPECT_TRUE(Exists(Path("file")));
    EXPECT_NE(OpenPlainFileForReading(Path("file").c_str()), nullptr);
    EXPECT_NE(OpenGuarded(Path("file").c_str()), nullptr);
    EXPECT_EQ(fs::file_size(Path("file")), 0U);
}

TEST_P(GuardedFile, WritesAllOrSaysNo) {
    EXPECT_TRUE(WriteGuarded(Path("file"), "text"));
    EXPECT_EQ(Read(Path("file")), "text");
    EXPECT_FALSE(WriteGuarded(Path("nowhere/file"), "text"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(WriteAndClose(File(std::fopen("/dev/full", "w")), "text"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(WriteAndClose(nullptr, ""));
}

TEST_P(GuardedFile, TakesDescriptorZeroForAnyOther) {
    fs::create_directory(Path("folder"));
    for (const std::string& path : {Path("file"), Path("folder/file")}) {
        const WithoutInput host;
        errno = ENOSYS;  // left by a call before; only a failure's counts
        EXPECT_TRUE(WriteGuarded(path, "text"));
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "it is closed";
        const File file = OpenPlainFileForReading(path.c_str());
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(std::fgetc(file.get()), 't');
    }
    fs::create_hard_link(Path("file"), Path("other"));
    const WithoutInput host;
    EXPECT_EQ(OpenPlainFile(Path("other").c_str(), WriteMode::kWrite), nullptr);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    for (const std::string& path : {Path("file"), Path("folder/file")}) {
        RemoveFile(path);
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    }
}

TEST_P(GuardedFile, RemovesTheNameItself) {
    Write(Path("file"), "");
    RemoveFile(Path("file"));
    EXPECT_FALSE(fs::exists(Path("file")));
    Obstacles();
    RemoveFile(Path("link"));
    EXPECT_FALSE(fs::exists(Path("link")));
    RemoveFile(Path("linked-folder/file"));
    RemoveFile(Path("linked-folder/sub/file"));
    RemoveFile(Path("folder"));
    RemoveFile(Path("nowhere/file"));
    ExpectNothingTouched();
}
