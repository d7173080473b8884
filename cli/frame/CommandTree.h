// The command line as data: what --help prints, for programs. The man page and the completions are made of
// it.
#pragma once

#include <CLI/CLI.hpp>

#include "Outcome.h"

namespace cli {

/// Name, description, arguments, options and, nested, the verbs of app. What is hidden from --help stays out;
/// --help itself stands at the root alone, as do the options that hold for every verb.
Json DescribeCommand(const CLI::App& app);

/// The innermost verb that the command line named, or app itself.
const CLI::App& NamedVerb(const CLI::App& app);

}  // namespace cli
