#include "SetDifference.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "scenario/Observation.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

constexpr const char* kEngineFolder = "/home/owner/share/Watchman/DB";

/// The members of two objects that differ.
Json Changes(const nlohmann::json& before, const nlohmann::json& after) {
    std::map<std::string, std::pair<Json, Json>> places;
    for (const auto& [place, value] : before.items()) {
        places[place].first = ToDocument(value);
    }
    for (const auto& [place, value] : after.items()) {
        places[place].second = ToDocument(value);
    }
    Json changes = Json::array();
    for (const auto& [place, values] : places) {
        if (values.first != values.second) {
            changes.push_back({{"place", place}, {"before", values.first}, {"after", values.second}});
        }
    }
    return changes;
}

/// Elements of one list that the other has less often, in order.
Json Without(const Json& list, const Json& other) {
    std::vector<Json> rest(other.begin(), other.end());
    Json left = Json::array();
    for (const Json& element : list) {
        const auto same = std::find(rest.begin(), rest.end(), element);
        if (same == rest.end()) {
            left.push_back(element);
        } else {
            rest.erase(same);
        }
    }
    return left;
}

Json AddedAndRemoved(const Json& before, const Json& after) {
    return {{"added", Without(after, before)}, {"removed", Without(before, after)}};
}

/// The codes of the rows kept as unfixed.
Json Unfixed(const kuraset::SetDirectory& set) {
    Json codes = Json::array();
    for (const Json& row :
         scenario::ReadRemaining(set.Path() / "files" / fs::path(scenario::kRemainingPath).relative_path())) {
        codes.push_back(row.value("issue_code", Json()));
    }
    return codes;
}

using Files = std::map<std::string, fs::path>;

Files FilesOf(const kuraset::SetDirectory& set) {
    Files files;
    const fs::path top = set.Path() / "files";
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        const std::string path = "/" + entry.path().lexically_relative(top).string();
        const bool isTold =  // as records and rows
            path.rfind(kEngineFolder, 0) == 0 || path.rfind(scenario::kRemainingPath, 0) == 0;
        if (!isTold && !fs::is_directory(entry.symlink_status())) {
            files[path] = entry.path();
        }
    }
    return files;
}

/// A copy keeps the times of its files, so that most need no reading.
bool AreEqual(const fs::path& a, const fs::path& b) {
    if (fs::is_symlink(a) || fs::is_symlink(b)) {
        return fs::is_symlink(a) && fs::is_symlink(b) && fs::read_symlink(a) == fs::read_symlink(b);
    }
    if (fs::file_size(a) != fs::file_size(b)) {
        return false;
    }
    if (fs::last_write_time(a) == fs::last_write_time(b)) {
        return true;
    }
    std::ifstream left(a, std::ios::binary);
    std::ifstream right(b, std::ios::binary);
    return std::equal(std::istreambuf_iterator<char>(left), std::istreambuf_iterator<char>(),
                      std::istreambuf_iterator<char>(right), std::istreambuf_iterator<char>());
}

Json FileChanges(const Files& before, const Files& after) {
    std::map<std::string, const char*> changes;
    for (const auto& [path, file] : before) {
        const auto now = after.find(path);
        if (now == after.end()) {
            changes[path] = "removed";
        } else if (!AreEqual(file, now->second)) {
            changes[path] = "changed";
        }
    }
    for (const auto& [path, file] : after) {
        if (before.count(path) == 0) {
            changes[path] = "added";
        }
    }
    Json list = Json::array();
    for (const auto& [path, change] : changes) {
        list.push_back({{"path", path}, {"change", change}});
    }
    return list;
}

void PrintChanges(const Json& changes, const char* what) {
    for (const Json& change : changes) {
        std::cout << "~ " << what << ' ' << change.at("place").get<std::string>() << ": "
                  << Shown(change.at("before")) << " -> " << Shown(change.at("after")) << '\n';
    }
}

void PrintLists(const Json& lists, const char* what) {
    for (const auto& [name, mark] : {std::pair{"removed", "- "}, std::pair{"added", "+ "}}) {
        for (const Json& element : lists.at(name)) {
            std::cout << mark << what << ' ' << (element.is_object() ? ShownMembers(element) : Shown(element))
                      << '\n';
        }
    }
}

}  // namespace

Json DifferenceOf(const kuraset::SetDirectory& before, const kuraset::SetDirectory& after) {
    Json document = {
        {"differ", false},
        {"description", Changes(before.Description().flatten(), after.Description().flatten())},
        {"settings", Changes(before.ListSettings(), after.ListSettings())},
        {"unfixed", AddedAndRemoved(Unfixed(before), Unfixed(after))},
        {"inferences", AddedAndRemoved(before.ListInferences(), after.ListInferences())},
        {"solutions", AddedAndRemoved(before.ListSolutions(), after.ListSolutions())},
        {"files", FileChanges(FilesOf(before), FilesOf(after))},
    };
    bool differ = false;
    for (const auto& [name, part] : document.items()) {
        const bool isEmpty =
            part.is_object() ? part.at("added").empty() && part.at("removed").empty() : part.empty();
        differ = differ || (name != "differ" && !isEmpty);
    }
    document["differ"] = differ;
    return document;
}

void PrintDifferenceOf(const Json& document) {
    if (!document.at("differ").get<bool>()) {
        std::cout << "Nothing has changed.\n";
        return;
    }
    PrintChanges(document.at("description"), "set.json");
    PrintChanges(document.at("settings"), "setting");
    PrintLists(document.at("unfixed"), "unfixed issue");
    PrintLists(document.at("inferences"), "inference record");
    PrintLists(document.at("solutions"), "solution record");
    for (const Json& file : document.at("files")) {
        const std::string change = file.at("change").get<std::string>();
        std::cout << (change == "added"     ? "+ "
                      : change == "removed" ? "- "
                                            : "~ ")
                  << file.at("path").get<std::string>() << '\n';
    }
}

}  // namespace cli
