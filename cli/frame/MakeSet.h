// Makes sets from a folder that is laid out as examples/ is.
#pragma once

#include <filesystem>
#include <functional>

#include "set/KuraSet.h"

namespace cli {

/// The examples that belong to this command: installed beside it or in its build folder. Throws VerbError.
std::filesystem::path ExamplesFolder();

/// Where a set has its solution map.
std::filesystem::path MapOf(const kuraset::SetDirectory& set);

/// Makes a set with the folder's map, texts, description, settings and engine records.
kuraset::SetDirectory MakeSet(const std::filesystem::path& path, const std::filesystem::path& examples);

/// Makes the default set, which belongs at path, at place. Where that cannot be written, throws VerbError,
/// which says that --set names another place.
kuraset::SetDirectory MakeDefaultSet(
    const std::filesystem::path& path,
    const std::function<kuraset::SetDirectory(const std::filesystem::path& place)>& make,
    const std::filesystem::path& place);

/// Makes the default set from the examples in one step, or opens the one that another process made in the
/// meantime.
kuraset::SetDirectory MakeSetWhole(const std::filesystem::path& path);

/// Reads one JSON document. Throws VerbError naming the file.
nlohmann::json ReadJsonFile(const std::filesystem::path& path);

}  // namespace cli
