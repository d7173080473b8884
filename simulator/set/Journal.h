// The journal: one JSON object a line, each line written with one appending write, so that the library's
// process, the agent and the host may write it at the same time.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "FileAccess.h"

namespace kuraset {

/// Keeps the order in which an entry's members were added.
using Entry = nlohmann::ordered_json;

/// Returns the text as UTF-8. Valid characters stay; any other byte becomes the character of the same number,
/// so that the journal shows the byte 0x9c as \u009c and not as a replacement character.
std::string Legible(const std::string& text);

/// The first bytes of a text, cut so that no UTF-8 character is split.
std::string CutAt(const std::string& text, std::size_t bytes);

/// Local time with milliseconds: "2026-01-31T23:59:59.123".
std::string JournalTimeNow();

class JournalWriter {
public:
    explicit JournalWriter(std::filesystem::path path) : m_path(std::move(path)) {}

    /// Appends the entry with time and kind in front. With escape, everything beyond ASCII becomes \u
    /// escapes. False when the line could not be written whole; the next entry then starts on a new line.
    bool Append(const Entry& entry, bool escape = false) noexcept;

private:
    bool Write(const std::string& line);

    const std::filesystem::path m_path;
    std::atomic<int> m_descriptor{-1};
    std::atomic<bool> m_torn{false};

public:
    JournalWriter(const JournalWriter&) = delete;
    JournalWriter& operator=(const JournalWriter&) = delete;
    ~JournalWriter() { Descriptor(m_descriptor.exchange(-1)).Reset(); }
};

}  // namespace kuraset
