// The shipped schemas, word for word, put in when this is built.
#pragma once

namespace schema {

extern const char* const kSet;
extern const char* const kScenario;

}  // namespace schema
