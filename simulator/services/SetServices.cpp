// Starts and ends the processes beside the host. Each writes to a pipe of its own when it is ready, and the
// kernel sends each a signal when the host dies, so that none is left behind.
#include "SetServices.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "set/FileAccess.h"
#include "support/ChildProcess.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

using support::Pipe;
using Clock = std::chrono::steady_clock;

/// Longer than five seconds, which the agent's longest command may take: the agent finishes it before it
/// ends.
constexpr std::chrono::milliseconds kEndPatience{7000};

[[noreturn]] void Refuse(const std::string& text) {
    throw SetError(SetError::Kind::Io, text);
}

fs::path OwnFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (error) {
        Refuse("/proc/self/exe: cannot read: " + error.message());
    }
    return program.parent_path();
}

/// Whether a child's standard output and error are shown. Those of the bus are dropped, because it complains
/// about limits that it cannot raise.
enum class Chatter { Kept, Dropped };

struct ChildNature {
    std::string name;
    Chatter chatter = Chatter::Kept;
    std::vector<int> inherited;  ///< descriptors that it keeps
};

support::ChildProcess StartChild(const ChildNature& nature, std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);

    // Forked here: posix_spawn() cannot ask for a signal at the parent's death.
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process < 0) {
        Refuse(nature.name + ": cannot start: " + std::strerror(errno));
    }
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(127);
        }
        for (const int descriptor : nature.inherited) {
            fcntl(descriptor, F_SETFD, 0);
        }
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, STDIN_FILENO);
        if (nature.chatter == Chatter::Dropped) {
            dup2(nowhere, STDERR_FILENO);
        }
        // Standard output belongs to the host.
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execvp(pointers[0], pointers.data());
        _exit(127);
    }
    return support::ChildProcess(process);
}

void End(support::ChildProcess& child) noexcept {
    if (child.Number() == 0) {
        return;
    }
    child.Send(SIGTERM);
    if (!child.WaitUntil(Clock::now() + kEndPatience)) {
        child.Kill();
    }
}

/// Waits for the first line. Throws when the writer ends without one or the time is over.
std::string FirstLine(const Pipe& pipe, const std::string& name, std::chrono::milliseconds patience) {
    const auto limit = Clock::now() + patience;
    std::string line;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
        pollfd watched{pipe.readEnd.Number(), POLLIN, 0};
        const int found = left <= 0 ? 0 : poll(&watched, 1, static_cast<int>(left));
        if (found < 0 && errno == EINTR) {
            continue;
        }
        char letter = 0;
        if (found <= 0) {
            Refuse(name + ": is not ready after " + std::to_string(patience.count()) + " ms");
        }
        if (read(pipe.readEnd.Number(), &letter, 1) != 1) {
            Refuse(name + ": ended before it was ready");
        }
        if (letter == '\n') {
            return line;
        }
        line += letter;
    }
}

/// Starts a program and waits for its first line on a pipe. "%ready" in its arguments stands for the number
/// of the pipe's end.
support::ChildProcess StartReady(ChildNature nature, std::vector<std::string> arguments,
                                 std::chrono::milliseconds patience, std::string& line) {
    Pipe pipe;
    if (!pipe.readEnd) {
        Refuse(std::string("pipe: ") + std::strerror(errno));
    }
    for (std::string& argument : arguments) {
        const std::size_t at = argument.find("%ready");
        if (at != std::string::npos) {
            argument.replace(at, std::strlen("%ready"), std::to_string(pipe.writeEnd.Number()));
        }
    }
    nature.inherited.push_back(pipe.writeEnd.Number());
    support::ChildProcess child = StartChild(nature, std::move(arguments));
    pipe.writeEnd.Reset();
    line = FirstLine(pipe, nature.name, patience);
    return child;
}

/// Configures a bus that admits only this user and reads no service files. Its socket is abstract, so that no
/// file is left behind, however the host ends.
std::string BusConfiguration(const std::string& name) {
    return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
           "<busconfig>\n  <type>session</type>\n  <listen>unix:abstract=" +
           name +
           "</listen>\n"
           "  <auth>EXTERNAL</auth>\n"
           "  <policy context=\"default\">\n    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
           "    <allow eavesdrop=\"true\"/>\n    <allow own=\"*\"/>\n  </policy>\n</busconfig>\n";
}

/// A file that only this process and its children can see.
Descriptor HiddenFile(const std::string& text) {
    Descriptor file(memfd_create("kura-bus", MFD_CLOEXEC));
    if (!file || !WriteAll(file.Number(), text)) {
        Refuse(std::string("bus configuration: cannot write: ") + std::strerror(errno));
    }
    return file;
}

std::string FaultMode(const json& description, const char* service) {
    const json fault = description.value("faults", json::object()).value(service, json());
    return fault.is_string() ? fault.get<std::string>() : fault.is_object() ? fault.value("mode", "") : "";
}

}  // namespace

struct SetServices::Impl {
    bool busNamed = false;  ///< in this process's environment
    support::ChildProcess bus;
    support::ChildProcess packageManager;
    support::ChildProcess agent;

    ~Impl() { Stop(); }

    void Stop() noexcept {
        End(agent);
        End(packageManager);
        End(bus);
        if (std::exchange(busNamed, false)) {
            unsetenv(kPackageBusVariable);
        }
    }

    void StartBus(const Options& options);
    void StartPackageManager(const SetDirectory& set, const Options& options, const fs::path& programs);
    void StartAgent(const SetDirectory& set, const Options& options, const fs::path& programs);
};

void SetServices::Impl::StartBus(const Options& options) {
    std::random_device random;
    const std::string name =
        "kura-bus-" + std::to_string(getpid()) + "-" + std::to_string(random()) + std::to_string(random());
    const Descriptor configuration = HiddenFile(BusConfiguration(name));
    std::string address;
    bus = StartReady({"dbus-daemon", Chatter::Dropped, {configuration.Number()}},
                     {"dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", "--print-address=%ready",
                      "--config-file=/proc/self/fd/" + std::to_string(configuration.Number())},
                     options.patience, address);
    setenv(kPackageBusVariable, address.c_str(), 1);
    busNamed = true;
}

void SetServices::Impl::StartPackageManager(const SetDirectory& set, const Options& options,
                                            const fs::path& programs) {
    std::string line;
    packageManager = StartReady({"kura-pkgmgrd", Chatter::Kept, {}},
                                {(programs / "kura-pkgmgrd").string(), "--set", set.Path().string(), "--opt",
                                 options.opt.string(), "--ready-fd", "%ready"},
                                options.patience, line);
}

void SetServices::Impl::StartAgent(const SetDirectory& set, const Options& options,
                                   const fs::path& programs) {
    std::string line;
    agent = StartReady({"kura-agentd", Chatter::Kept, {}},
                       {(programs / "kura-agentd").string(), "--set", set.Path().string(), "--opt",
                        options.opt.string(), "--tmp", options.tmp.string(), "--ready-fd", "%ready"},
                       options.patience, line);
}

SetServices SetServices::Start(const SetDirectory& set, const Options& options) {
    const json description = set.Description();
    const fs::path programs = options.programs.empty() ? OwnFolder() : options.programs;
    auto impl = std::make_unique<Impl>();

    const std::string packageFault = FaultMode(description, "pkgmgr");
    if (options.packageManager && packageFault != "absent") {
        impl->StartBus(options);
        if (packageFault != "no_service") {
            impl->StartPackageManager(set, options, programs);
        }
    }
    if (options.agent && FaultMode(description, "agent") != "absent") {
        impl->StartAgent(set, options, programs);
    }
    return SetServices(std::move(impl));
}

SetServices SetServices::Start(const SetDirectory& set) {
    return Start(set, Options());
}

SetServices::SetServices(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
SetServices::SetServices(SetServices&&) noexcept = default;
SetServices& SetServices::operator=(SetServices&&) noexcept = default;
SetServices::~SetServices() = default;

int SetServices::BusProcess() const {
    return m_impl ? m_impl->bus.Number() : 0;
}
int SetServices::PackageManagerProcess() const {
    return m_impl ? m_impl->packageManager.Number() : 0;
}
int SetServices::AgentProcess() const {
    return m_impl ? m_impl->agent.Number() : 0;
}

void SetServices::Stop() noexcept {
    if (m_impl) {
        m_impl->Stop();
    }
}

}  // namespace kuraset
