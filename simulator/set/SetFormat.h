// The mark in a set's directory says that the directory is a set, which version of the layout it has, and
// whether it is whole. It is written first and says "whole" only at the end, so that a half-made set is
// recognised.
#pragma once

#include <filesystem>

namespace kuraset {

/// Writes the mark of this version.
void MarkFormat(const std::filesystem::path& set, bool whole);

/// Throws SetError unless the directory is a whole set whose layout this version knows: NotFound when it is
/// missing or no set, Damaged when it is half made or from a newer version. A directory without the mark is a
/// set of an early version when it has set.json.
void CheckFormat(const std::filesystem::path& set);

}  // namespace kuraset
