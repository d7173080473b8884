// A process whose descriptors, memory and file size are limited, while it reads the map, diagnoses and
// repairs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "AddressSpace.h"
#include "Host.h"
#include "dlog.h"
#include "trust/Trust.h"

using fakes::Set;

namespace {

/// Lowers a limit while it lives.
class Limit {
public:
    Limit(__rlimit_resource_t resource, rlim_t value) : m_resource(resource) {
        EXPECT_EQ(getrlimit(resource, &m_before), 0);
        const rlimit lowered{value, m_before.rlim_max};
        EXPECT_EQ(setrlimit(resource, &lowered), 0);
    }
    ~Limit() { setrlimit(m_resource, &m_before); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

private:
    __rlimit_resource_t m_resource;
    rlimit m_before{};
};

unsigned int LowestFreeDescriptor() {
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(fd);
    return static_cast<unsigned int>(fd);
}

rlim_t AddressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// The descriptors that a guarded open needs: where the kernel has no openat2, it holds a folder while it
/// opens the next.
unsigned int OfGuardedOpen() {
#if defined(__NR_openat2)
    syscall(__NR_openat2, AT_FDCWD, "", nullptr, std::size_t{0});
    return errno == EINVAL ? 1 : 2;
#else
    return 2;
#endif
}

std::size_t StartLists() {
    return Set().CountCalls("CStartKH::m_DiagResCallback(");
}

}  // namespace

TEST(Limits, OfDescriptorsAreLoggedAndGoByWithThem) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    }
    host::Install();
    KURA::KURA_DiagManager::GetInstance();
    for (unsigned int free = 0; free < 5; ++free) {
        SCOPED_TRACE(std::to_string(free) + " descriptors free");
        setup::ForgetRecords();
        bool bites = false;
        {
            const Limit limit(RLIMIT_NOFILE, LowestFreeDescriptor() + free);
            std::vector<int> taken;
            while (taken.size() <= free) {
                taken.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
            }
            bites = taken.back() < 0 && errno == EMFILE;
            for (const int fd : taken) {
                close(fd);
            }
            for (const std::vector<host::Entry>& entries : {host::Diagnoses(), host::Repairs()}) {
                for (const host::Entry& entry : entries) {
                    entry.call();
                }
            }
        }
        EXPECT_TRUE(bites);
        EXPECT_EQ(StartLists(), 2U) << "the list is shown, whether it could be kept or not";
        EXPECT_EQ(Set().Logged(DLOG_ERROR, std::string("Unable to open XML file ") + setup::kMapPath),
                  free == 0);
        EXPECT_EQ(Set().Logged(DLOG_ERROR, "File creation success (/tmp/vardo/req/runCmdNativeApps)"),
                  free >= OfGuardedOpen());
    }
    setup::ForgetRecords();
    RequestApplySolution("9");
    EXPECT_TRUE(Set().Logged(DLOG_ERROR, "File creation success (/tmp/vardo/req/runCmdNativeApps)"));
    trust::Report("Limits", "descriptors: 0 to 4 free", 5);
}

TEST(Limits, OfFileSizeFailTheCommandAndTheGuideAndKeepTheList) {
    host::Install();
    // The default action ends the process, as it does for every writer.
    std::signal(SIGXFSZ, SIG_IGN);
    KURA::KURA_DiagManager::GetInstance();
    setup::ForgetRecords();
    {
        const Limit limit(RLIMIT_FSIZE, 0);
        std::FILE* file = std::fopen("/tmp/limited", "w");
        ASSERT_NE(file, nullptr);
        std::fputs("x", file);
        EXPECT_NE(std::fclose(file), 0) << "the limit bites";
        KURA::KURA_DiagManager::SolutionCallbackFunc(0, {});
        KURA::KURA_DiagManager::TutorCallbackFunc(0, {});
        RequestApplySolution("9");
    }
    EXPECT_EQ(StartLists(), 1U);
    EXPECT_TRUE(Set().Logged(DLOG_ERROR, "File creation failed (/tmp/vardo/runCmdNativeApps)"));
    EXPECT_EQ(files::Read(setup::kGuideFile), "");
    EXPECT_TRUE(Set().Called("SetSolutionDB(9, 7, 1, 1)")) << "what was tried is recorded";
    trust::Report("Limits", "file size: nothing may be written", 1);
}

TEST(Limits, OfMemoryEndInADocumentedFailure) {
    if (!fakes::AddressSpaceLimit(AddressSpace() + (std::size_t{40} << 20)).Holds()) {
        GTEST_SKIP() << "the address space has no limit here";
    }
    host::Install();
    KURA::KURA_DiagManager::GetInstance();
    Set().keepRecords = false;
    setup::WriteMap("<m><!--" + std::string(8 << 20, 'x') + "--><solution issue_code=\"9\"/></m>");
    const std::size_t steps = trust::Count(24, 400);
    std::size_t refused = 0;
    for (std::size_t step = 0; step < steps; ++step) {
        const fakes::AddressSpaceLimit limit(AddressSpace() + step * (std::size_t{40} << 20) / steps);
        KURA::KURA_SolutionMap map;
        try {
            refused += XMLParse(setup::kMapPath, map) ? 0 : 1;
        } catch (const std::bad_alloc&) {
            ++refused;
        }
        RequestApplySolution("9");
        try {
            KURA::KURA_DiagManager::SolutionCallbackFunc(0, {});
        } catch (const std::bad_alloc&) {
        }
    }
    EXPECT_GT(refused, 0U) << "the limit bites";
    EXPECT_LT(refused, steps);
    Set().keepRecords = true;
    setup::ForgetRecords();
    RequestApplySolution("9");
    EXPECT_TRUE(Set().Logged(DLOG_ERROR, "Value is 9 and size = 1"));
    trust::Report("Limits", "memory: from none to 40 MiB more, a document of 8 MiB", steps);
}
