#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ReplaceFolder.h"
#include "SnapshotVerbs.h"
#include "Verbs.h"
#include "frame/MakeSet.h"
#include "frame/TableVerbs.h"
#include "scenario/Scenario.h"
#include "scenario/StartSet.h"
#include "set/SetUse.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

const Table::Columns kSetColumns = {{"WHAT"}, {"VALUE"}};

Json SetDocument(const kuraset::SetDirectory& set) {
    return {{"set", set.Path().string()},
            {"description", ToDocument(set.Description())},
            {"image_type", set.ImageType()},
            {"settings", set.ListSettings().size()},
            {"inferences", set.ListInferences().size()},
            {"solutions", set.ListSolutions().size()}};
}

void PrintSet(const Json& document) {
    Table table(kSetColumns);
    table.AddRow({"set", document.at("set")});
    for (const auto& [key, value] : document.at("description").items()) {
        if (value.is_array()) {
            table.AddRow({key, std::to_string(value.size()) + " entries"});
        } else if (value.is_object()) {
            for (const auto& [inner, innerValue] : value.items()) {
                table.AddRow({std::string(key).append(".").append(inner), Shown(innerValue)});
            }
        } else {
            table.AddRow({key, Shown(value)});
        }
    }
    for (const char* key : {"settings", "inferences", "solutions"}) {
        table.AddRow({key, document.at(key).dump()});
    }
    table.Print();
}

struct NewOptions {
    std::string from;
    std::string scenario;
    bool force = false;
};

/// Whether a set lies at path, which may be replaced. Anything else there is left alone.
bool HoldsSet(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error) || fs::is_empty(path, error)) {
        return false;
    }
    if (kuraset::SetDirectory::LiesAt(path)) {
        return true;
    }
    try {
        kuraset::SetDirectory::Open(path);
    } catch (const kuraset::SetError&) {
        throw VerbError(ExitCode::kFailed, path.string() + ": this is no set, so it is not replaced");
    }
    return true;
}

/// Makes the new set as a whole before the old one goes.
kuraset::SetDirectory MakeAnew(const fs::path& path, const std::function<void(const fs::path&)>& make) {
    std::optional<kuraset::SetUse> use;
    ReplaceFolder(path, [&](const fs::path& fresh) {
        make(fresh);
        use.emplace(path);  // not before: the new set takes nothing from the old one
    });
    return kuraset::SetDirectory::Open(path);
}

kuraset::SetDirectory MakeStartOf(const fs::path& file, const fs::path& path) {
    const auto scenario = scenario::ReadScenario(file);
    const auto set = MakeSet(path, scenario.base.empty() ? ExamplesFolder() : scenario.base);
    scenario::Apply(scenario.start, set);
    return set;
}

Outcome NewSet(const Session& session, const NewOptions& options) {
    const fs::path path = session.SetPath();
    if (!options.scenario.empty()) {
        scenario::ReadScenario(options.scenario);  // refused before anything is made
    }
    const auto make = [&options](const fs::path& place) {
        if (!options.scenario.empty()) {
            return MakeStartOf(options.scenario, place);
        }
        return MakeSet(place, options.from.empty() ? ExamplesFolder() : fs::path(options.from));
    };
    const bool isDefault = session.setOption.empty() && !fs::exists(path);
    const auto set = options.force && HoldsSet(path) ? MakeAnew(path, make)
                     : isDefault                     ? MakeDefaultSet(path, make, path)
                                                     : make(path);
    const Json document = SetDocument(set);
    return {document, [document] {
                std::cout << "Made a set at " << document.at("set").get<std::string>() << ": "
                          << document.at("inferences") << " inference records, " << document.at("solutions")
                          << " solution records, " << document.at("settings") << " settings keys\n";
            }};
}

Outcome ShowSet(const Session& session) {
    const Json document = SetDocument(session.OpenSet());
    return {document, [document] { PrintSet(document); }};
}

/// Creates the folders, files and icons of applications that were added to set.json.
Outcome LayOut(const Session& session) {
    const auto set = session.OpenSet();
    set.LayOutApps();
    return {SetDocument(set), [] { std::cout << "laid out the applications of the set\n"; }};
}

/// Splits a path into set.json into steps: "faults.agent", "apps.2.skip", "features.a/b\\.c". A backslash
/// makes the character behind it an ordinary one.
std::vector<std::string> StepsOf(const std::string& key) {
    std::vector<std::string> steps(1);
    for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] == '\\' && i + 1 < key.size()) {
            steps.back() += key[++i];
        } else if (key[i] == '.') {
            steps.emplace_back();
        } else {
            steps.back() += key[i];
        }
    }
    for (const std::string& step : steps) {
        if (step.empty()) {
            throw VerbError(ExitCode::kUsage, "not a path into set.json: \"" + key + "\"");
        }
    }
    return steps;
}

/// The index in a list that a step names; the length of the list stands for a new element.
std::size_t IndexIn(const nlohmann::json& list, const std::string& step, const std::string& key) {
    const bool digits = step.size() < 9 && step.find_first_not_of("0123456789") == std::string::npos;
    const std::size_t index = digits ? std::stoul(step) : list.size() + 1;
    if (index > list.size()) {
        throw VerbError(ExitCode::kUsage,
                        key + ": \"" + step + "\" is no element of a list of " + std::to_string(list.size()));
    }
    return index;
}

/// Puts a value at its place. Null removes the value there, and every object on the way that is then empty.
void PutAt(nlohmann::json& description, const std::vector<std::string>& steps, const nlohmann::json& value,
           const std::string& key) {
    std::vector<nlohmann::json*> way = {&description};
    for (const std::string& step : steps) {
        nlohmann::json& at = *way.back();
        if (at.is_array()) {
            const std::size_t index = IndexIn(at, step, key);
            if (index == at.size() && value.is_null()) {
                return;
            }
            if (index == at.size()) {
                at.push_back(nullptr);
            }
            way.push_back(&at[index]);
            continue;
        }
        if (!at.is_object()) {
            at = nlohmann::json::object();  // for "faults.agent.mode" when faults.agent was a text
        }
        way.push_back(&at[step]);
    }
    *way.back() = value;
    for (std::size_t i = steps.size(); i > 0 && way[i]->empty(); --i) {
        nlohmann::json& around = *way[i - 1];
        if (around.is_object() && (value.is_null() && !way[i]->is_array())) {
            around.erase(steps[i - 1]);
        } else if (around.is_array() && way[i]->is_null()) {
            around.erase(IndexIn(around, steps[i - 1], key));
            return;
        } else {
            return;
        }
    }
}

struct PutOptions {
    std::string key;
    std::string value;
};

Outcome Put(const Session& session, const PutOptions& options) {
    const auto set = session.OpenSet();
    nlohmann::json value = nlohmann::json::parse(options.value, nullptr, false);
    if (value.is_discarded()) {
        value = options.value;
    }
    nlohmann::json description = set.Description();
    const auto steps = StepsOf(options.key);
    PutAt(description, steps, value, options.key);
    set.Describe(description);
    if (steps.front() == "apps") {
        set.LayOutApps();
    }
    const Json document = {{"key", options.key}, {"value", ToDocument(value)}};
    return {document, [document] {
                std::cout << document.at("key").get<std::string>()
                          << (document.at("value").is_null() ? std::string(" removed")
                                                             : " = " + Shown(document.at("value")))
                          << '\n';
            }};
}

}  // namespace

void AddSetVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb = app.add_subcommand("set", "The simulated set itself");
    verb->require_subcommand(1);

    CLI::App* make = verb->add_subcommand("new", "Make a set from the examples");
    auto options = std::make_shared<NewOptions>();
    make->add_option("--from", options->from, "A folder laid out as the examples are")
        ->check(CLI::ExistingDirectory);
    make->add_option("--scenario", options->scenario, "As it is before the first step of this scenario")
        ->type_name("FILE")
        ->excludes("--from");
    make->add_flag("--force", options->force, "Replace the set that is there");
    Declare(make, selection, Place::kOutside, [&session, options] { return NewSet(session, *options); });

    Declare(verb->add_subcommand("lay-out", "Make the files of the applications that set.json names"),
            selection, Place::kOutside, [&session] { return LayOut(session); });

    CLI::App* put = verb->add_subcommand("put", "Change what set.json says");
    auto putOptions = std::make_shared<PutOptions>();
    put->add_option("key", putOptions->key,
                    "Path into set.json: faults.agent, apps.2.skip; a backslash before a dot that belongs to "
                    "a name")
        ->required();
    put->add_option("value", putOptions->value, "JSON, or else a text; null removes")->required();
    Declare(put, selection, Place::kOutside, [&session, putOptions] { return Put(session, *putOptions); });

    AddSnapshotVerbs(*verb, session, selection);
    CLI::App* show = verb->add_subcommand("show", "What the set is");
    PrintsTable(show, kSetColumns);
    Declare(show, selection, Place::kOutside, [&session] { return ShowSet(session); });
}

}  // namespace cli
