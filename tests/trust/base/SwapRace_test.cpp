// The guarded open by itself in the race for a name, also where the kernel cannot refuse links by itself: on
// an old one, and behind a filter that does not let the call through.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Kernel.h"
#include "base/GuardedFile.h"
#include "trust/Swapper.h"
#include "trust/Trust.h"

namespace fs = std::filesystem;

namespace {

struct Kernel {
    const char* name;
    int refusal;
};

class GuardedOpen : public testing::TestWithParam<Kernel> {
protected:
    void SetUp() override {
        trust::Watch();
        kernel::RefuseOpenat2(GetParam().refusal);
    }

    /// Writes below /home/folder while that is swapped with a link to a folder that holds the victim.
    static void Race(const std::string& written, const std::string& swapped, const std::string& trap,
                     const std::string& victim) {
        int touched = 0;
        std::size_t opened = 0;
        const trust::Swapper swapper(swapped, trap);
        const std::size_t tries = trust::TryOften(swapper, trust::Count(5000, 150000), [&] {
            if (const KURA::base::File file = KURA::base::OpenGuarded(written.c_str())) {
                std::fputs("written", file.get());
                ++opened;
            }
            std::ifstream stream(victim);
            if (std::string(std::istreambuf_iterator<char>(stream), {}) != "kept") {
                ++touched;
                std::ofstream(victim) << "kept";
            }
        });
        EXPECT_EQ(touched, 0);
        EXPECT_GT(opened, 0U) << "the guard lets plain files through";
        trust::Report("Swap race", std::string("guarded open, ") + GetParam().name, tries);
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Kernels, GuardedOpen,
                         testing::Values(Kernel{"New", 0}, Kernel{"Old", ENOSYS}, Kernel{"Filtered", EPERM}),
                         [](const auto& test) { return test.param.name; });

TEST_P(GuardedOpen, NeverWritesToAFileBehindALink) {
    std::ofstream("/home/victim") << "kept";
    std::ofstream("/home/file") << "";
    fs::create_symlink("/home/victim", "/home/trap");
    Race("/home/file", "/home/file", "/home/trap", "/home/victim");
}

TEST_P(GuardedOpen, NeverWritesBelowALinkedFolder) {
    fs::create_directories("/home/folder/below");
    fs::create_directories("/home/other/below");
    std::ofstream("/home/other/below/file") << "kept";
    std::ofstream("/home/folder/below/file") << "";
    fs::create_directory_symlink("/home/other", "/home/trap");
    Race("/home/folder/below/file", "/home/folder", "/home/trap", "/home/other/below/file");
}
