// What is wrong with a command line, in this command's own words where those of the library that reads it
// change with its releases.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace cli {

/// What is wrong with the command line that app could not read, in one sentence.
std::string Complaint(const CLI::App& app, const CLI::ParseError& error);

/// A check for a whole number from least to most.
CLI::Validator Between(int least, int most);

}  // namespace cli
