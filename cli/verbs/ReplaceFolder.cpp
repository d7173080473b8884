#include "ReplaceFolder.h"

#include <unistd.h>

#include <string>
#include <system_error>

namespace cli {

namespace {

namespace fs = std::filesystem;

/// Moves fresh to the place, and what is there to old.
void Exchange(const fs::path& place, const fs::path& fresh, const fs::path& old) {
    if (!fs::exists(place)) {
        fs::rename(fresh, place);
        return;
    }
    fs::rename(place, old);
    try {
        fs::rename(fresh, place);
    } catch (...) {
        fs::rename(old, place);
        throw;
    }
}

}  // namespace

void ReplaceFolder(const fs::path& place, const std::function<void(const fs::path& fresh)>& make) {
    // The folder itself where a link leads to it. Names that begin with a dot are no snapshots.
    const fs::path target = fs::weakly_canonical(place);
    const std::string hidden = (target.parent_path() / ("." + target.filename().string())).string();
    const fs::path fresh = hidden + ".new-" + std::to_string(getpid());
    const fs::path old = hidden + ".old-" + std::to_string(getpid());
    try {
        make(fresh);
        Exchange(target, fresh, old);
    } catch (...) {
        std::error_code error;
        fs::remove_all(fresh, error);
        throw;
    }
    fs::remove_all(old);
}

}  // namespace cli
