// Checks a document against the JSON Schema that is shipped with the command, so that the two can never say
// different things. Only what that schema uses is known here: $ref to definitions, type, enum, pattern,
// minimum, maximum, minLength, minItems, minProperties, maxProperties, items, properties, required,
// additionalProperties and anyOf (by type, or by required members).
#pragma once

#include "Document.h"

namespace scenario {

/// The schema of a scenario, as shipped.
const Json& ScenarioSchema();

/// Throws ScenarioError for the first difference, naming file, line and place; an unknown name with the
/// nearest known one.
void CheckAgainst(const Json& schema, const Document& document);

}  // namespace scenario
