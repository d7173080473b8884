#include "Observation.h"

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

#include "Patterns.h"
#include "StartSet.h"
#include "support/Files.h"
#include "support/TextAt.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLongestText = std::uintmax_t{1} << 20;

struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

Json TextOrNull(const unsigned char* text) {
    return text == nullptr ? Json() : Json(reinterpret_cast<const char*>(text));
}

Json LookAtFile(const std::optional<fs::path>& path) {
    std::error_code error;
    const fs::file_status status = path ? fs::symlink_status(*path, error) : fs::file_status();
    if (!path || !fs::exists(status)) {
        return nullptr;
    }
    if (fs::is_symlink(status)) {
        return {{"type", "link"}, {"text", fs::read_symlink(*path, error).string()}};
    }
    if (!fs::is_regular_file(status)) {
        return {{"type", fs::is_directory(status) ? "folder" : "special"}};
    }
    const std::uintmax_t size = fs::file_size(*path, error);
    Json file = {{"type", "file"}, {"size", size}};
    if (size <= kLongestText) {
        file["text"] = support::ReadFile(*path).value_or("");
    }
    return file;
}

/// The member that a short form stands for. The one of a screen joins two: "storage opened".
struct ShortName {
    const char* expectation;
    const char* member;
};
constexpr ShortName kShortNames[] = {
    {"rows", "issue_code"}, {"remaining", "issue_code"}, {"written", "key"},    {"launches", "app"},
    {"requests", "op"},     {"events", "name"},          {"recorded", "issue"}, {"log", "message"},
    {"no_log", "message"},  {"screens", "what"},
};

/// Adds "what" to a screen's entry: the screen and the event in one text.
Json WithWhat(Json entry) {
    entry["what"] = support::TextAt(entry, "screen") + " " + support::TextAt(entry, "event");
    return entry;
}

bool IsWrite(const Json& entry) {
    const std::string operation = support::TextAt(entry, "op");
    return operation.rfind("set_", 0) == 0 || operation == "SetItemValue";
}

Json OfKind(const Json& journal, const std::string& kind) {
    Json entries = Json::array();
    for (const Json& entry : journal) {
        if (support::TextAt(entry, "kind") == kind) {
            entries.push_back(entry);
        }
    }
    return entries;
}

struct JournalList {
    const char* expectation;
    const char* kind;
    bool (*wanted)(const Json& entry);  ///< null for every entry of the kind
};
constexpr JournalList kJournalLists[] = {
    {"screens", "screen", nullptr},
    {"written", "setting", &IsWrite},
    {"launches", "launch", nullptr},
    {"requests", "agent", nullptr},
    {"events", "event", nullptr},
    {"recorded", "engine", [](const Json& entry) { return support::TextAt(entry, "op") == "record"; }},
    {"log", "log", nullptr},
    {"no_log", "log", nullptr},
};

Json FromJournal(const Json& journal, const JournalList& list) {
    Json entries = Json::array();
    for (const Json& entry : OfKind(journal, list.kind)) {
        if (list.wanted == nullptr || list.wanted(entry)) {
            entries.push_back(list.expectation == std::string("screens") ? WithWhat(entry) : entry);
        }
    }
    return entries;
}

}  // namespace

Json ReadRemaining(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error)) {
        return Json::array();
    }
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, Closer> database(opened);
    sqlite3_stmt* prepared = nullptr;
    if (result != SQLITE_OK ||
        sqlite3_prepare_v2(opened, "SELECT count(*) FROM sqlite_master WHERE name='remainingTBL'", -1,
                           &prepared, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    std::unique_ptr<sqlite3_stmt, Closer> statement(prepared);
    if (sqlite3_step(prepared) != SQLITE_ROW) {
        return nullptr;
    }
    Json rows = Json::array();
    if (sqlite3_column_int(prepared, 0) == 0) {
        return rows;
    }
    statement.reset();
    if (sqlite3_prepare_v2(opened, "SELECT * FROM remainingTBL ORDER BY rowid", -1, &prepared, nullptr) !=
        SQLITE_OK) {
        return nullptr;
    }
    statement.reset(prepared);
    int state = sqlite3_step(prepared);
    for (; state == SQLITE_ROW; state = sqlite3_step(prepared)) {
        Json row = Json::object();
        for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
            row[sqlite3_column_name(prepared, i)] = TextOrNull(sqlite3_column_text(prepared, i));
        }
        rows.push_back(row);
    }
    return state == SQLITE_DONE ? rows : Json();
}

Moment Look(const kuraset::SetDirectory& set, std::size_t journalFrom, const Json& expect) {
    Moment moment;
    const auto journal = set.ReadJournal();
    for (std::size_t i = journalFrom; i < journal.size(); ++i) {
        moment.journal.push_back(Json(journal[i]));
    }
    moment.settings = Json(set.ListSettings());
    const auto remaining = InSet(set, kRemainingPath);
    moment.remaining = remaining ? ReadRemaining(*remaining) : Json();
    const Json files = expect.value("files", Json::object());
    for (const auto& [path, unused] : files.items()) {
        static_cast<void>(unused);
        moment.files[path] = LookAtFile(InSet(set, path));
    }
    return moment;
}

Json Happened(const Moment& moment, const std::string& name) {
    for (const JournalList& list : kJournalLists) {
        if (name == list.expectation) {
            return FromJournal(moment.journal, list);
        }
    }
    if (name == "calls") {
        Json calls = Json::object();
        for (const Json& entry : moment.journal) {
            calls[support::TextAt(entry, "kind")].push_back(entry);
        }
        return calls;
    }
    if (name == "exit") {
        return moment.exit ? Json(*moment.exit) : Json();
    }
    if (name == "rows") {
        const auto found = moment.answer.is_object() ? moment.answer.find("problems") : moment.answer.end();
        return found == moment.answer.end() ? Json() : *found;
    }
    if (name == "answer") {
        return moment.answer;
    }
    if (name == "settings") {
        return moment.settings;
    }
    if (name == "files") {
        return moment.files;
    }
    return name == "remaining" ? moment.remaining : Json();
}

Json LongForm(const std::string& name, const Json& element) {
    if (element.is_object() && !IsMatcher(element)) {
        return element;
    }
    if (name == "files" && !element.is_null()) {
        return {{"text", element}};
    }
    for (const ShortName& form : kShortNames) {
        if (name == form.expectation) {
            return {{form.member, element}};
        }
    }
    return element;
}

Json ShortForm(const std::string& name, const Json& element) {
    if (!element.is_object()) {
        return element;
    }
    if (name == "files") {
        return element.value("type", std::string()) == "file" && element.contains("text") ? element.at("text")
                                                                                          : element;
    }
    for (const ShortName& form : kShortNames) {
        if (name == form.expectation && element.contains(form.member)) {
            return element.at(form.member);
        }
    }
    return Steady(element);
}

Json Steady(const Json& entry) {
    Json steady = Json::object();
    for (const auto& [key, value] : entry.items()) {
        if (key != "time" && key != "kind" && key != "user_time" && key != "what") {
            steady[key] = value;
        }
    }
    return steady;
}

}  // namespace scenario
