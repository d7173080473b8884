// kura: a development host. Verbs that need the library run in a sandbox that gives this program, started a
// second time, the set's folders at the library's compiled-in paths; all others work on the set's files as
// they are.
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "Inside.h"
#include "Outcome.h"
#include "Session.h"
#include "Verbs.h"

namespace {

using cli::ExitCode;

int Fail(bool json, ExitCode code, const std::string& message) {
    if (json) {
        cli::PrintDocument(cli::ErrorDocument(code, message));
    }
    std::cerr << "kura: " << message << '\n';
    return static_cast<int>(code);
}

ExitCode CodeOf(kuraset::SetError::Kind kind) {
    return kind == kuraset::SetError::Kind::NotFound ? ExitCode::kNoSuchItem : ExitCode::kFailed;
}

int Run(const cli::Session& session, const cli::Selection& selection,
        const std::vector<std::string>& arguments) {
    try {
        if (selection.place == cli::Place::kInside && !cli::IsInside()) {
            return cli::RunInside(session.OpenSet(), arguments);
        }
        const cli::Outcome outcome = selection.run();
        if (session.json) {
            cli::PrintDocument(outcome.document);
        } else {
            outcome.printText();
            std::cout << std::flush;
        }
        return static_cast<int>(outcome.code);
    } catch (const cli::VerbError& error) {
        return Fail(session.json, error.Code(), error.what());
    } catch (const kuraset::SetError& error) {
        return Fail(session.json, CodeOf(error.kind()), error.what());
    } catch (const std::exception& error) {
        return Fail(session.json, ExitCode::kFailed, error.what());
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"A development host for libkura_parser.so: diagnose, repair and inspect a simulated set.",
                 "kura"};
    cli::Session session;
    cli::Selection selection;
    app.add_option("--set", session.setOption,
                   "The set's directory (default: below the user's data directory)");
    app.add_flag("--json", session.json, "Print exactly one JSON document");
    app.add_option("--language", session.language, "Language of the texts")->capture_default_str();
    app.require_subcommand(1);
    app.fallthrough();
    cli::AddSetVerbs(app, session, selection);
    cli::AddEngineVerbs(app, session, selection);
    cli::AddSettingsVerbs(app, session, selection);
    cli::AddDiagnosisVerbs(app, session, selection);
    cli::AddRepairVerbs(app, session, selection);
    cli::AddStorageVerbs(app, session, selection);
    cli::AddAppVerbs(app, session, selection);
    cli::AddCheckVerbs(app, session, selection);
    cli::AddJournalVerbs(app, session, selection);
    cli::AddMapVerbs(app, selection);

    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        const bool json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
        return Fail(json, ExitCode::kUsage, error.what());
    }
    return Run(session, selection, arguments);
}
