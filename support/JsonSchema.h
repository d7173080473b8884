// Checks a JSON document against a JSON Schema (draft 7). The program and the user's editor read the same
// schema, so they cannot disagree. Supported is what the shipped schemas use: $ref, type, enum, pattern,
// minimum, maximum, minLength, maxLength, minItems, minProperties, maxProperties, items, properties,
// propertyNames, required, additionalProperties, and anyOf (by type, or by required members). The title of a
// schema for a text or a number says in words what the value must be.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace support {

/// Keeps the members of an object in their order, so that the first difference is the first of the file.
using OrderedJson = nlohmann::ordered_json;
/// A place in a document, as data.
using JsonPlace = OrderedJson::json_pointer;

/// Writes a place of the document for people: "/steps/2/expect/log" becomes "steps[2].expect.log".
std::string PlaceInWords(const JsonPlace& place, const OrderedJson& document);

/// What is wrong with a document, and where.
struct JsonComplaint {
    JsonPlace place;
    std::string text;  ///< "must be a text", "unknown key; did you mean "model"?"
};

class JsonSchema {
public:
    /// texts: the schema first, then the schemas to which it refers by their "$id".
    JsonSchema(std::initializer_list<const char*> texts);

    /// The first difference, if any. Thread-safe.
    std::optional<JsonComplaint> Check(const OrderedJson& document) const;

private:
    class Walk;

    std::vector<OrderedJson> m_schemas;
};

}  // namespace support
