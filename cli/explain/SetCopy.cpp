#include "SetCopy.h"

#include <chrono>
#include <string>

#include "frame/Outcome.h"
#include "set/SetUse.h"

namespace cli {

namespace {

constexpr std::chrono::seconds kCopyPatience{120};

}  // namespace

void CopySet(const std::filesystem::path& from, const std::filesystem::path& to) {
    // With its holes an app of a gigabyte takes no room in the copy either.
    const auto result = scenario::RunProcess(
        {"/bin/cp", "--archive", "--sparse=auto", "--reflink=auto", from.string(), to.string()},
        kCopyPatience);
    if (result.status != 0) {
        throw VerbError(ExitCode::kFailed,
                        "the set cannot be copied: " + result.err.substr(0, result.err.find('\n')));
    }
}

SetCopy::SetCopy(const kuraset::SetDirectory& set) {
    const kuraset::SetUse use(set.Path());
    m_folder.WithRoom([&] {
        CopySet(set.Path(), m_folder.Path() / "set");
        m_folder.DemandRoom();
        Set().ClearJournal();
    });
}

kuraset::SetDirectory SetCopy::Set() const {
    return kuraset::SetDirectory::Open(m_folder.Path() / "set");
}

}  // namespace cli
