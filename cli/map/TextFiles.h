// The files beside the maps: the host's texts, the engine's codes, and the findings that are allowed.
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

    /// Reads a JSON object of ids and texts. Throws Unreadable, which names the file and the line.
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

    /// Reads one code from each line; skips blank lines and what follows a "#". Throws Unreadable.
    static CodeList Read(const std::string& path);
};

/// Findings that are known and accepted.
struct AllowList {
    struct Entry {
        std::string tag;
        std::string issue;  ///< empty: every issue
        std::string reason;
        std::size_t line = 0;
        bool isUsed = false;
    };
    std::string file;
    std::vector<Entry> entries;

    /// Reads lines "TAG: reason" and "TAG ISSUE: reason"; skips blank lines and those that begin with "#".
    /// Throws Unreadable, also for an unknown tag and for a missing reason.
    static AllowList Read(const std::string& path);
};

}  // namespace kuramap
