#include "Inside.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>

#include "KURA_SO_Interface.h"
#include "frame/Answer.h"
#include "frame/Look.h"
#include "frame/Outcome.h"
#include "frame/Pager.h"
#include "frame/Session.h"
#include "sandbox/Sandbox.h"
#include "set/SetSandbox.h"
#include "set/SetUse.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

/// Where the sandbox shows this program's tree when its own path is hidden. It then adds nothing to the set's
/// files.
const fs::path kSeenTree = "/run/kura-program";

/// The library file that this program is linked with.
fs::path LibraryFile() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&ParseSolutionMap), &info) == 0 || info.dli_fname == nullptr) {
        throw VerbError(ExitCode::kFailed, "cannot tell which library file is loaded");
    }
    return fs::canonical(info.dli_fname);
}

/// Whether the sandbox puts a private folder over path.
bool IsHidden(const fs::path& path) {
    for (const char* folder : {"/opt/", "/home/", "/tmp/", "/run/"}) {
        if (path.string().rfind(folder, 0) == 0) {
            return true;
        }
    }
    return false;
}

/// A file in memory that receives the document of the run inside.
class Memory {
public:
    Memory() : m_descriptor(memfd_create("kura-answer", MFD_CLOEXEC)) {
        if (m_descriptor < 0) {
            throw VerbError(ExitCode::kFailed,
                            std::string("no room for the answer: ") + std::strerror(errno));
        }
    }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    ~Memory() { close(m_descriptor); }

    int Descriptor() const { return m_descriptor; }

    std::string Text() const {
        std::string text;
        std::array<char, 16384> part{};
        ssize_t count = 0;
        while ((count = pread(m_descriptor, part.data(), part.size(), static_cast<off_t>(text.size()))) > 0) {
            text.append(part.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    int m_descriptor;
};

kurasandbox::SandboxOptions OptionsFor(const kuraset::SetDirectory& set,
                                       const std::vector<std::string>& arguments) {
    fs::path program = fs::read_symlink("/proc/self/exe");
    const fs::path tree = program.parent_path().parent_path();
    const bool hidden = IsHidden(tree);
    if (hidden) {
        program = kSeenTree / program.lexically_relative(tree);
    }
    std::vector<std::string> command = {program.string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    kurasandbox::SandboxOptions options = kuraset::SandboxFor(set, LibraryFile(), std::move(command));
    options.environment.emplace_back(kInsideVariable, "1");
    options.takesErrors = true;
    if (hidden) {
        options.binds.push_back({tree, kSeenTree, false});
    }
    return options;
}

int RunSandbox(const kurasandbox::SandboxOptions& options) {
    int status = 0;
    try {
        status = kurasandbox::RunInSandbox(options);
    } catch (const kurasandbox::SandboxError& error) {
        throw NoSandbox(ExitCode::kFailed, error.what());
    }
    if (status > 128) {
        throw VerbError(ExitCode::kFailed, "the run was cut off by signal " + std::to_string(status - 128));
    }
    return status;
}

Json DocumentOf(const std::string& answer, int status) {
    Json document = Json::parse(answer, nullptr, false);
    if (document.is_discarded()) {
        throw VerbError(ExitCode::kFailed,
                        "the run ended with status " + std::to_string(status) + " and without an answer");
    }
    return document;
}

}  // namespace

void BeginInside() {
    kurasandbox::TakeErrors();
}

int RunInside(const kuraset::SetDirectory& set, const std::vector<std::string>& arguments, Prints prints,
              const fs::path& shown) {
    std::optional<kuraset::SetUse> use(std::in_place, set.Path());
    kurasandbox::SandboxOptions options = OptionsFor(set, arguments);
    if (!shown.empty()) {
        options.binds.push_back({shown, kShownFolder, false});
    }
    set.BeginRun(arguments);
    const bool isPaged = prints == Prints::kText && PagerWanted();
    if (prints != Prints::kDocument && !isPaged) {
        return RunSandbox(options);
    }
    if (isPaged) {
        options.environment.emplace_back(kInsideWidthVariable, std::to_string(TerminalWidth()));
    }
    const Memory answer;
    options.standardOutput = answer.Descriptor();
    const int status = RunSandbox(options);
    use.reset();  // the set is free while somebody reads
    if (isPaged) {
        DeliverForPeople(answer.Text());
    } else {
        PrintDocument(DocumentOf(answer.Text(), status));
    }
    return status;
}

}  // namespace cli
