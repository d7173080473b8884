// Reads the pictures of the applications. The page gets only pictures that the library named in the list of
// applications, and no other file of the set.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "frame/Outcome.h"

namespace cli::serve {

/// The PNG picture of the application. apps: the list in "apps" of the verb's document; opt: the folder of
/// the set's /opt. Nothing when the application is not listed, or when its file is missing, outside of /opt,
/// too large or no PNG.
std::optional<std::string> ReadIcon(const Json& apps, const std::string& app,
                                    const std::filesystem::path& opt);

}  // namespace cli::serve
