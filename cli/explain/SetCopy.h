// A throw-away copy of a set, on which a verb can try what would happen to the set.
#pragma once

#include "scenario/Process.h"
#include "set/KuraSet.h"

namespace cli {

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
