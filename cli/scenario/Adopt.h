// Rewrites the expectations of a scenario to what happened.
#pragma once

#include "Compare.h"
#include "Document.h"

namespace scenario {

/// Returns the document of the scenario with what happened in place of each expectation that differs. What
/// fits stays as it is written. So do patterns ("$contains", "$matches") and lines of the log, because only
/// their author knows what they stand for.
Json Adopted(Json document, const Observation& observation);

}  // namespace scenario
