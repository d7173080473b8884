#include "Sandbox.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/personality.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <system_error>

#include "support/ChildProcess.h"
#include "support/Descriptor.h"

namespace fs = std::filesystem;

namespace kurasandbox {

namespace {

using Arguments = std::vector<std::string>;

constexpr const char* kRealEtc = "/run/machine/etc";
constexpr const char* kRealProc = "/run/machine/proc";
constexpr const char* kReleaseMark = "release";
constexpr const char* kDebugMark = "debug";

/// How many processes get a numbered entry in /proc; others are found through "self" alone.
constexpr int kNumberedProcesses = 300;

void Add(Arguments& arguments, std::initializer_list<std::string> more) {
    arguments.insert(arguments.end(), more);
}

bool IsNumber(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

/// Puts the library into /usr/lib, which is read-only: mounts an empty folder over it and fills that with the
/// old entries and the library.
void AddLibrary(Arguments& arguments, const fs::path& library) {
    const fs::path folder = "/usr/lib";
    const fs::path seen = folder / "libkura_parser.so";
    Add(arguments, {"--tmpfs", folder});
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path() == seen) {
            continue;
        }
        if (entry.is_symlink()) {
            Add(arguments, {"--symlink", fs::read_symlink(entry.path()), entry.path()});
        } else {
            Add(arguments, {"--ro-bind", entry.path(), entry.path()});
        }
    }
    Add(arguments, {"--ro-bind", fs::absolute(library), seen});
}

/// Makes an /etc of links to the machine's files, without the marks of an image type.
void AddEtc(Arguments& arguments, const std::string& imageType) {
    Add(arguments, {"--ro-bind", "/etc", kRealEtc, "--tmpfs", "/etc"});
    for (const fs::directory_entry& entry : fs::directory_iterator("/etc")) {
        const std::string name = entry.path().filename();
        if (name != kReleaseMark && name != kDebugMark) {
            Add(arguments, {"--symlink", std::string(kRealEtc) + "/" + name, entry.path()});
        }
    }
    if (!imageType.empty()) {
        Add(arguments, {"--ro-bind", "/dev/null", "/etc/" + imageType});
    }
}

/// Makes a /proc of links into the real one, because the real one takes no new file.
void AddProc(Arguments& arguments, const std::optional<fs::path>& chipIdFile) {
    Add(arguments, {"--proc", kRealProc, "--tmpfs", "/proc"});
    const auto link = [&](const std::string& name) {
        Add(arguments, {"--symlink", std::string(kRealProc) + "/" + name, "/proc/" + name});
    };
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        if (!IsNumber(entry.path().filename())) {
            link(entry.path().filename());
        }
    }
    for (int process = 1; process <= kNumberedProcesses; ++process) {
        link(std::to_string(process));
    }
    if (chipIdFile) {
        Add(arguments, {"--ro-bind", fs::absolute(*chipIdFile), "/proc/vex_chipid_val"});
    }
}

void AddPrivateFolder(Arguments& arguments, const std::string& seen, const std::optional<fs::path>& folder) {
    if (folder) {
        Add(arguments, {"--bind", fs::absolute(*folder), seen});
    } else {
        Add(arguments, {"--perms", "1777", "--tmpfs", seen});
    }
}

void AddOpt(Arguments& arguments, const SandboxOptions& options) {
    if (options.opt && options.optReadOnly) {
        Add(arguments, {"--ro-bind", fs::absolute(*options.opt), "/opt"});
        return;
    }
    if (!options.opt && options.optSize) {
        Add(arguments, {"--size", std::to_string(*options.optSize)});
    }
    AddPrivateFolder(arguments, "/opt", options.opt);
}

void AddExposed(Arguments& arguments, const SandboxOptions& options) {
    for (const fs::path& folder : options.readOnly) {
        Add(arguments, {"--ro-bind", fs::absolute(folder), fs::absolute(folder)});
    }
    for (const fs::path& folder : options.readWrite) {
        Add(arguments, {"--bind", fs::absolute(folder), fs::absolute(folder)});
    }
    for (const Bind& bind : options.binds) {
        Add(arguments, {bind.writable ? "--bind" : "--ro-bind", fs::absolute(bind.source), bind.target});
    }
}

support::ChildProcess StartBubblewrap(const support::ChildStart& start) try {
    return support::ChildProcess(start);
} catch (const std::system_error& error) {
    throw SandboxError("no sandbox can be made here: cannot start bubblewrap (Debian package bubblewrap): " +
                       error.code().message());
}

/// A setting of the kernel that lets nobody but root make a sandbox.
struct Prohibition {
    const char* file;
    const char* value;
    const char* remedy;
};

constexpr Prohibition kProhibitions[] = {
    {"/proc/sys/kernel/unprivileged_userns_clone", "0", "kernel.unprivileged_userns_clone=1"},
    {"/proc/sys/user/max_user_namespaces", "0", "user.max_user_namespaces=10000"},
    {"/proc/sys/kernel/apparmor_restrict_unprivileged_userns", "1",
     "kernel.apparmor_restrict_unprivileged_userns=0"}};

/// What lets this process make a sandbox. Where no setting of the kernel is the reason, it is a container's
/// filter of system calls.
std::string Remedy() {
    std::string remedy = "start the container, if this is one, with --privileged";
    for (const Prohibition& prohibition : kProhibitions) {
        std::string value;
        if (std::getline(std::ifstream(prohibition.file), value) && value == prohibition.value) {
            remedy = std::string("allow it with \"sysctl ") + prohibition.remedy + '"';
            break;
        }
    }
    return remedy + (geteuid() == 0 ? "" : ", or run as root");
}

/// The sentence for what bubblewrap said; for nothing, when that is on standard error.
SandboxError Refusal(const std::string& said) {
    const std::string mark = "bwrap: ";
    const std::size_t start = said.rfind(mark, 0) == 0 ? mark.size() : 0;
    // Its guess at the reason and its links stand behind the first clause.
    std::string reason = said.substr(start, said.find_first_of(",\n", start) - start);
    const auto contains = [&reason](const char* words) { return reason.find(words) != std::string::npos; };
    const bool isForbidden =
        said.empty() || contains("namespace") || contains("not permitted") || contains("denied");
    if (said.empty()) {
        reason = "its reason is above";
    }
    return SandboxError("no sandbox can be made here (bubblewrap: " + reason + ")" +
                        (isForbidden ? "; " + Remedy() : ""));
}

/// Names the descriptor that TakeErrors takes, in the environment of the command.
constexpr const char* kErrorsVariable = "KURA_SANDBOX_ERRORS";

/// Keeps what bubblewrap says, and hands the caller's standard error to the command under another number.
class KeptErrors {
public:
    explicit KeptErrors(support::ChildStart& start)
        : m_said(memfd_create("errors", MFD_CLOEXEC)),
          m_own(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        if (!m_said || !m_own) {
            throw std::system_error(errno, std::generic_category(), "standard error");
        }
        start.errors = m_said.Number();
        start.kept.push_back(m_own.Number());
        start.environment.emplace_back(kErrorsVariable, std::to_string(m_own.Number()));
    }

    std::string Said() const {
        lseek(m_said.Number(), 0, SEEK_SET);
        return support::ReadAll(m_said.Number()).value_or("");
    }

private:
    support::Descriptor m_said;
    support::Descriptor m_own;
};

}  // namespace

std::vector<std::string> BuildBubblewrapCommand(const SandboxOptions& options) {
    // TMPDIR and /run belong to the machine's session; the sandbox has its own /tmp and an empty /run.
    Arguments arguments = {
        "bwrap", "--unshare-all", "--die-with-parent", "--unsetenv", "TMPDIR", "--ro-bind", "/", "/",
        "--dev", "/dev",          "--tmpfs",           "/run"};
    if (options.chipIdFile || options.writableSystem) {
        AddProc(arguments, options.chipIdFile);
    } else {
        Add(arguments, {"--proc", "/proc"});
    }
    if (!options.imageType.empty() || options.writableSystem) {
        AddEtc(arguments, options.imageType);
    }
    if (!options.library.empty()) {
        AddLibrary(arguments, options.library);
    }
    AddOpt(arguments, options);
    AddPrivateFolder(arguments, "/home", options.home);
    AddPrivateFolder(arguments, "/tmp", options.tmp);
    AddExposed(arguments, options);
    for (const auto& [name, value] : options.environment) {
        Add(arguments, {"--setenv", name, value});
    }
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), options.command.begin(), options.command.end());
    return arguments;
}

int RunInSandbox(const SandboxOptions& options) {
    support::Pipe status;
    if (!status.writeEnd) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    support::ChildStart start;
    start.command = BuildBubblewrapCommand(options);
    start.command.insert(start.command.begin() + 1,
                         {"--json-status-fd", std::to_string(status.writeEnd.Number())});
    start.kept = {status.writeEnd.Number()};
    start.output = options.standardOutput;
    std::optional<KeptErrors> errors;
    if (options.takesErrors) {
        errors.emplace(start);
    }
    if (options.fixedAddresses) {
        personality(ADDR_NO_RANDOMIZE);
    }
    const int result = StartBubblewrap(start).Wait().ShellStatus();
    status.writeEnd.Reset();
    const std::string said = errors ? errors->Said() : "";
    // bwrap reports an exit code only for a command that it started; its own failures end with status 1.
    const auto report = support::ReadAll(status.readEnd.Number());
    if (result == 1 && report && report->find("\"exit-code\"") == std::string::npos) {
        throw Refusal(said);
    }
    // What the dynamic loader says comes before the command can take its standard error.
    std::fputs(said.c_str(), stderr);
    return result;
}

void TakeErrors() {
    const char* number = std::getenv(kErrorsVariable);
    if (number == nullptr) {
        return;
    }
    const support::Descriptor own(static_cast<int>(std::strtol(number, nullptr, 10)));
    dup2(own.Number(), STDERR_FILENO);
    unsetenv(kErrorsVariable);
}

}  // namespace kurasandbox
