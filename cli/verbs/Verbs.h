// The verbs, grouped by the files that hold them. Each function declares its verbs. The verb that the command
// line names puts its work into the selection.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <functional>
#include <utility>

#include "frame/Outcome.h"
#include "frame/Session.h"

namespace cli {

/// Where a verb does its work.
enum class Place {
    kOutside,  ///< on the set's files alone
    kInside,   ///< with the library loaded, in the sandbox
};

struct Selection {
    Place place = Place::kOutside;
    std::function<Outcome()> run;
    /// For a verb of kInside: a folder of the user's that it needs, which it sees at kShownFolder (Inside.h).
    std::function<std::filesystem::path()> show = {};
    /// For a verb of kInside: the set to run on, when it is not the session's own.
    std::function<kuraset::SetDirectory()> on = {};
};

/// Selects the work when the command line names the verb. The last two are those of the selection.
inline void Declare(CLI::App* verb, Selection& selection, Place place, std::function<Outcome()> run,
                    std::function<std::filesystem::path()> show = {},
                    std::function<kuraset::SetDirectory()> on = {}) {
    verb->callback([&selection, work = Selection{place, std::move(run), std::move(show), std::move(on)}] {
        selection = work;
    });
}

void AddSetVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddEngineVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddSettingsVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddJournalVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddHistoryVerb(CLI::App& app, const Session& session, Selection& selection);
void AddDiagnosisVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddRepairVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddStorageVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddAppVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddCheckVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddWhyVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddServeVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddMapVerbs(CLI::App& app, Selection& selection);
/// show, diff, stats and format, below "map".
void AddMapReadVerbs(CLI::App& map, Selection& selection);
void AddCompleteVerb(CLI::App& app, const Session& session, Selection& selection);
void AddRunVerbs(CLI::App& app, const Session& session, Selection& selection);
void AddReportVerb(CLI::App& app, const Session& session, Selection& selection);
void AddScenarioVerbs(CLI::App& app, const Session& session, Selection& selection);

}  // namespace cli
