// The command line as data, as --help prints it for people. The man page and the completions are made from
// it.
#pragma once

#include <CLI/CLI.hpp>

#include "Outcome.h"

namespace cli {

/// Describes the name, description, arguments, options and, nested, the verbs of app. Leaves out what --help
/// hides. Only the root lists --help and the options that every verb has.
Json DescribeCommand(const CLI::App& app);

/// The innermost verb that the command line named, or app itself.
const CLI::App& NamedVerb(const CLI::App& app);

}  // namespace cli
