// Follows the set's journal as it grows. The file may be emptied, replaced, cut off in a line by a power cut,
// or removed with the whole set; the tail then starts again with the file that is there.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "frame/Outcome.h"

namespace cli::serve {

/// The caller serialises.
class JournalTail {
public:
    struct News {
        bool fresh = false;  ///< the journal begins anew: forget all entries before these
        Json entries = Json::array();
        bool Empty() const { return !fresh && entries.empty(); }
    };

    explicit JournalTail(std::filesystem::path path);

    /// Returns the entries since the last call; the first call returns the last entries of the journal. A
    /// line that is no entry becomes {"kind":"damaged"} and throws nothing.
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
