// Checks a JSON document against a JSON Schema (draft 7), so that the file that is shipped for editors and
// the program cannot say different things. It knows what the shipped schemas use: $ref, type, enum,
// pattern, minimum, maximum, minLength, maxLength, minItems, minProperties, maxProperties, items, properties,
// propertyNames, required, additionalProperties, and anyOf (by type, or by required members). A schema of a
// text or a number may have a title, which says in words what the value must be.
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

/// "/steps/2/expect/log" of the document as people write it: "steps[2].expect.log".
std::string PlaceInWords(const JsonPlace& place, const OrderedJson& document);

/// What is wrong with a document, and where.
struct JsonComplaint {
    JsonPlace place;
    std::string text;  ///< "must be a text", "unknown key; did you mean "model"?"
};

class JsonSchema {
public:
    /// The texts of the schema and of those to which it refers by their "$id".
    JsonSchema(std::initializer_list<const char*> texts);

    /// The first difference, if any. Thread-safe.
    std::optional<JsonComplaint> Check(const OrderedJson& document) const;

private:
    class Walk;

    std::vector<OrderedJson> m_schemas;
};

}  // namespace support
