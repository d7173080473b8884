// The states of a set that somebody wants to come back to, and the sets that there are. Snapshots lie beside
// the set, in SET.snapshots/NAME, so that a copy of the set is without them.
#include "SnapshotVerbs.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "ReplaceFolder.h"
#include "SetDifference.h"
#include "explain/SetCopy.h"
#include "frame/TableVerbs.h"
#include "set/SetUse.h"
#include "support/Joined.h"
#include "support/NearestName.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

const Table::Columns kSetListColumns = {{"SET"}, {"MODEL"}, {"RUNS", Table::Align::kRight}, {"SNAPSHOTS"}};

struct SnapshotOptions {
    std::string name;
    bool force = false;
    bool exitCode = false;
};

fs::path SnapshotFolder(const fs::path& set) {
    return set.string() + ".snapshots";
}

/// Where the snapshot of that name lies. Throws VerbError for what is no name.
fs::path PlaceOf(const fs::path& set, const std::string& name) {
    if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos) {
        throw VerbError(ExitCode::kUsage,
                        "no name for a snapshot: \"" + name + "\" (it begins with no dot and has no slash)");
    }
    return SnapshotFolder(set) / name;
}

fs::path ExistingPlace(const fs::path& set, const std::string& name) {
    const fs::path place = PlaceOf(set, name);
    if (!fs::exists(place)) {
        throw VerbError(ExitCode::kNoSuchItem,
                        "the set has no snapshot " + name + support::Suggestion(name, SnapshotNames(set)));
    }
    return place;
}

Outcome TakeSnapshot(const Session& session, const SnapshotOptions& options) {
    const fs::path set = session.OpenSet().Path();
    const fs::path place = PlaceOf(set, options.name);
    if (fs::exists(place) && !options.force) {
        throw VerbError(ExitCode::kFailed,
                        "there is a snapshot " + options.name + " already (--force replaces it)");
    }
    const kuraset::SetUse use(set);
    fs::create_directories(place.parent_path());
    ReplaceFolder(place, [&set](const fs::path& fresh) { CopySet(set, fresh); });
    const Json document = {{"set", set.string()}, {"snapshot", options.name}, {"path", place.string()}};
    return {document, [options] { std::cout << "kept the set as snapshot " << options.name << '\n'; }};
}

Outcome Restore(const Session& session, const SnapshotOptions& options) {
    const fs::path set = session.OpenSet().Path();
    const fs::path place = ExistingPlace(set, options.name);
    kuraset::SetDirectory::Open(place);  // refused before the set goes
    const kuraset::SetUse use(set);
    ReplaceFolder(set, [&place](const fs::path& fresh) { CopySet(place, fresh); });
    const Json document = {{"set", set.string()}, {"snapshot", options.name}};
    return {document, [options] { std::cout << "the set is as in snapshot " << options.name << '\n'; }};
}

Outcome Differ(const Session& session, const SnapshotOptions& options) {
    const auto set = session.OpenSet();
    const auto before = kuraset::SetDirectory::Open(ExistingPlace(set.Path(), options.name));
    Json document = {{"set", set.Path().string()}, {"snapshot", options.name}};
    document.update(DifferenceOf(before, set));
    const bool isFinding = options.exitCode && document.at("differ").get<bool>();
    return {document, [document] { PrintDifferenceOf(document); },
            isFinding ? ExitCode::kFindings : ExitCode::kDone};
}

Json DocumentOfSet(const fs::path& path) {
    Json document = {
        {"set", path.string()}, {"model", nullptr}, {"runs", nullptr}, {"snapshots", SnapshotNames(path)}};
    try {
        const auto set = kuraset::SetDirectory::Open(path);
        const auto runs = set.ReadRuns();
        document["model"] = ToDocument(set.Description().value("model", nlohmann::json()));
        document["runs"] = runs.empty() ? 0 : runs.back().number;
    } catch (const kuraset::SetError& error) {
        document["damaged"] = error.what();
    }
    return document;
}

Outcome ListSets(const Session& session) {
    Json sets = Json::array();
    for (const fs::path& path : SetsBeside(session.SetPath())) {
        sets.push_back(DocumentOfSet(path));
    }
    const Json document = {{"folder", session.SetPath().parent_path().string()}, {"sets", sets}};
    return {document, [document] {
                Table table(kSetListColumns);
                for (const Json& set : document.at("sets")) {
                    const bool isDamaged = set.contains("damaged");
                    table.AddRow({set.at("set"),
                                  isDamaged ? Table::Cell("damaged", Tone::kBad) : Shown(set.at("model")),
                                  isDamaged ? "" : Shown(set.at("runs")),
                                  support::Joined(set.at("snapshots"), ", ", &Shown)});
                }
                table.Print();
            }};
}

Outcome RemoveSnapshot(const fs::path& set, const std::string& name) {
    fs::remove_all(ExistingPlace(set, name));
    const Json document = {{"set", set.string()}, {"snapshot", name}};
    return {document, [name] { std::cout << "removed snapshot " << name << '\n'; }};
}

/// Removes the set with its snapshots, or one snapshot. Only a set is removed, damaged or not; a set in use
/// is not.
Outcome Remove(const Session& session, const SnapshotOptions& options) {
    const fs::path path = session.SetPath();
    if (!kuraset::SetDirectory::LiesAt(path)) {
        throw VerbError(ExitCode::kNoSuchItem, path.string() + ": no set here");
    }
    if (!options.name.empty()) {
        return RemoveSnapshot(path, options.name);
    }
    {
        const kuraset::SetUse use(path);
        fs::remove_all(path);
    }
    fs::remove_all(SnapshotFolder(path));
    const Json document = {{"set", path.string()}};
    return {document, [path] { std::cout << "removed " << path.string() << " and its snapshots\n"; }};
}

}  // namespace

std::vector<std::string> SnapshotNames(const fs::path& set) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(SnapshotFolder(set), error)) {
        if (entry.path().filename().string().front() != '.') {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<fs::path> SetsBeside(const fs::path& set) {
    std::vector<fs::path> sets;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(set.parent_path(), error)) {
        if (kuraset::SetDirectory::LiesAt(entry.path())) {
            sets.push_back(entry.path());
        }
    }
    std::sort(sets.begin(), sets.end());
    return sets;
}

void AddSnapshotVerbs(CLI::App& set, const Session& session, Selection& selection) {
    auto options = std::make_shared<SnapshotOptions>();
    const auto add = [&](const char* name, const char* help,
                         Outcome (*run)(const Session&, const SnapshotOptions&)) {
        CLI::App* verb = set.add_subcommand(name, help);
        Declare(verb, selection, Place::kOutside,
                [&session, options, run] { return run(session, *options); });
        return verb;
    };
    const auto addNamed = [&](const char* name, const char* help,
                              Outcome (*run)(const Session&, const SnapshotOptions&)) {
        CLI::App* verb = add(name, help, run);
        verb->add_option("name", options->name, "Name of the snapshot")->type_name("SNAPSHOT")->required();
        return verb;
    };
    addNamed("snapshot", "Keep the set as it is, to compare or come back", &TakeSnapshot)
        ->add_flag("--force", options->force, "Replace the snapshot of that name");
    addNamed("restore", "Make the set as it was in a snapshot", &Restore);
    addNamed("diff", "What has changed since a snapshot", &Differ)
        ->add_flag("--exit-code", options->exitCode, "Exit with 2 when something has changed");
    CLI::App* list = set.add_subcommand("list", "The sets in the folder of this one, and their snapshots");
    PrintsTable(list, kSetListColumns);
    Declare(list, selection, Place::kOutside, [&session] { return ListSets(session); });
    add("remove", "Remove the set and its snapshots", &Remove)
        ->add_option("--snapshot", options->name, "Only this snapshot")
        ->type_name("SNAPSHOT");
}

}  // namespace cli
