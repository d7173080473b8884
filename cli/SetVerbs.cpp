#include <filesystem>
#include <iostream>
#include <memory>

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

/// Only a folder that holds a set is ever removed.
void RemoveOldSet(const fs::path& path) {
    if (!fs::exists(path) || fs::is_empty(path)) {
        return;
    }
    kuraset::SetDirectory::Open(path);
    fs::remove_all(path);
}

Outcome NewSet(const Session& session, const NewOptions& options) {
    const fs::path path = session.SetPath();
    if (options.force) {
        RemoveOldSet(path);
    }
    const auto set = MakeSet(path, options.from.empty() ? ExamplesFolder() : fs::path(options.from));
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
