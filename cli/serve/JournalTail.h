// Follows the set's journal as it grows. The file may be emptied, replaced, torn by a cut of power or gone
// with the whole set; the tail then starts again with what is there.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "frame/Outcome.h"

namespace cli::serve {

/// One thread at a time.
class JournalTail {
public:
    struct News {
        bool fresh = false;  ///< the entries begin the journal anew; those before are to be forgotten
        Json entries = Json::array();
        bool Empty() const { return !fresh && entries.empty(); }
    };

    explicit JournalTail(std::filesystem::path path);

    /// What has come since the last call; at first the last entries of the journal. Never throws for what the
    /// file holds: a line that is no entry comes as {"kind":"damaged"}.
    News Next();

private:
    void Restart(std::uintmax_t size);
    void Take(const std::string& bytes, Json& entries);

    const std::filesystem::path m_path;
    bool m_started = false;
    dev_t m_device = 0;
    ino_t m_file = 0;
    std::uintmax_t m_offset = 0;
    bool m_insideLine = false;  ///< the next bytes are the rest of a line that is not shown
    std::string m_line;         ///< the part of a line that has been written so far
};

}  // namespace cli::serve
