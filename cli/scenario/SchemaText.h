#pragma once

namespace scenario {

/// The shipped schema file, word for word, put in when this is built.
extern const char* const kScenarioSchemaText;

}  // namespace scenario
