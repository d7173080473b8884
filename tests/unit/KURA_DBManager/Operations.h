// Runs the manager's operations on the remaining database, for tests of failures.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace operations {

bool Insert(const std::string& issueCode);

/// The remaining database with the problems E1, E2 and E3, closed; the log is empty.
void MakeStore();

/// A file's bytes.
std::string Read(const char* path);
void Write(const char* path, const std::string& content);

/// Whether an error was logged since the log had so many lines.
bool HasToldSince(std::size_t lines);

/// Opens, reads into values, inserts, deletes, empties, closes; true for those that said so. One that fails
/// has to log an error of its own.
std::vector<bool> TryEverything(std::vector<std::string>& values);

}  // namespace operations
