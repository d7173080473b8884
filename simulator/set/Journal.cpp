#include "Journal.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sstream>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "KuraSet.h"
#include "support/Joined.h"
#include "support/TextAt.h"

namespace kuraset {

namespace {

/// The length of the valid UTF-8 character at the position, or 0.
std::size_t CharacterLength(const std::string& text, std::size_t at) {
    const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at);
    if (first < 0x80) {
        return 1;
    }

    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xbf;
    if (first >= 0xc2 && first <= 0xdf) {
        length = 2;
    } else if (first >= 0xe0 && first <= 0xef) {
        length = 3;
        low = first == 0xe0 ? 0xa0 : low;
        high = first == 0xed ? 0x9f : high;
    } else if (first >= 0xf0 && first <= 0xf4) {
        length = 4;
        low = first == 0xf0 ? 0x90 : low;
        high = first == 0xf4 ? 0x8f : high;
    }
    if (length == 0 || at + length > text.size() || byte(at + 1) < low || byte(at + 1) > high) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if (byte(at + i) < 0x80 || byte(at + i) > 0xbf) {
            return 0;
        }
    }
    return length;
}

Entry WithTimeAndKind(const Entry& entry) {
    Entry line;
    line["time"] = entry.contains("time") ? entry.at("time") : Entry(JournalTimeNow());
    line["kind"] = entry.value("kind", "");
    for (const auto& [key, value] : entry.items()) {
        line[key] = value;
    }
    return line;
}

constexpr const char* kRunKind = "run";
constexpr std::uintmax_t kFirstLook = 64 * 1024;  ///< bytes

bool IsOfKind(const json& entry, const std::string& kind) {
    return support::TextAt(entry, "kind") == kind;
}

/// 0 for what is no mark of a run.
int NumberOfRun(const json& entry) {
    const auto found = entry.is_object() ? entry.find("run") : entry.end();
    return found != entry.end() && found->is_number_integer() ? found->get<int>() : 0;
}

std::string CommandOf(const json& mark) {
    return support::Joined(mark.value("command", json::array()), " ", [](const json& word) {
        return word.is_string() ? word.get<std::string>() : word.dump();
    });
}

/// The number of the last run in the end of a journal; 0 when there is none. A text inside a line holds its
/// quotation marks escaped, so that it is never taken for a mark.
int LastRunIn(const std::string& journal) {
    int number = 0;
    for (std::size_t at = std::string::npos; number == 0 && at != 0; --at) {
        at = journal.rfind("\"kind\":\"run\"", at);
        if (at == std::string::npos || at == 0) {
            break;
        }
        const std::size_t start = journal.rfind('\n', at) + 1;
        number =
            NumberOfRun(json::parse(journal.substr(start, journal.find('\n', at) - start), nullptr, false));
    }
    return number;
}

/// The same for the whole journal. Reads no more than a few times what the last run left, because a journal
/// grows with every run.
int LastRun(const std::filesystem::path& path) {
    for (std::uintmax_t bytes = kFirstLook;; bytes *= 2) {
        const std::string end = ReadEnd(path, bytes).value_or(std::string());
        const int number = LastRunIn(end);
        if (number != 0 || end.size() < bytes) {
            return number;
        }
    }
}

std::vector<json> AllEntries(const std::filesystem::path& journal) {
    std::vector<json> entries;
    std::istringstream lines(ReadWhole(journal).value_or(std::string()));
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        if (line.empty()) {
            continue;
        }
        json entry = json::parse(line, nullptr, false);
        entries.push_back(entry.is_object() ? std::move(entry) : json{{"kind", "damaged"}, {"line", number}});
    }
    return entries;
}

}  // namespace

std::string Legible(const std::string& text) {
    std::string result;
    result.reserve(text.size());
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = CharacterLength(text, at);
        if (length > 0) {
            result.append(text, at, length);
            at += length;
            continue;
        }
        const auto byte = static_cast<unsigned char>(text[at]);
        result += static_cast<char>(0xc0 | (byte >> 6));
        result += static_cast<char>(0x80 | (byte & 0x3f));
        ++at;
    }
    return result;
}

std::string CutAt(const std::string& text, std::size_t bytes) {
    if (text.size() <= bytes) {
        return text;
    }
    std::size_t end = bytes;
    for (std::size_t back = 0; back < 4 && end > back; ++back) {
        const std::size_t length = CharacterLength(text, bytes - back);
        if (length > 0) {
            end = bytes - back;
            break;
        }
    }
    return text.substr(0, end);
}

std::string JournalTimeNow() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(sinceEpoch % 1000));
    return text;
}

bool JournalWriter::Append(const Entry& entry, bool escape) noexcept {
    const int savedErrno = errno;
    bool written = false;
    try {
        written = Write(WithTimeAndKind(entry).dump(-1, ' ', escape, Entry::error_handler_t::replace) + "\n");
    } catch (...) {
        written = false;
    }
    // The library reads errno after calls that are journalled.
    errno = savedErrno;
    return written;
}

bool JournalWriter::Write(const std::string& line) {
    int descriptor = m_descriptor.load();
    if (descriptor < 0) {
        const int fresh =
            open(m_path.c_str(),
                 O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0666);
        if (fresh < 0) {
            return false;
        }
        if (m_descriptor.compare_exchange_strong(descriptor, fresh)) {
            descriptor = fresh;
        } else {
            close(fresh);
        }
    }

    const std::string text = m_torn.exchange(false) ? "\n" + line : line;
    ssize_t count = -1;
    do {
        count = write(descriptor, text.data(), text.size());
    } while (count < 0 && errno == EINTR);
    if (count == static_cast<ssize_t>(text.size())) {
        return true;
    }
    if (count > 0) {
        m_torn = true;
    }
    return false;
}

bool SetDirectory::AppendJournal(const json& entry) const noexcept {
    try {
        Entry ordered;
        for (const auto& [key, value] : entry.items()) {
            ordered[key] = Entry(value);
        }
        return JournalWriter(JournalPath()).Append(ordered);
    } catch (...) {
        return false;
    }
}

void SetDirectory::BeginRun(const std::vector<std::string>& command) const noexcept {
    try {
        const int number = LastRun(JournalPath()) + 1;
        JournalWriter(JournalPath()).Append({{"kind", kRunKind}, {"run", number}, {"command", command}});
    } catch (...) {
        // Out of memory: this run is then told as a part of the one before.
    }
}

std::vector<json> SetDirectory::ReadJournal(const std::string& kind) const {
    std::vector<json> entries;
    for (json& entry : AllEntries(JournalPath())) {
        if (kind.empty() ? !IsOfKind(entry, kRunKind) : IsOfKind(entry, kind)) {
            entries.push_back(std::move(entry));
        }
    }
    return entries;
}

std::vector<JournalRun> SetDirectory::ReadRuns() const {
    std::vector<JournalRun> runs;
    for (json& entry : AllEntries(JournalPath())) {
        if (IsOfKind(entry, kRunKind)) {
            runs.push_back({NumberOfRun(entry), support::TextAt(entry, "time"), CommandOf(entry), {}});
            continue;
        }
        if (runs.empty()) {
            runs.push_back({0, support::TextAt(entry, "time"), "", {}});
        }
        runs.back().entries.push_back(std::move(entry));
    }
    return runs;
}

void SetDirectory::ClearJournal() const {
    // Truncate it in place: a process that holds the journal open goes on in the same file.
    Descriptor file(
        open(JournalPath().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
    if (!file || ftruncate(file.Number(), 0) != 0) {
        throw SetError(SetError::Kind::Io,
                       JournalPath().string() + ": cannot clear: " + std::strerror(errno));
    }
}

}  // namespace kuraset
