// Sets up and inspects a simulated set, for its hosts (the kura command, tests): the set's directory, its
// settings, the engine's records and the journal.
//
// Inside the sandbox the directory is bound at kBoundSetDirectory and named by the environment variable
// kSetDirectoryVariable; every function below works the same inside and outside. Several processes may use
// one set: settings are locked and replaced whole, journal lines are appended whole.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace kuraset {

using json = nlohmann::json;

constexpr const char* kSetDirectoryVariable = "KURA_SET_DIR";
constexpr const char* kBoundSetDirectory = "/run/kura-set";
/// Stops the clock of a set whose description names no "clock" at this time, "2026-01-31T23:59:59".
constexpr const char* kClockVariable = "KURA_SET_CLOCK";
constexpr const char* kPackageBusVariable = "KURA_PKGMGR_BUS";

class SetError : public std::runtime_error {
public:
    enum class Kind {
        NotFound,  ///< no set at that path, or no such key
        Damaged,   ///< a file of the set does not say what it must; the message names file and key
        Io,  ///< the system refused: permissions, disk full, a busy database, a service that did not start
    };

    SetError(Kind kind, const std::string& message) : std::runtime_error(message), m_kind(kind) {}
    Kind kind() const { return m_kind; }

private:
    Kind m_kind;
};

/// Checks a description for set.json against schema/set.schema.json. Throws SetError::Damaged with the first
/// difference and its place, for example "set.json: apps[2].skip: must be a whole number of 32 bits".
void CheckDescription(const json& description);

/// One row of the engine's inference table.
struct InferenceRecord {
    int issueCode = 0;
    bool present = false;  ///< the problem appeared (true) or went away (false)
    int solutionCode = 0;
    std::string registerTime;
    std::string lastUpdateTime;
};

/// One row of the engine's solution table.
struct SolutionRecord {
    int issueCode = 0;
    int solutionCode = 0;
    int type = 0;
    bool applied = false;
    std::string registerTime;
};

/// What one process that ran on the set left in the journal.
struct JournalRun {
    int number = 0;  ///< from 1 on in a journal; 0 for entries before its first run
    std::string time;
    std::string command;  ///< the arguments of the kura command, a blank between two
    std::vector<json> entries;
};

/// A record as scenarios and examples/set/engine.json write it.
void to_json(nlohmann::ordered_json& document, const InferenceRecord& record);
void to_json(nlohmann::ordered_json& document, const SolutionRecord& record);

/// Local time as the engine writes it, "2026-01-31T23:59:59". This process's set may have stopped the clock;
/// SetDirectory::TimeNow tells the time of any set.
std::string EngineTimeNow();
bool IsEngineTime(const std::string& text);

/// One set. Copies name the same directory. Every function throws SetError unless it says otherwise.
class SetDirectory {
public:
    /// Makes a new set: the directory (its parents too), set.json, settings.json, files/ with the folders
    /// that a set has from the factory, the engine's databases and the folders and files of the apps
    /// (LayOutApps). Throws Io when the directory exists and is not empty. settings: an object of whole
    /// numbers, booleans and texts. fill adds anything else before the set counts as made. When anything
    /// throws, nothing of the set is left.
    static SetDirectory Create(const std::filesystem::path& path, const json& description,
                               const json& settings = json::object(),
                               const std::function<void(const SetDirectory&)>& fill = {});

    /// Opens a set and checks its format, set.json and settings.json.
    static SetDirectory Open(const std::filesystem::path& path);

    /// The set that the environment names; NotFound when it names none.
    static SetDirectory FromEnvironment();

    /// Whether a set lies there: whole, damaged, half made or from another version. False where the system
    /// refuses to look.
    static bool LiesAt(const std::filesystem::path& path);

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path DescriptionPath() const { return m_path / "set.json"; }
    std::filesystem::path SettingsPath() const { return m_path / "settings.json"; }
    std::filesystem::path JournalPath() const { return m_path / "journal.jsonl"; }
    std::filesystem::path FilesOpt() const { return m_path / "files" / "opt"; }
    std::filesystem::path FilesHome() const { return m_path / "files" / "home"; }
    std::filesystem::path FilesTmp() const { return m_path / "files" / "tmp"; }

    // --- What the set is (the keys: docs/simulated-set.md) ---

    /// set.json without the keys whose value is null. No defaults are added.
    json Description() const;
    /// Checks and replaces set.json. A process that runs on the set sees it from its next call on.
    void Describe(const json& description) const;
    /// The time on the set's clock, as EngineTimeNow writes it: "clock" of set.json, or the machine's time.
    std::string TimeNow() const;
    /// "release", "debug" or "perf".
    std::string ImageType() const;
    /// Writes the file to bind at /proc/vex_chipid_val and returns its path; none when the set has no chip
    /// id.
    std::optional<std::filesystem::path> ChipIdFile() const;
    /// How the sandbox has to make /opt: "", "read-only" or "full".
    std::string OptFault() const;
    /// Creates the missing folders, icons, and files of the given sizes for every app in set.json.
    void LayOutApps() const;

    // --- Settings: whole numbers of 32 bits, booleans, texts ---

    std::optional<json> GetSetting(const std::string& key) const;
    void SetSetting(const std::string& key, const json& value) const;
    json ListSettings() const;
    /// False when there was no such key.
    bool RemoveSetting(const std::string& key) const;

    // --- The engine's records, newest first ---

    /// Appends a row. Empty times mean the set's now; an empty lastUpdateTime means the registerTime.
    void ReportInference(int issueCode, bool present, int solutionCode = 0,
                         const std::string& registerTime = "", const std::string& lastUpdateTime = "") const;
    void ReportSolution(int issueCode, int solutionCode, int type, bool applied,
                        const std::string& registerTime = "") const;
    /// Adds the records of {"inferences": [...], "solutions": [...]}, in this order. A record that lacks its
    /// code or holds a wrong type throws a json exception; the records before it are then added.
    void AddRecords(const nlohmann::ordered_json& records) const;
    std::vector<InferenceRecord> ListInferences() const;
    std::vector<SolutionRecord> ListSolutions() const;
    void ForgetRecords() const;

    // --- The journal: what the library asked of the set ---

    /// Adds "time" in front when the entry has none. False when the line could not be written whole; never
    /// throws.
    bool AppendJournal(const json& entry) const noexcept;
    /// Marks that the entries from here on are those of another run, with the next number. A journal that
    /// cannot be written gets no mark. Never throws.
    void BeginRun(const std::vector<std::string>& command) const noexcept;
    /// All entries in order but the marks of runs (kind "run"), or those of one kind. A line that is not
    /// JSON, for example after a power cut, is returned as {"kind":"damaged","line":n}.
    std::vector<json> ReadJournal(const std::string& kind = "") const;
    /// The same by run: runs that left nothing, too.
    std::vector<JournalRun> ReadRuns() const;
    void ClearJournal() const;

private:
    explicit SetDirectory(std::filesystem::path path);

    std::filesystem::path m_path;
};

/// Waits until every subscription that this process armed has been delivered. True when that happened in
/// time, also when nothing was armed. failure receives the text of the first exception that reached the
/// engine's thread since the last wait, or an empty text; such an exception does not make the result false.
/// Do not call it on the engine's thread.
bool WaitForEngine(std::chrono::milliseconds timeout, std::string& failure);

}  // namespace kuraset
