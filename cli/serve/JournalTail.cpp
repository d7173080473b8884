#include "JournalTail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace cli::serve {

namespace {

constexpr std::size_t kShownAtFirst = 256 * 1024;  ///< bytes
constexpr std::size_t kMostAtOnce = 256 * 1024;
constexpr std::size_t kLongestLine = 64 * 1024;

class File {
public:
    explicit File(const std::filesystem::path& path)
        : m_number(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        if (m_number >= 0) {
            close(m_number);
        }
    }
    int Number() const { return m_number; }

private:
    const int m_number;
};

Json EntryOf(const std::string& line) {
    Json entry = Json::parse(line, nullptr, false);
    return entry.is_object() ? entry : Json{{"kind", "damaged"}};
}

/// The marks between the runs are no requests to the set.
void AddEntry(Json entry, Json& entries) {
    const auto kind = entry.find("kind");
    if (kind == entry.end() || *kind != "run") {
        entries.push_back(std::move(entry));
    }
}

}  // namespace

JournalTail::JournalTail(std::filesystem::path path) : m_path(std::move(path)) {}

JournalTail::News JournalTail::Next() {
    News news;
    const File file(m_path);
    struct stat status {};
    if (file.Number() < 0 || fstat(file.Number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        news.fresh = !m_started || m_file != 0;
        m_started = true;
        m_file = 0;
        m_offset = 0;
        return news;
    }
    const auto size = static_cast<std::uintmax_t>(status.st_size);
    if (!m_started || m_file != status.st_ino || m_device != status.st_dev || size < m_offset) {
        news.fresh = !m_started || m_file != 0;
        m_started = true;
        m_device = status.st_dev;
        m_file = status.st_ino;
        Restart(size);
    }
    std::string bytes(static_cast<std::size_t>(std::min<std::uintmax_t>(size - m_offset, kMostAtOnce)), '\0');
    const ssize_t count = pread(file.Number(), bytes.data(), bytes.size(), static_cast<off_t>(m_offset));
    if (count > 0) {
        bytes.resize(static_cast<std::size_t>(count));
        m_offset += bytes.size();
        Take(bytes, news.entries);
    }
    return news;
}

void JournalTail::Restart(std::uintmax_t size) {
    m_line.clear();
    m_offset = size > kShownAtFirst ? size - kShownAtFirst : 0;
    m_insideLine = m_offset > 0;
}

void JournalTail::Take(const std::string& bytes, Json& entries) {
    std::size_t start = 0;
    for (std::size_t end = bytes.find('\n'); end != std::string::npos; end = bytes.find('\n', start)) {
        m_line.append(bytes, start, end - start);
        if (!m_insideLine && !m_line.empty()) {
            AddEntry(EntryOf(m_line), entries);
        }
        m_insideLine = false;
        m_line.clear();
        start = end + 1;
    }
    if (!m_insideLine) {
        m_line.append(bytes, start);
    }
    if (m_line.size() > kLongestLine) {
        entries.push_back({{"kind", "damaged"}});
        m_line.clear();
        m_insideLine = true;
    }
}

}  // namespace cli::serve
