#include "CurrentSet.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "set/FileAccess.h"

namespace kuraset {

namespace {

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// The step at which to cut the power: "function:detail"; '*' stands for any rest, "#3" for the third time.
struct Cut {
    std::string pattern;
    int time = 1;

    explicit Cut(const std::string& text) : pattern(text) {
        const std::size_t mark = text.rfind('#');
        if (mark == std::string::npos || mark + 1 == text.size() ||
            text.find_first_not_of("0123456789", mark + 1) != std::string::npos) {
            return;
        }
        time = std::atoi(text.c_str() + mark + 1);
        pattern.erase(mark);
    }

    bool Matches(const std::string& step) const {
        if (!pattern.empty() && pattern.back() == '*') {
            return step.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
        }
        return step == pattern;
    }
};

}  // namespace

CurrentSet& CurrentSet::Get() {
    static CurrentSet* const set = [] {
        const int savedErrno = errno;
        auto* const made = new CurrentSet;
        errno = savedErrno;
        return made;
    }();
    return *set;
}

CurrentSet::CurrentSet() {
    m_description.content = m_settings.content = std::make_shared<const json>(json::object());
    const char* path = std::getenv(kSetDirectoryVariable);
    if (path == nullptr || *path == '\0') {
        Complain(std::string(kSetDirectoryVariable) +
                 " names no set; \"kura run PROGRAM\" starts a host on one");
        return;
    }
    try {
        m_journal = std::make_unique<JournalWriter>(std::filesystem::path(path) / "journal.jsonl");
        m_directory = SetDirectory::Open(path);
    } catch (const std::exception& error) {
        Complain(error.what());
    }
}

void CurrentSet::Complain(const std::string& text) {
    if (text != m_lastComplaint) {
        m_lastComplaint = text;
        std::fprintf(stderr, "simulated set: %s\n", text.c_str());
    }
}

json CurrentSet::LoadDescription() const {
    json description = m_directory->Description();
    CheckDescription(description);
    return description;
}

json CurrentSet::LoadSettings() const {
    return m_directory->ListSettings();
}

std::shared_ptr<const json> CurrentSet::Refresh(Snapshot& snapshot, const std::filesystem::path& path,
                                                json (CurrentSet::*load)() const) {
    struct stat now {};
    if (stat(path.c_str(), &now) != 0) {
        now = {};
    }
    if (!SameFile(now, snapshot.status) || now.st_ino == 0) {
        // The status is noted before the read, so that the next call sees a change during the read.
        snapshot.status = now;
        snapshot.content = std::make_shared<const json>((this->*load)());
    }
    return snapshot.content;
}

std::shared_ptr<const json> CurrentSet::Description() noexcept {
    const int savedErrno = errno;
    const std::lock_guard<std::mutex> lock(m_mutex);
    try {
        if (m_directory) {
            Refresh(m_description, m_directory->DescriptionPath(), &CurrentSet::LoadDescription);
        }
    } catch (const std::exception& error) {
        Complain(error.what());
    }
    errno = savedErrno;
    return m_description.content;
}

int CurrentSet::Number(const char* place, int fallback) noexcept {
    return Read<int>(place, fallback);
}

bool CurrentSet::Contains(const char* place) noexcept {
    try {
        return Description()->contains(json::json_pointer(place));
    } catch (...) {
        return false;
    }
}

bool CurrentSet::Lists(const char* place, const std::string& text) noexcept {
    try {
        const std::shared_ptr<const json> description = Description();
        const json::json_pointer at(place);
        if (!description->contains(at)) {
            return false;
        }
        for (const json& item : description->at(at)) {
            if (item == text || item == "*") {
                return true;
            }
        }
    } catch (...) {
        return false;
    }
    return false;
}

std::optional<json> CurrentSet::Setting(const std::string& key) noexcept {
    const std::lock_guard<std::mutex> lock(m_mutex);
    try {
        if (!m_directory) {
            return std::nullopt;
        }
        const auto settings = Refresh(m_settings, m_directory->SettingsPath(), &CurrentSet::LoadSettings);
        const auto found = settings->find(key);
        return found == settings->end() ? std::nullopt : std::optional<json>(*found);
    } catch (const std::exception& error) {
        // Forget the settings that were read before: a damaged file answers for no key.
        m_settings.status = {};
        Complain(error.what());
        return std::nullopt;
    }
}

bool CurrentSet::PutSetting(const std::string& key, const json& value) noexcept {
    try {
        if (m_directory) {
            m_directory->SetSetting(key, value);
            return true;
        }
    } catch (const std::exception& error) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Complain(error.what());
    }
    return false;
}

void CurrentSet::NoteAndMaybeDie(const std::string& step, const Entry& entry, bool escape) noexcept {
    const int savedErrno = errno;
    if (m_journal) {
        m_journal->Append(entry, escape);
    }
    try {
        CutPowerAt(step);
    } catch (...) {
        // Out of memory: the step is journalled and the power stays on.
    }
    errno = savedErrno;
}

void CurrentSet::CutPowerAt(const std::string& step) {
    const std::string named = Read<std::string>("/faults/kill_at", {});
    if (named.empty()) {
        return;
    }
    const Cut cut(named);
    if (!cut.Matches(step)) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (++m_stepsSeen[named] >= cut.time) {
        kill(getpid(), SIGKILL);
    }
}

}  // namespace kuraset
