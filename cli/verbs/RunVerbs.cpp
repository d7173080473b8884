// Runs a user's own host on the set: any program, in the sandbox that has the set's folders at the library's
// paths, with the agent and the package manager beside it.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>

#include "Verbs.h"
#include "host/Inside.h"
#include "services/SetServices.h"
#include "support/ChildProcess.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

struct RunOptions {
    std::string program;
    std::vector<std::string> arguments;
};

/// Where the program finds the libraries of this installation: its folder may be one that no program
/// searches, or that has another place in the sandbox.
std::string LibraryFolders() {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const char* const own = std::getenv("LD_LIBRARY_PATH");
    return (own == nullptr || *own == '\0' ? "" : std::string(own) + ":") +
           (program.parent_path().parent_path() / "lib").string();
}

Outcome Run(const Session& session, const RunOptions& options) {
    const auto set = session.OpenSet();
    const auto services = kuraset::SetServices::Start(set);
    std::vector<std::string> line = {
        (fs::path(kShownFolder) / fs::path(options.program).filename()).string()};
    line.insert(line.end(), options.arguments.begin(), options.arguments.end());
    support::ChildStart start;
    start.command = line;
    start.environment = {{"LD_LIBRARY_PATH", LibraryFolders()}};
    const support::ChildEnd end = support::ChildProcess(start).Wait();
    if (end.signal != 0) {
        throw VerbError(ExitCode::kFailed,
                        options.program + " was ended by signal " + std::to_string(end.signal));
    }
    if (end.status != 0) {
        throw VerbError(ExitCode::kFailed,
                        options.program + " ended with status " + std::to_string(end.status));
    }
    return {{{"program", options.program}, {"status", end.status}}, [] {}};
}

/// The folder that the sandbox has to show. Call it outside the sandbox: only there is the program's path
/// valid.
fs::path FolderOf(const std::string& program) {
    std::error_code error;
    const fs::path path = fs::absolute(program, error).lexically_normal();
    if (error || !fs::is_regular_file(path, error)) {
        throw VerbError(ExitCode::kNoSuchItem, "no such program: " + program);
    }
    return path.parent_path();
}

}  // namespace

void AddRunVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<RunOptions>();
    CLI::App* verb = app.add_subcommand("run", "Run a host of your own on the set");
    verb->add_option("program", options->program,
                     "The program's file; it sees its own folder at /run/kura-host, and what it prints to "
                     "standard output goes to standard error with --json")
        ->type_name("FILE")
        ->required();
    verb->add_option("argument", options->arguments, "Its arguments, behind -- when they begin with a dash");
    Declare(
        verb, selection, Place::kInside, [&session, options] { return Run(session, *options); },
        [options] { return FolderOf(options->program); });
}

}  // namespace cli
