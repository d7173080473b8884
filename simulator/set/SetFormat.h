// The mark in a set's directory: that it is one, which version of this program's layout it has, and whether
// it is whole. It is written first, and says "whole" only at the end, so that a half-made set is recognised.
#pragma once

#include <filesystem>

namespace kuraset {

/// Writes the mark of this version.
void MarkFormat(const std::filesystem::path& set, bool whole);

/// Throws SetError unless the directory is laid out as a whole set that this version knows: NotFound when it
/// is missing or something else, Damaged when it is half made or from a newer version. A set that is older
/// than the mark has set.json alone.
void CheckFormat(const std::filesystem::path& set);

}  // namespace kuraset
