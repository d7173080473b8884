#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>

#include "SetUse.h"
#include "Table.h"
#include "Verbs.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

Json SetDocument(const kuraset::SetDirectory& set) {
    return {{"set", set.Path().string()},
            {"description", ToDocument(set.Description())},
            {"image_type", set.ImageType()},
            {"settings", set.ListSettings().size()},
            {"inferences", set.ListInferences().size()},
            {"solutions", set.ListSolutions().size()}};
}

void PrintSet(const Json& document) {
    Table table({{"WHAT"}, {"VALUE"}});
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
    bool force = false;
};

/// Whether there is a set to replace. Anything else that lies there is left alone.
bool HoldsSet(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error) || fs::is_empty(path, error)) {
        return false;
    }
    if (fs::exists(path / "format.json", error) && fs::exists(path / "files", error)) {
        return true;  // whole, damaged, half made or from another version
    }
    try {
        kuraset::SetDirectory::Open(path);
    } catch (const kuraset::SetError&) {
        throw VerbError(ExitCode::kFailed, path.string() + ": this is no set, so it is not replaced");
    }
    return true;
}

/// The new set is whole before the old one goes.
kuraset::SetDirectory ReplaceSet(const fs::path& path,
                                 const std::function<kuraset::SetDirectory(const fs::path&)>& make) {
    const fs::path place = fs::canonical(path);
    const fs::path fresh = place.string() + ".new-" + std::to_string(getpid());
    const fs::path old = place.string() + ".old-" + std::to_string(getpid());
    try {
        make(fresh);
        const kuraset::SetUse use(place);
        fs::rename(place, old);
        fs::rename(fresh, place);
    } catch (...) {
        fs::remove_all(fresh);
        throw;
    }
    fs::remove_all(old);
    return kuraset::SetDirectory::Open(path);
}

Outcome NewSet(const Session& session, const NewOptions& options) {
    const fs::path path = session.SetPath();
    const auto make = [&options](const fs::path& place) {
        return MakeSet(place, options.from.empty() ? ExamplesFolder() : fs::path(options.from));
    };
    const auto set = options.force && HoldsSet(path) ? ReplaceSet(path, make) : make(path);
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

/// After an edit of set.json: the new applications' folders, files and icons.
Outcome LayOut(const Session& session) {
    const auto set = session.OpenSet();
    set.LayOutApps();
    return {SetDocument(set), [] { std::cout << "laid out the applications of the set\n"; }};
}

}  // namespace

void AddSetVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb = app.add_subcommand("set", "The simulated set itself");
    verb->require_subcommand(1);

    CLI::App* make = verb->add_subcommand("new", "Make a set from the examples");
    auto options = std::make_shared<NewOptions>();
    make->add_option("--from", options->from, "A folder laid out as the examples are")
        ->check(CLI::ExistingDirectory);
    make->add_flag("--force", options->force, "Replace the set that is there");
    make->callback([&session, &selection, options] {
        selection = {Place::kOutside, [&session, options] { return NewSet(session, *options); }};
    });

    verb->add_subcommand("lay-out", "Make the files of the applications that set.json names")
        ->callback([&session, &selection] {
            selection = {Place::kOutside, [&session] { return LayOut(session); }};
        });

    verb->add_subcommand("show", "What the set is")->callback([&session, &selection] {
        selection = {Place::kOutside, [&session] { return ShowSet(session); }};
    });
}

}  // namespace cli
