// The texts of the shipped schemas. The build copies them from the schema files.
#pragma once

namespace schema {

extern const char* const kSet;
extern const char* const kScenario;

}  // namespace schema
