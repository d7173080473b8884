// The pictures of the applications: those that the library named in the list that the page shows, and no
// other file of the set.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "frame/Outcome.h"

namespace cli::serve {

/// The PNG picture of the application in the list ("apps" of the verb's document). Nothing when it is not
/// listed, or its file is missing, outside the set's /opt, too large or no PNG. opt: where the set's /opt is.
std::optional<std::string> ReadIcon(const Json& apps, const std::string& app,
                                    const std::filesystem::path& opt);

}  // namespace cli::serve
