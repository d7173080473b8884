// Shared by the tests of the built library: reads the output of a program and the lines of a file.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace contract {

struct Outcome {
    int status = 0;  ///< as the shell gives it
    std::string output;
};

/// Runs a shell command, standard error with standard output.
Outcome Shell(const std::string& command);

std::vector<std::string> Lines(const std::string& text);

/// The lines of a file but empty ones and comments.
std::vector<std::string> ListIn(const std::string& path);

/// The names, without versions, that nm -D gives with the option.
std::set<std::string> DynamicNames(const std::string& file, const std::string& option);

/// The libraries that a file names as needed.
std::vector<std::string> NeededBy(const std::string& file);

}  // namespace contract
