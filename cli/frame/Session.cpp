#include "Session.h"

#include <cstdlib>
#include <string>

#include "MakeSet.h"

namespace cli {

namespace fs = std::filesystem;

namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

fs::path UserDataFolder() {
    const std::string data = Environment("XDG_DATA_HOME");
    if (!data.empty()) {
        return data;
    }
    const std::string home = Environment("HOME");
    if (home.empty()) {
        throw VerbError(ExitCode::kUsage, "neither --set nor HOME says where the set is");
    }
    return fs::path(home) / ".local" / "share";
}

}  // namespace

bool IsInside() {
    return !Environment(kInsideVariable).empty();
}

fs::path Session::SetPath() const {
    if (IsInside()) {
        return kuraset::kBoundSetDirectory;
    }
    return setOption.empty() ? UserDataFolder() / "kura" / "set" : fs::absolute(setOption).lexically_normal();
}

kuraset::SetDirectory Session::OpenSet() const {
    const fs::path path = SetPath();
    if (setOption.empty() && !IsInside() && !fs::exists(path)) {
        return MakeSetWhole(path);
    }
    return kuraset::SetDirectory::Open(path);
}

}  // namespace cli
