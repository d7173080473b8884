// The body of every answer that is no success, in the form that the command prints with --json.
#pragma once

#include <string>

#include "frame/Outcome.h"

namespace cli::serve {

inline Json HttpErrorDocument(const std::string& kind, const std::string& message) {
    return {{"error", {{"kind", kind}, {"message", message}}}};
}

}  // namespace cli::serve
