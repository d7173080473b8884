// A throw-away copy of a set, for whoever wants to see what would happen without letting it happen.
#pragma once

#include <filesystem>

#include "scenario/Process.h"
#include "set/KuraSet.h"

namespace cli {

/// The copy goes with the object.
class SetCopy {
public:
    /// Waits for its turn at the set, copies all of it and gives the copy an empty journal. Throws VerbError
    /// when the set cannot be copied, kuraset::SetError when it is in use, scenario::Interrupted.
    explicit SetCopy(const kuraset::SetDirectory& set);

    kuraset::SetDirectory Set() const;
    /// A folder beside the copy for what a run of it leaves.
    const std::filesystem::path& Scratch() const { return m_folder.Path(); }

private:
    scenario::TemporaryFolder m_folder;
};

}  // namespace cli
