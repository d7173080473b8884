#include "ReportFolder.h"

#include <sqlite3.h>
#include <sys/utsname.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>
#include <vector>

#include "CleanStore.h"
#include "explain/SetCopy.h"
#include "scenario/Record.h"
#include "support/Files.h"
#include "support/TextAt.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestText = 4 << 20;
constexpr const char* kStoreMark = "SQLite format 3";

/// Verbs that run a program of the user's, or others in turn.
constexpr const char* kNotForScenarios[] = {"run", "serve", "record", "replay"};

bool IsStore(const fs::path& file) {
    std::ifstream input(file, std::ios::binary);
    std::string start(std::string(kStoreMark).size(), '\0');
    return input.read(start.data(), static_cast<std::streamsize>(start.size())) && start == kStoreMark;
}

/// Whether the file belongs to a store beside it: its journal, its write-ahead log.
bool IsOfStore(const fs::path& file) {
    const std::string name = file.string();
    for (const std::string end : {"-journal", "-wal", "-shm"}) {
        if (name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0) {
            return IsStore(name.substr(0, name.size() - end.size()));
        }
    }
    return false;
}

std::optional<std::string> ReadText(const fs::path& file) {
    if (fs::file_size(file) > kLargestText) {
        return std::nullopt;
    }
    auto text = support::ReadFile(file);
    if (!text || text->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    try {
        Json(*text).dump();  // throws for what is not UTF-8
    } catch (const Json::exception&) {
        return std::nullopt;
    }
    return text;
}

std::string Dumped(const Json& document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

void Write(const fs::path& file, const std::string& text) {
    std::ofstream output(file, std::ios::binary | std::ios::trunc);
    output << text;
    if (!output.flush()) {
        throw VerbError(ExitCode::kFailed, file.string() + ": cannot be written");
    }
}

class Packing {
public:
    Packing(const kuraset::SetDirectory& set, const fs::path& folder, PrivateValues& values)
        : m_set(set), m_folder(folder), m_values(values) {}

    Json Pack() {
        for (auto entry = fs::recursive_directory_iterator(m_set.Path());
             entry != fs::recursive_directory_iterator(); ++entry) {
            PackEntry(*entry);
        }
        PackJournal();
        PackScenario();
        DropWhatStillTells();
        Json document = {{kReportKey, kReportFormat}, {"versions", Versions()}, {"content", Content()}};
        document["taken_out"] = m_values.TakenOut();
        document["left_out"] = m_leftOut;
        Write(m_folder / "report.json", Dumped(document, 2));
        return document;
    }

private:
    void LeaveOut(const std::string& name, const std::string& why) {
        m_leftOut.push_back({{"name", m_values.Clean(name)}, {"why", m_values.Clean(why)}});
    }

    void PackEntry(const fs::directory_entry& entry) {
        const std::string below = entry.path().lexically_relative(m_set.Path()).string();
        const fs::path to = m_folder / "set" / m_values.Clean(below);
        if (entry.is_symlink()) {
            LeaveOut("set/" + below, "a link");
        } else if (entry.is_directory()) {
            fs::create_directories(to);
        } else if (entry.is_regular_file() && below != "journal.jsonl" && below.front() != '.' &&
                   !IsOfStore(entry.path())) {
            fs::create_directories(to.parent_path());
            PackFile(entry.path(), to, "set/" + below);
        }
    }

    void PackFile(const fs::path& from, const fs::path& to, const std::string& name) {
        if (IsStore(from)) {
            PackStore(from, to, name);
            return;
        }
        const auto text = ReadText(from);
        if (!text) {
            PackEmpty(from, to);
            return;
        }
        const Json document = from.extension() == ".json" ? Json::parse(*text, nullptr, false) : Json();
        Write(to, document.is_structured() ? Dumped(m_values.Clean(document), 4) : m_values.Clean(*text));
    }

    /// A file that holds no text: its size alone tells something of the set.
    void PackEmpty(const fs::path& from, const fs::path& to) {
        Write(to, "");
        fs::resize_file(to, fs::file_size(from));
        ++m_emptied;
        m_hollow.push_back(to);
    }

    void PackStore(const fs::path& from, const fs::path& to, const std::string& name) {
        try {
            for (const char* end : {"", "-journal", "-wal"}) {
                if (fs::exists(from.string() + end)) {
                    fs::copy_file(from.string() + end, to.string() + end);
                }
            }
            CleanStore(to, m_values);
        } catch (const std::runtime_error& error) {
            for (const char* end : {"", "-journal", "-wal", "-shm"}) {
                fs::remove(to.string() + end);
            }
            LeaveOut(name, std::string("it cannot be read: ") + error.what());
        }
    }

    /// A line of the journal that is torn is left out.
    void PackJournal() {
        std::istringstream lines(support::ReadFile(m_set.JournalPath()).value_or(""));
        std::string journal;
        std::string log;
        int torn = 0;
        for (std::string line; std::getline(lines, line);) {
            Json entry = Json::parse(line, nullptr, false);
            if (!entry.is_object()) {
                ++torn;
                continue;
            }
            ShortenCut(entry);
            entry = m_values.Clean(entry);
            journal += Dumped(entry, -1);
            const std::string kind = support::TextAt(entry, "kind");
            if (kind == "run") {
                log.clear();
                m_lastRun = entry.value("command", Json::array());
            } else if (kind == "log") {
                log += LogLine(entry);
            }
        }
        if (torn != 0) {
            LeaveOut("set/journal.jsonl", std::to_string(torn) + " torn lines of it");
        }
        Write(m_folder / "set" / "journal.jsonl", journal);
        Write(m_folder / "log.txt", log);
    }

    /// A message that was cut may end within a private value.
    void ShortenCut(Json& entry) const {
        if (entry.contains("cut") && entry.contains("message") && entry["message"].is_string()) {
            const std::string message = entry["message"];
            entry["message"] =
                message.substr(0, message.size() - std::min(message.size(), m_values.Longest()));
        }
    }

    static std::string LogLine(const Json& entry) {
        const std::string function = support::TextAt(entry, "function");
        const auto priority = entry.find("priority");
        return support::TextAt(entry, "time") + ' ' +
               (priority == entry.end() ? "" : Dumped(*priority, -1).substr(0, 1)) + ' ' +
               support::TextAt(entry, "tag") + ' ' + support::TextAt(entry, "file") + ": " + function +
               " > " + support::TextAt(entry, "message") + '\n';
    }

    /// The verb of the last run with its arguments; empty when there is none.
    std::vector<std::string> LastVerb() const {
        std::vector<std::string> verb;
        for (std::size_t i = 0; i < m_lastRun.size(); ++i) {
            const std::string word = m_lastRun[i].is_string() ? m_lastRun[i].get<std::string>() : "";
            if (word == "--set") {
                ++i;
            } else if (word != "--json" && word.rfind("--set=", 0) != 0) {
                verb.push_back(word);
            }
        }
        return verb;
    }

    /// Runs the verb of the last run once more, on a copy of what goes into the report.
    void PackScenario() {
        const std::vector<std::string> verb = LastVerb();
        if (verb.empty()) {
            LeaveOut("scenario.json", "the journal has no run");
            return;
        }
        const auto isThere = [&verb](const char* word) {
            return std::find(verb.begin(), verb.end(), word) != verb.end();
        };
        if (std::any_of(std::begin(kNotForScenarios), std::end(kNotForScenarios), isThere)) {
            LeaveOut("scenario.json", "the last run was that of a program, a server or other scenarios");
            return;
        }
        try {
            const scenario::TemporaryFolder place;
            CopySet(m_folder / "set", place.Path() / "set");
            const auto copy = kuraset::SetDirectory::Open(place.Path() / "set");
            copy.ClearJournal();
            const auto recording = scenario::Record(copy, {verb}, fs::read_symlink("/proc/self/exe"));
            Write(m_folder / "scenario.json", scenario::ScenarioText(m_values.Clean(recording.document)));
        } catch (const std::exception& error) {
            LeaveOut("scenario.json", error.what());
        }
    }

    std::vector<fs::path> Files() const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
            const bool isHollow = std::find(m_hollow.begin(), m_hollow.end(), entry.path()) != m_hollow.end();
            if (entry.is_regular_file() && !isHollow) {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    /// A private value may stand where none is looked for, for example in the name of a table.
    void DropWhatStillTells() {
        for (const fs::path& file : Files()) {
            if (m_values.StandIn(support::ReadFile(file).value_or(""))) {
                fs::remove(file);
                LeaveOut(file.lexically_relative(m_folder).string(),
                         "it holds a private value in a place where it cannot be replaced");
            }
        }
    }

    Json Content() const {
        Json content = Json::array();
        for (const fs::path& file : Files()) {
            content.push_back(
                {{"name", file.lexically_relative(m_folder).string()}, {"bytes", fs::file_size(file)}});
        }
        content.push_back({{"name", "set/: files without text, by name and size only"},
                           {"bytes", 0},
                           {"files", m_emptied}});
        return content;
    }

    static Json Versions() {
        std::istringstream release(support::ReadFile("/etc/os-release").value_or(""));
        std::string system = "unknown";
        const std::string key = "PRETTY_NAME=";
        for (std::string line; std::getline(release, line);) {
            if (line.rfind(key, 0) == 0) {
                system = line.substr(key.size());
            }
        }
        system.erase(std::remove(system.begin(), system.end(), '"'), system.end());
        utsname names{};
        uname(&names);
        return {{"kura", KURA_VERSION},
                {"library", KURA_VERSION},
                {"system", system},
                {"kernel", std::string(names.release) + ' ' + names.machine},
                {"sqlite", sqlite3_libversion()}};
    }

    const kuraset::SetDirectory& m_set;
    const fs::path m_folder;
    PrivateValues& m_values;
    Json m_leftOut = Json::array();
    Json m_lastRun = Json::array();
    std::vector<fs::path> m_hollow;
    int m_emptied = 0;
};

}  // namespace

Json LayOutReport(const kuraset::SetDirectory& set, const fs::path& folder, PrivateValues& values) {
    return Packing(set, folder, values).Pack();
}

}  // namespace cli
