#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "frame/Outcome.h"

namespace cli {

/// Selects the work of a verb of "map".
using MapVerbRunner = std::function<void(std::function<Outcome()>)>;

/// Declares show, diff, stats and format below "map".
void AddMapReadVerbs(CLI::App& map, const MapVerbRunner& runner);

}  // namespace cli
