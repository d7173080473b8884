// The guarded open by itself in the race for a name, also where the kernel cannot refuse links by itself: on
// an old one, and behind a filter that does not let the call through.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/GuardedFile.h"
#include "trust/Swapper.h"
#include "trust/Trust.h"

namespace fs = std::filesystem;

namespace {

/// The error with which the kernel refuses the one call that follows no link anywhere; 0: it has the call.
int g_refusal = 0;

struct Kernel {
    const char* name;
    int refusal;
};

class GuardedOpen : public testing::TestWithParam<Kernel> {
protected:
    void SetUp() override {
        trust::Watch();
        g_refusal = GetParam().refusal;
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

/// Stands in front of the C library's: the one call that the guarded open makes by number.
extern "C" long syscall(long number, ...) noexcept {
    using Function = long(long, long, long, long, long, long, long);
    static auto* next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "syscall"));
    if (g_refusal != 0 && number == SYS_openat2) {
        errno = g_refusal;
        return -1;
    }
    std::va_list values;
    va_start(values, number);
    long v[6];
    for (long& value : v) {
        value = va_arg(values, long);
    }
    va_end(values);
    return next(number, v[0], v[1], v[2], v[3], v[4], v[5]);
}

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
