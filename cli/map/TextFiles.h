// The files that a map is checked against: the host's texts, the engine's codes, and findings that are
// allowed.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kuramap {

/// The texts of one language by string id.
struct TextTable {
    std::string language;  ///< the file's name without its ending
    std::string file;
    std::map<std::string, std::string, std::less<>> texts;

    /// A JSON object of texts. Throws Unreadable naming file and place.
    static TextTable Read(const std::string& path);
};

/// The codes that the engine reports.
struct CodeList {
    struct Entry {
        std::string code;
        std::size_t line = 0;
    };
    std::string file;
    std::vector<Entry> entries;

    /// One code a line; blank lines and what follows a "#" are skipped. Throws Unreadable.
    static CodeList Read(const std::string& path);
};

/// Findings that are known and accepted.
struct AllowList {
    struct Entry {
        std::string tag;
        std::string issue;  ///< empty: whatever the issue
        std::string reason;
        std::size_t line = 0;
        bool isUsed = false;
    };
    std::string file;
    std::vector<Entry> entries;

    /// Lines "TAG: reason" or "TAG ISSUE: reason"; blank lines and lines that begin with "#" are skipped. An
    /// unknown tag or a missing reason is refused. Throws Unreadable.
    static AllowList Read(const std::string& path);
};

}  // namespace kuramap
