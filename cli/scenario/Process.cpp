#include "Process.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

#include "ScenarioError.h"
#include "support/ChildProcess.h"
#include "support/Descriptor.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds kStep{3};
constexpr int kRemovals = 100;
constexpr const char* kMemory = "/dev/shm";
constexpr std::uintmax_t kRoomInMemory = std::uintmax_t{1} << 30;
constexpr std::uintmax_t kRoomForRun = std::uintmax_t{1} << 20;

std::atomic<bool> interrupted{false};

/// A file without a name, for what a child writes.
support::Descriptor MemoryFile() {
    support::Descriptor file(memfd_create("output", MFD_CLOEXEC));
    if (!file) {
        throw ScenarioError(std::string("cannot keep what a program writes: ") + std::strerror(errno));
    }
    return file;
}

std::string TextOf(const support::Descriptor& file) {
    lseek(file.Number(), 0, SEEK_SET);
    return support::ReadAll(file.Number()).value_or("");
}

/// What is left for files; everything where the system does not tell.
std::uintmax_t RoomIn(const fs::path& folder) {
    std::error_code error;
    return fs::space(folder, error).available;
}

/// Where TMPDIR says; otherwise in memory where it has room, because a set waits for the disk at every write.
fs::path Parent() {
    const char* chosen = std::getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') {
        return chosen;
    }
    return access(kMemory, W_OK | X_OK) == 0 && RoomIn(kMemory) >= kRoomInMemory ? kMemory : "/tmp";
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& command, std::chrono::seconds limit,
                         const std::vector<std::pair<std::string, std::string>>& environment) {
    if (interrupted) {
        throw Interrupted();
    }
    const support::Descriptor out = MemoryFile();
    const support::Descriptor err = MemoryFile();
    support::ChildStart start;
    start.command = command;
    start.environment = environment;
    start.input = support::ChildStart::kNowhere;
    start.output = out.Number();
    start.errors = err.Number();
    start.isApart = true;
    support::ChildProcess process(start);
    const auto end =
        process.WaitUntil(std::chrono::steady_clock::now() + limit, [] { return interrupted.load(); });
    ProcessResult result;
    result.timedOut = !end;
    result.status = (end ? *end : process.Kill()).ShellStatus();
    result.out = TextOf(out);
    result.err = TextOf(err);
    if (interrupted) {
        throw Interrupted();
    }
    return result;
}

void EndInGoodOrder() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = true; };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

TemporaryFolder::TemporaryFolder() {
    const fs::path parent = Parent();
    std::string name = (parent / "kura-scenario-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw ScenarioError("cannot make a folder for the set in " + parent.string() + ": " +
                            std::strerror(errno) + " (TMPDIR names another place)");
    }
    m_path = name;
}

void TemporaryFolder::DemandRoom() const {
    const std::string shortage = Shortage();
    if (!shortage.empty()) {
        throw ScenarioError("no run on the set would have room" + shortage);
    }
}

std::string TemporaryFolder::Shortage() const {
    return RoomIn(m_path) >= kRoomForRun ? ""
                                         : " (" + m_path.parent_path().string() +
                                               " has less than 1 MiB left; TMPDIR names another folder)";
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    // A process that was just killed may still write here.
    for (int attempt = 0; attempt < kRemovals && fs::exists(m_path, error); ++attempt) {
        fs::remove_all(m_path, error);
        if (error) {
            std::this_thread::sleep_for(kStep);
        }
    }
}

}  // namespace scenario
