// The set on which this process runs, as the platform functions see it: the description, the settings, the
// journal and the steps at which power may be cut. Nothing here throws: a missing or damaged set answers as
// if it held nothing, and complains once on standard error.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <sys/stat.h>

#include "set/Journal.h"
#include "set/KuraSet.h"

namespace kuraset {

/// Copies a text; null becomes an empty text.
inline std::string TextOrEmpty(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

/// What most services answer when they refuse or cannot do what was asked.
constexpr int kFailed = -1;

class CurrentSet {
public:
    /// Created on the first call, never destroyed: the engine's thread uses it while the process exits.
    static CurrentSet& Get();

    /// Null when the environment names no directory.
    const SetDirectory* Directory() const { return m_directory ? &*m_directory : nullptr; }

    /// set.json, which is read again whenever the file has changed. Never null; empty when it cannot be used.
    std::shared_ptr<const json> Description() noexcept;

    /// The value at a place like "/faults/logger", or the fallback.
    template <typename Value>
    Value Read(const char* place, Value fallback) noexcept {
        try {
            return Description()->value(json::json_pointer(place), fallback);
        } catch (...) {
            return fallback;
        }
    }
    int Number(const char* place, int fallback) noexcept;
    bool Contains(const char* place) noexcept;
    /// Whether the list at the place holds the text or "*".
    bool Lists(const char* place, const std::string& text) noexcept;

    /// None when the key holds nothing or the settings cannot be read.
    std::optional<json> Setting(const std::string& key) noexcept;
    bool PutSetting(const std::string& key, const json& value) noexcept;

    /// Journals the entry. Then cuts the power (SIGKILL) when the set's "kill_at" names this step.
    void NoteAndMaybeDie(const std::string& step, const Entry& entry, bool escape = false) noexcept;

private:
    struct Snapshot {
        struct stat status {};
        std::shared_ptr<const json> content;
    };

    CurrentSet();
    std::shared_ptr<const json> Refresh(Snapshot& snapshot, const std::filesystem::path& path,
                                        json (CurrentSet::*load)() const);
    json LoadDescription() const;
    json LoadSettings() const;
    void Complain(const std::string& text);
    void CutPowerAt(const std::string& step);

    std::optional<SetDirectory> m_directory;
    std::unique_ptr<JournalWriter> m_journal;

    std::mutex m_mutex;  // guards the members below
    Snapshot m_description;
    Snapshot m_settings;
    std::string m_lastComplaint;
    std::map<std::string, int> m_stepsSeen;
};

}  // namespace kuraset
