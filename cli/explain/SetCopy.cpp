#include "SetCopy.h"

#include <chrono>
#include <string>

#include "frame/Outcome.h"
#include "set/SetUse.h"

namespace cli {

namespace {

constexpr std::chrono::seconds kCopyPatience{120};

}  // namespace

SetCopy::SetCopy(const kuraset::SetDirectory& set) {
    const kuraset::SetUse use(set.Path());
    // Files keep their holes, so that an app of a gigabyte takes no room in the copy either.
    const auto result = scenario::RunProcess({"/bin/cp", "--archive", "--sparse=auto", "--reflink=auto",
                                              set.Path().string(), (m_folder.Path() / "set").string()},
                                             kCopyPatience);
    if (result.status != 0) {
        throw VerbError(ExitCode::kFailed,
                        "the set cannot be copied: " + result.err.substr(0, result.err.find('\n')));
    }
    Set().ClearJournal();
}

kuraset::SetDirectory SetCopy::Set() const {
    return kuraset::SetDirectory::Open(m_folder.Path() / "set");
}

}  // namespace cli
