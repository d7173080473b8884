#include "SetWatch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <string>
#include <system_error>
#include <utility>

#include "support/Descriptor.h"
#include "support/Files.h"
#include "support/TextAt.h"

namespace cli::serve {

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenFileLooks{150};
/// A look at a set with very many files takes its time; this part of the time is spent on looks.
constexpr int kLookShare = 10;
enum class Role { kInput, kTrace, kNone };

Role RoleOf(const fs::path& below) {
    const std::string name = below.filename();
    if (name == "journal.jsonl" || name.rfind("remaining.db", 0) == 0) {
        return Role::kTrace;
    }
    const bool passes = name.front() == '.' || below.native().rfind("files/tmp/", 0) == 0;
    return passes ? Role::kNone : Role::kInput;
}

/// Adds a value so that the order in which a folder lists its files does not matter.
void AddTo(std::uint64_t& sum, const std::string& value) {
    sum += std::hash<std::string>()(value);
}

/// The settings without some of them.
std::string Without(const std::set<std::string>& keys, const std::string& text) {
    Json settings = Json::parse(text, nullptr, false);
    if (!settings.is_object()) {
        return text;
    }
    for (const std::string& key : keys) {
        settings.erase(key);
    }
    return settings.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The inode number and the time of change tell a file that was replaced by one of the same size and time.
std::string StatusText(const fs::path& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return "";
    }
    return path.native() + ' ' + std::to_string(status.st_ino) + ' ' + std::to_string(status.st_size) + ' ' +
           std::to_string(status.st_ctim.tv_sec) + '.' + std::to_string(status.st_ctim.tv_nsec);
}

/// Whether another process runs on the set: it holds the lock on the folder.
bool IsInUse(const fs::path& set) {
    const support::Descriptor folder(open(set.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && flock(folder.Number(), LOCK_SH | LOCK_NB) != 0;
}

}  // namespace

SetWatch::SetWatch(kuraset::SetDirectory set, Screens& screens)
    : m_set(std::move(set)), m_screens(screens), m_journal(m_set.JournalPath()) {
    m_known = LookAtFiles();
    m_last = m_known;
    ReadJournal();
}

SetWatch::Look SetWatch::LookAtFiles() const {
    Look look;
    std::error_code error;
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator entry(m_set.Path(), options, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        if (entry->is_directory(gone) && !entry->is_symlink(gone)) {
            continue;
        }
        const fs::path below = entry->path().lexically_relative(m_set.Path());
        const Role role = RoleOf(below);
        if (below == "settings.json") {
            look.settings = support::ReadFile(entry->path()).value_or("");
        } else if (role != Role::kNone) {
            AddTo(role == Role::kInput ? look.inputs : look.traces, StatusText(entry->path()));
        }
    }
    return look;
}

void SetWatch::Watch(int stop) {
    std::chrono::milliseconds pause = kBetweenFileLooks;
    pollfd ending{stop, POLLIN, 0};
    while (poll(&ending, 1, static_cast<int>(pause.count())) == 0) {
        const auto begun = Clock::now();
        LookAgain();
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begun);
        pause = std::max(kBetweenFileLooks, kLookShare * took);
    }
}

void SetWatch::LookAgain() {
    const std::lock_guard lock(m_mutex);
    std::error_code error;
    // A run of somebody else goes on writing, and a call would have to wait for its end.
    if (m_inCall || !fs::is_regular_file(m_set.DescriptionPath(), error) || IsInUse(m_set.Path())) {
        return;
    }
    const Look now = LookAtFiles();
    const bool quiet = now == m_last;
    m_last = now;
    if (!quiet || now == m_known) {
        return;
    }
    m_known = now;
    m_isRepeat = false;
    m_screens.SetChanged(m_set, ReadJournal().diagnosed);
}

SetWatch::Told SetWatch::ReadJournal() {
    Told told;
    for (auto news = m_journal.Next(); !news.Empty(); news = m_journal.Next()) {
        for (const Json& entry : news.entries) {
            const std::string kind = support::TextAt(entry, "kind");
            if (kind == "setting" && support::TextAt(entry, "op").rfind("set", 0) == 0) {
                told.written.insert(support::TextAt(entry, "key"));
            }
            told.diagnosed =
                told.diagnosed || (kind == "screen" && support::TextAt(entry, "event") == "list" &&
                                   support::TextAt(entry, "screen") == "start");
        }
    }
    return told;
}

void SetWatch::CallBegins() {
    const std::lock_guard lock(m_mutex);
    m_inCall = true;
    m_last = LookAtFiles();
}

Stale SetWatch::CallEnds(const Call& call) {
    const std::lock_guard lock(m_mutex);
    const Look before = std::exchange(m_last, LookAtFiles());
    const bool missed = !(std::exchange(m_known, m_last) == before);
    m_inCall = false;
    const auto written = ReadJournal().written;
    const bool changed = m_last.inputs != before.inputs ||
                         Without(written, m_last.settings) != Without(written, before.settings);
    Stale stale;
    stale.others = call.changes || missed || changed;
    // Once: a call that writes such a file itself would be repeated for ever.
    stale.own = changed && !m_isRepeat;
    m_isRepeat = stale.own;
    return stale;
}

}  // namespace cli::serve
