#pragma once

#include <filesystem>
#include <functional>

namespace cli {

/// Puts at the place the folder that make makes at the path it is given, beside the place; what lay at the
/// place is removed when the new folder is there. When anything throws, the place holds what it held before.
/// The caller keeps others away from the place.
void ReplaceFolder(const std::filesystem::path& place,
                   const std::function<void(const std::filesystem::path& fresh)>& make);

}  // namespace cli
