// kura: a development host. For verbs that need the library, the program starts itself again in a sandbox, in
// which the set's folders stand at the library's compiled-in paths. All other verbs work on the set's files
// directly.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "frame/Answer.h"
#include "frame/CommandTree.h"
#include "frame/Complaint.h"
#include "frame/Look.h"
#include "frame/Outcome.h"
#include "frame/Session.h"
#include "frame/TableVerbs.h"
#include "host/Inside.h"
#include "verbs/Verbs.h"

namespace {

using cli::ExitCode;

int Fail(bool json, ExitCode code, const std::string& message, const char* kind = nullptr) {
    std::cerr << "kura: " << message << '\n';
    if (json) {
        try {
            cli::Json document = cli::ErrorDocument(code, message);
            if (kind != nullptr) {
                document["error"]["kind"] = kind;
            }
            cli::PrintDocument(document);
        } catch (const cli::AnswerLost& lost) {
            if (!lost.ReaderLeft()) {
                std::cerr << "kura: " << lost.what() << '\n';
            }
        }
    }
    return static_cast<int>(code);
}

ExitCode CodeOf(kuraset::SetError::Kind kind) {
    return kind == kuraset::SetError::Kind::NotFound ? ExitCode::kNoSuchItem : ExitCode::kFailed;
}

/// Runs make, and turns every exception into one sentence and an exit code.
int Answer(bool json, const std::function<int()>& make) {
    try {
        return make();
    } catch (const cli::AnswerLost& lost) {
        return lost.ReaderLeft() ? static_cast<int>(lost.Code()) : Fail(false, lost.Code(), lost.what());
    } catch (const cli::NoSandbox& error) {
        return Fail(json, error.Code(), error.what(), cli::kNoSandboxKind);
    } catch (const cli::VerbError& error) {
        return Fail(json, error.Code(), error.what());
    } catch (const kuraset::SetError& error) {
        return Fail(json, CodeOf(error.kind()), error.what());
    } catch (const std::filesystem::filesystem_error& error) {
        return Fail(json, ExitCode::kFailed, error.path1().string() + ": " + error.code().message());
    } catch (const std::exception& error) {
        return Fail(json, ExitCode::kFailed, error.what());
    }
}

int Run(const cli::Session& session, const cli::Selection& selection,
        const std::vector<std::string>& arguments) {
    if (selection.place == cli::Place::kInside && !cli::IsInside()) {
        const auto set = selection.on ? selection.on() : session.OpenSet();
        // A program of the user's, which sees its folder, may talk to the terminal.
        const auto prints = session.json     ? cli::Prints::kDocument
                            : selection.show ? cli::Prints::kStream
                                             : cli::Prints::kText;
        return cli::RunInside(set, arguments, prints, selection.show ? selection.show() : "");
    }
    const cli::Outcome outcome = selection.run();
    if (session.json) {
        cli::PrintDocument(outcome.document);
    } else {
        cli::DeliverText(outcome.printText);
    }
    return static_cast<int>(outcome.afterwards ? outcome.afterwards() : outcome.code);
}

int Help(const CLI::App& app, bool json) {
    if (json) {
        cli::PrintDocument(cli::DescribeCommand(cli::NamedVerb(app)));
    } else {
        cli::Deliver(app.help());
    }
    return static_cast<int>(ExitCode::kDone);
}

int Version(const CLI::App& app, bool json) {
    if (json) {
        cli::PrintDocument({{"version", app.version()}});
    } else {
        cli::Deliver(app.version() + "\n");
    }
    return static_cast<int>(ExitCode::kDone);
}

/// Puts the words in the parser's order, the last first. "kura" and "kura help VERB" become --help.
std::vector<std::string> ForParser(std::vector<std::string> words) {
    if (words.empty() || words.front() == "help") {
        words.erase(words.begin(), words.begin() + (words.empty() ? 0 : 1));
        words.emplace_back("--help");
    }
    std::reverse(words.begin(), words.end());
    return words;
}

/// Whether --json is given, even when the rest of the command line is wrong.
bool JsonWanted(const std::vector<std::string>& arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, "--json") != end;
}

}  // namespace

int main(int argc, char** argv) {
    cli::OpenMissingStreams();
    cli::BeginInside();
    CLI::App app{"A development host for libkura_parser.so: diagnose, repair and inspect a simulated set.",
                 "kura"};
    cli::Session session;
    cli::Selection selection;
    app.add_option("--set", session.setOption,
                   "The set's directory (default: below the user's data directory)")
        ->type_name("DIR");
    app.add_flag("--json", session.json, "Print exactly one JSON document")->disable_flag_override();
    app.add_option("--language", session.language, "Language of the texts")
        ->type_name("LANGUAGE")
        ->capture_default_str();
    app.add_option("--color", cli::TheLookOptions().color, "Colour: auto (on a terminal), always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();
    cli::AddTableOptions(app);
    app.add_flag_callback(
        "--no-pager", [] { cli::TheLookOptions().pager = false; }, "Long text at once, also on a terminal");
    app.set_version_flag("--version", KURA_VERSION, "Print the version");
    app.require_subcommand(1);
    app.fallthrough();
    cli::AddSetVerbs(app, session, selection);
    cli::AddEngineVerbs(app, session, selection);
    cli::AddSettingsVerbs(app, session, selection);
    cli::AddDiagnosisVerbs(app, session, selection);
    cli::AddWhyVerbs(app, session, selection);
    cli::AddRepairVerbs(app, session, selection);
    cli::AddStorageVerbs(app, session, selection);
    cli::AddAppVerbs(app, session, selection);
    cli::AddCheckVerbs(app, session, selection);
    cli::AddRunVerbs(app, session, selection);
    cli::AddHistoryVerb(app, session, selection);
    cli::AddJournalVerbs(app, session, selection);
    cli::AddServeVerbs(app, session, selection);
    cli::AddMapVerbs(app, selection);
    cli::AddReportVerb(app, session, selection);
    cli::AddScenarioVerbs(app, session, selection);
    cli::AddCompleteVerb(app, session, selection);

    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool json = JsonWanted(arguments);
    return Answer(json, [&] {
        if (json) {
            cli::ReserveStandardOutput();
        }
        try {
            app.parse(ForParser(arguments));
        } catch (const CLI::CallForHelp&) {
            return Help(app, json);
        } catch (const CLI::CallForVersion&) {
            return Version(app, json);
        } catch (const CLI::ParseError& error) {
            throw cli::VerbError(ExitCode::kUsage, cli::Complaint(app, error));
        }
        cli::CheckTableOptions(cli::NamedVerb(app));
        return Run(session, selection, arguments);
    });
}
