// A process that may not open, write or start anything more. Each test checks that the limit takes effect.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "KURA_SO_Interface.h"
#include "PackageBus.h"
#include "trust/Trust.h"

using agent::Text;
using fakes::Set;
using KURA::CGetData;
using ::testing::Contains;

namespace {

class Limit {
public:
    Limit(__rlimit_resource_t resource, rlim_t most) : m_resource(resource) {
        getrlimit(resource, &m_before);
        const rlimit now{most, m_before.rlim_max};
        setrlimit(resource, &now);
    }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;
    ~Limit() { setrlimit(m_resource, &m_before); }

private:
    __rlimit_resource_t m_resource;
    rlimit m_before{};
};

/// Every descriptor below it is in use.
rlim_t NextDescriptor() {
    const int next = dup(STDIN_FILENO);
    close(next);
    return static_cast<rlim_t>(next);
}

class Limits : public ::testing::Test {
protected:
    void SetUp() override {
        agent::MakeFolders();
        m_device = CGetData::GetInstance();
        Set().log.clear();
    }

    /// Every request that writes a file fails as if the agent's folder refused it.
    void ExpectRefusedRequests() {
        long data = -1;
        long cache = -2;
        m_device->findDataCacheSize(Text("package"), Text("app"), &data, &cache);
        EXPECT_EQ(data, -1);
        EXPECT_EQ(cache, -2);
        m_device->killApp(Text("package"));
        EXPECT_EQ(m_device->clearAppCache(Text("package"), Text("app")), -1);
        EXPECT_EQ(m_device->performDeepClean(), -1);
        EXPECT_EQ(ProcessCMD("command"), -1);
        const std::vector<std::string> log = agent::Log();
        for (const char* line :
             {"6 findDataCacheSize: [KELMGR-NATIVE] File creation failed of "
              "/tmp/vardo/calcAppDataCacheSize_app",
              "4 killApp: [KELMGR-NATIVE] file creation failed (/tmp/vardo/killApp)",
              "4 clearAppCache: [KELMGR-NATIVE] file creation failed (/tmp/vardo/clearAppCache)",
              "4 performDeepClean: File creation failed (/tmp/vardo/req/CleanAll.txt)",
              "6 ProcessCMD: File creation failed (/tmp/vardo/runCmdNativeApps)"}) {
            EXPECT_THAT(log, Contains(line));
        }
    }

    CGetData* m_device = nullptr;
};

}  // namespace

TEST_F(Limits, OfDescriptors) {
    if (trust::kIsSanitized) {
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    }
    agent::Write(agent::kFolder + "/cobalt_size", "5");
    PackageBus bus;
    bus.ServeSizes(0, 1000, 300);
    Set().pkgmgrConnection = bus.Connection();
    {
        const Limit limit(RLIMIT_NOFILE, NextDescriptor());
        ASSERT_EQ(open("/dev/null", O_RDONLY | O_CLOEXEC), -1);
        ASSERT_EQ(errno, EMFILE);
        ExpectRefusedRequests();
        EXPECT_EQ(m_device->performMemBoost(), -1);
        EXPECT_EQ(KURA::getAppSizeForYoutube(), 0);
        EXPECT_EQ(m_device->GetStdoutFromCommand("echo word"), "");
        EXPECT_EQ(m_device->CheckDeviceState(), 1);
        m_device->sendAppData("package", "app");
        EXPECT_EQ(m_device->m_GetTotalSizeOfApp(), 0) << "-2 for each of both sizes";
    }
    EXPECT_THAT(agent::Log(),
                Contains("4 performMemBoost: File creation failed (/tmp/vardo/req/memBoost) with "
                         "error number : " +
                         std::to_string(EMFILE)));
    EXPECT_THAT(agent::Log(), Contains("4 m_getChipID: ERROR: failed to open chipID!!"));
    EXPECT_EQ(m_device->GetStdoutFromCommand("echo word"), "word");
    EXPECT_EQ(KURA::getAppSizeForYoutube(), 5);
    m_device->sendAppData("package", "app");
    EXPECT_EQ(m_device->m_GetTotalSizeOfApp(), 700);
    trust::Report("Limits", "descriptors: every request, answer, command and call", 10);
}

TEST_F(Limits, OfTheSizeOfFiles) {
    {
        const agent::FullDisk full;
        agent::Write("/tmp/file", "text");
        ASSERT_EQ(agent::Read("/tmp/file"), "");
        ExpectRefusedRequests();
    }
    trust::Report("Limits", "size of files: every request that writes", 5);
}

TEST_F(Limits, OfProcesses) {
    // The limit holds for nobody with privileges.
    if (setresuid(65534, 65534, 65534) != 0) {
        ASSERT_EQ(errno, EINVAL) << "where there is one user only";
    }
    const agent::Unprivileged unprivileged;
    const Limit limit(RLIMIT_NPROC, 0);
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    if (child > 0) {
        waitpid(child, nullptr, 0);
        GTEST_SKIP() << "this user's processes cannot be limited here";
    }
    ASSERT_EQ(errno, EAGAIN);
    EXPECT_EQ(m_device->GetStdoutFromCommand("echo word"), "");
    trust::Report("Limits", "processes: a command", 1);
}
