// A throw-away copy of a set, on which a verb can try what would happen to the set.
#pragma once

#include "scenario/Process.h"
#include "set/KuraSet.h"

namespace cli {

/// Copies a set, or a copy of one, to a place that is free. Files keep their holes and their times. Throws
/// VerbError, and scenario::Interrupted; a part of the copy may then be left.
void CopySet(const std::filesystem::path& from, const std::filesystem::path& to);

/// The copy is removed with the object.
class SetCopy {
public:
    /// Waits until the set is free, copies all of it and gives the copy an empty journal. Throws VerbError
    /// when the set cannot be copied, kuraset::SetError when it stays in use, and scenario::Interrupted.
    explicit SetCopy(const kuraset::SetDirectory& set);

    kuraset::SetDirectory Set() const;

private:
    scenario::TemporaryFolder m_folder;
};

}  // namespace cli
