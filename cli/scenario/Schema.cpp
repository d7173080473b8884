#include "Schema.h"

#include <cstddef>
#include <cstdint>
#include <regex>
#include <string>
#include <vector>

#include "SchemaText.h"
#include "support/NearestName.h"

namespace scenario {

namespace {

struct TypeName {
    const char* name;
    const char* shown;
    bool (*fits)(const Json&);
};

const TypeName kTypes[] = {
    {"object", "an object", [](const Json& v) { return v.is_object(); }},
    {"array", "a list", [](const Json& v) { return v.is_array(); }},
    {"string", "a text", [](const Json& v) { return v.is_string(); }},
    {"integer", "a whole number", [](const Json& v) { return v.is_number_integer(); }},
    {"boolean", "true or false", [](const Json& v) { return v.is_boolean(); }},
    {"null", "null", [](const Json& v) { return v.is_null(); }},
};

const TypeName& TypeOf(const std::string& name) {
    for (const TypeName& type : kTypes) {
        if (name == type.name) {
            return type;
        }
    }
    throw std::logic_error("the schema names an unknown type: " + name);
}

/// The types that a schema allows; none: all.
std::vector<std::string> TypesOf(const Json& schema) {
    const auto found = schema.find("type");
    if (found == schema.end()) {
        return {};
    }
    return found->is_array() ? found->get<std::vector<std::string>>()
                             : std::vector<std::string>{found->get<std::string>()};
}

bool HasType(const Json& value, const std::vector<std::string>& types) {
    for (const std::string& type : types) {
        if (TypeOf(type).fits(value)) {
            return true;
        }
    }
    return types.empty();
}

/// "a, b or c"
std::string OneOf(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    return text;
}

std::string Shown(const std::vector<std::string>& types) {
    std::vector<std::string> words;
    for (const std::string& type : types) {
        words.emplace_back(TypeOf(type).shown);
    }
    return OneOf(words);
}

class Check {
public:
    Check(const Json& schema, const Document& document) : m_schema(schema), m_document(document) {}

    void Value(const Json& value, const Json& given, const std::string& at) {
        const Json& schema = Resolve(given);
        const auto types = TypesOf(schema);
        if (!HasType(value, types)) {
            m_document.Complain(at, "must be " + Shown(types));
        }
        if (schema.contains("enum")) {
            Enum(value, schema.at("enum"), at);
        }
        if (value.is_object()) {
            // Before what is missing: a misspelt key is both, and its spelling is what helps.
            KnownNames(value, schema, at);
        }
        if (schema.contains("anyOf")) {
            Alternatives(value, schema.at("anyOf"), at);
        }
        if (value.is_object()) {
            Object(value, schema, at);
        } else if (value.is_array()) {
            List(value, schema, at);
        } else if (value.is_string()) {
            Text(value.get_ref<const std::string&>(), schema, at);
        } else if (value.is_number_integer()) {
            Number(value, schema, at);
        }
    }

private:
    const Json& Resolve(const Json& schema) const {
        const auto found = schema.find("$ref");
        return found == schema.end() ? schema
                                     : m_schema.at(Json::json_pointer(found->get<std::string>().substr(1)));
    }

    void Enum(const Json& value, const Json& words, const std::string& at) const {
        std::vector<std::string> known;
        for (const Json& word : words) {
            if (word == value) {
                return;
            }
            known.push_back(word.is_string() ? word.get<std::string>() : word.dump());
        }
        m_document.Complain(
            at, "must be " + OneOf(known) + (value.is_string() ? support::Suggestion(value, known) : ""));
    }

    void Alternatives(const Json& value, const Json& alternatives, const std::string& at) {
        std::vector<std::string> types;
        std::vector<std::string> members;
        for (const Json& given : alternatives) {
            const Json& alternative = Resolve(given);
            const auto own = TypesOf(alternative);
            if (own.empty() && alternative.contains("required")) {
                members.push_back(alternative.at("required").at(0).get<std::string>());
                continue;
            }
            if (HasType(value, own)) {
                Value(value, alternative, at);
                return;
            }
            types.insert(types.end(), own.begin(), own.end());
        }
        if (!types.empty()) {
            m_document.Complain(at, "must be " + Shown(types));
        }
        for (const std::string& member : members) {
            if (value.contains(member)) {
                return;
            }
        }
        m_document.Complain(at, "must have " + OneOf(members));
    }

    void Object(const Json& value, const Json& schema, const std::string& at) {
        for (const Json& name : schema.value("required", Json::array())) {
            if (!value.contains(name.get_ref<const std::string&>())) {
                m_document.Complain(at, "must have \"" + name.get<std::string>() + "\"");
            }
        }
        if (value.size() < schema.value("minProperties", std::size_t{0}) ||
            value.size() > schema.value("maxProperties", SIZE_MAX)) {
            m_document.Complain(at, "must have exactly one of " + OneOf(Names(schema.at("properties"))));
        }
        const Json known = schema.value("properties", Json::object());
        const Json others = schema.value("additionalProperties", Json(true));
        for (const auto& [name, member] : value.items()) {
            const std::string place = at + "/" + PointerStep(name);
            if (known.contains(name)) {
                Value(member, known.at(name), place);
            } else if (others.is_object()) {
                Value(member, others, place);
            }
        }
    }

    void KnownNames(const Json& value, const Json& schema, const std::string& at) const {
        if (schema.value("additionalProperties", Json(true)) != Json(false)) {
            return;
        }
        const Json known = schema.value("properties", Json::object());
        for (const auto& [name, unused] : value.items()) {
            static_cast<void>(unused);
            if (!known.contains(name)) {
                m_document.Complain(at + "/" + PointerStep(name),
                                    "unknown key" + support::Suggestion(name, Names(known)));
            }
        }
    }

    void List(const Json& value, const Json& schema, const std::string& at) {
        if (value.size() < schema.value("minItems", std::size_t{0})) {
            m_document.Complain(at, "must not be empty");
        }
        if (!schema.contains("items")) {
            return;
        }
        for (std::size_t i = 0; i < value.size(); ++i) {
            Value(value[i], schema.at("items"), at + "/" + std::to_string(i));
        }
    }

    void Text(const std::string& text, const Json& schema, const std::string& at) const {
        if (text.size() < schema.value("minLength", std::size_t{0})) {
            m_document.Complain(at, "must not be empty");
        }
        if (schema.contains("pattern") &&
            !std::regex_search(text, std::regex(schema.at("pattern").get<std::string>()))) {
            m_document.Complain(at, "must look like 2026-01-31T23:59:59");
        }
    }

    void Number(const Json& value, const Json& schema, const std::string& at) const {
        const bool huge = value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX;
        const auto number = huge ? INT64_MAX : value.get<std::int64_t>();
        const auto low = schema.value("minimum", INT64_MIN);
        const auto high = schema.value("maximum", INT64_MAX);
        if (huge || number < low || number > high) {
            m_document.Complain(at, high == INT64_MAX ? "must be " + std::to_string(low) + " or greater"
                                                      : "must be from " + std::to_string(low) + " to " +
                                                            std::to_string(high));
        }
    }

    static std::vector<std::string> Names(const Json& object) {
        std::vector<std::string> names;
        for (const auto& [name, unused] : object.items()) {
            static_cast<void>(unused);
            names.push_back(name);
        }
        return names;
    }

    const Json& m_schema;
    const Document& m_document;
};

}  // namespace

const Json& ScenarioSchema() {
    static const Json schema = Json::parse(kScenarioSchemaText);
    return schema;
}

void CheckAgainst(const Json& schema, const Document& document) {
    Check(schema, document).Value(document.Root(), schema, "");
}

}  // namespace scenario
