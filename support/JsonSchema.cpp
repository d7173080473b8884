#include "JsonSchema.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <regex>

#include "NearestName.h"

namespace support {

namespace {

using Words = std::vector<std::string>;

struct TypeName {
    const char* name;
    const char* shown;
    bool (*fits)(const OrderedJson&);
};

const TypeName kTypes[] = {
    {"object", "an object", [](const OrderedJson& v) { return v.is_object(); }},
    {"array", "a list", [](const OrderedJson& v) { return v.is_array(); }},
    {"string", "a text", [](const OrderedJson& v) { return v.is_string(); }},
    {"integer", "a whole number", [](const OrderedJson& v) { return v.is_number_integer(); }},
    {"boolean", "true or false", [](const OrderedJson& v) { return v.is_boolean(); }},
    {"null", "null", [](const OrderedJson& v) { return v.is_null(); }},
};

const TypeName& TypeOf(const std::string& name) {
    for (const TypeName& type : kTypes) {
        if (name == type.name) {
            return type;
        }
    }
    throw std::logic_error("the schema names an unknown type: " + name);
}

/// The types that a schema allows; an empty list allows all.
Words TypesOf(const OrderedJson& schema) {
    const auto found = schema.find("type");
    if (found == schema.end()) {
        return {};
    }
    return found->is_array() ? found->get<Words>() : Words{found->get<std::string>()};
}

bool HasType(const OrderedJson& value, const Words& types) {
    for (const std::string& type : types) {
        if (TypeOf(type).fits(value)) {
            return true;
        }
    }
    return types.empty();
}

/// "a, b or c"
std::string OneOf(const Words& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    return text;
}

std::string Shown(const Words& types) {
    Words words;
    for (const std::string& type : types) {
        words.emplace_back(TypeOf(type).shown);
    }
    return OneOf(words);
}

Words KeysOf(const OrderedJson& object) {
    Words keys;
    for (const auto& member : object.items()) {
        keys.push_back(member.key());
    }
    return keys;
}

/// Compiles each expression once, because compiling takes longer than a search. The map is never destroyed,
/// because sets are read while the process exits.
bool Matches(const std::string& text, const std::string& pattern) {
    static std::mutex mutex;
    static auto& compiled = *new std::map<std::string, std::regex>;
    const std::lock_guard lock(mutex);
    return std::regex_search(text, compiled.try_emplace(pattern, pattern).first->second);
}

bool Fits(const std::string& text, const OrderedJson& schema) {
    // Check the length first: a regular expression takes stack for every character.
    return text.size() >= schema.value("minLength", std::size_t{0}) &&
           text.size() <= schema.value("maxLength", SIZE_MAX) &&
           (!schema.contains("pattern") || Matches(text, schema.at("pattern").get<std::string>()));
}

std::string TextComplaint(const std::string& text, const OrderedJson& schema) {
    if (Fits(text, schema)) {
        return "";
    }
    return "must be " + schema.value("title", text.empty() ? "not empty" : "another text");
}

std::string NumberComplaint(const OrderedJson& value, const OrderedJson& schema) {
    const bool huge = value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX;
    const auto number = huge ? INT64_MAX : value.get<std::int64_t>();
    const auto low = schema.value("minimum", INT64_MIN);
    const auto high = schema.value("maximum", INT64_MAX);
    if (!huge && number >= low && number <= high) {
        return "";
    }
    const std::string range = high == INT64_MAX
                                  ? std::to_string(low) + " or greater"
                                  : "from " + std::to_string(low) + " to " + std::to_string(high);
    return "must be " + schema.value("title", range);
}

std::string EnumComplaint(const OrderedJson& value, const OrderedJson& choices) {
    Words known;
    for (const OrderedJson& choice : choices) {
        if (choice == value) {
            return "";
        }
        known.push_back(choice.is_string() ? choice.get<std::string>() : choice.dump());
    }
    return "must be " + OneOf(known) + (value.is_string() ? Suggestion(value, known) : "");
}

}  // namespace

/// Runs one check and throws the first complaint. Every schema is passed with the file in which it stands,
/// because its references name definitions of that file.
class JsonSchema::Walk {
public:
    explicit Walk(const std::vector<OrderedJson>& schemas) : m_schemas(schemas) {}

    struct Rule {
        const OrderedJson* file;
        const OrderedJson* schema;

        const OrderedJson& operator*() const { return *schema; }
        const OrderedJson* operator->() const { return schema; }
        Rule Part(const OrderedJson& part) const { return {file, &part}; }
    };

    void Value(const OrderedJson& value, const Rule& given, const JsonPlace& at) const {
        const Rule rule = Resolve(given);
        const Words types = TypesOf(*rule);
        if (!HasType(value, types)) {
            throw JsonComplaint{at, "must be " + rule->value("title", Shown(types))};
        }
        if (rule->contains("enum")) {
            Demand(at, EnumComplaint(value, rule->at("enum")));
        }
        if (value.is_object()) {
            // Unknown keys come before missing ones: a misspelt key is both, and naming it helps more.
            KnownKeys(value, rule, at);
        }
        if (rule->contains("anyOf")) {
            Alternatives(value, rule, at);
        }
        if (value.is_object()) {
            Object(value, rule, at);
        } else if (value.is_array()) {
            List(value, rule, at);
        } else if (value.is_string()) {
            Demand(at, TextComplaint(value.get_ref<const std::string&>(), *rule));
        } else if (value.is_number_integer()) {
            Demand(at, NumberComplaint(value, *rule));
        }
    }

private:
    static void Demand(const JsonPlace& at, const std::string& complaint) {
        if (!complaint.empty()) {
            throw JsonComplaint{at, complaint};
        }
    }

    /// Finds the schema that "$ref" names as "FILE#/definitions/NAME"; without FILE it stands in the same
    /// file.
    Rule Resolve(const Rule& rule) const {
        const auto found = rule->find("$ref");
        if (found == rule->end()) {
            return rule;
        }
        const auto& name = found->get_ref<const std::string&>();
        const std::size_t hash = name.find('#');
        const OrderedJson* file = rule.file;
        for (const OrderedJson& schema : m_schemas) {
            if (hash > 0 && schema.at("$id") == name.substr(0, hash)) {
                file = &schema;
            }
        }
        const std::string place = hash == std::string::npos ? "" : name.substr(hash + 1);
        return Resolve({file, &file->at(JsonPlace(place))});
    }

    void Alternatives(const OrderedJson& value, const Rule& rule, const JsonPlace& at) const {
        Words types;
        Words members;
        for (const OrderedJson& part : rule->at("anyOf")) {
            const Rule alternative = Resolve(rule.Part(part));
            const Words own = TypesOf(*alternative);
            if (own.empty() && alternative->contains("required")) {
                members.push_back(alternative->at("required").at(0).get<std::string>());
                if (value.contains(members.back())) {
                    return;
                }
            } else if (HasType(value, own)) {
                Value(value, alternative, at);
                return;
            } else {
                types.insert(types.end(), own.begin(), own.end());
            }
        }
        throw JsonComplaint{at, types.empty() ? "must have " + OneOf(members) : "must be " + Shown(types)};
    }

    void Object(const OrderedJson& value, const Rule& rule, const JsonPlace& at) const {
        for (const OrderedJson& name : rule->value("required", OrderedJson::array())) {
            if (!value.contains(name.get_ref<const std::string&>())) {
                throw JsonComplaint{at, "must have \"" + name.get<std::string>() + "\""};
            }
        }
        if (value.size() < rule->value("minProperties", std::size_t{0}) ||
            value.size() > rule->value("maxProperties", SIZE_MAX)) {
            throw JsonComplaint{at, "must have exactly one of " + OneOf(KeysOf(rule->at("properties")))};
        }
        const auto names = rule->find("propertyNames");
        const auto known = rule->find("properties");
        const auto others = rule->find("additionalProperties");
        for (const auto& [name, member] : value.items()) {
            const JsonPlace place = at / name;
            if (names != rule->end() && !Fits(name, *names)) {
                throw JsonComplaint{place, "the key must be " + names->at("title").get<std::string>()};
            }
            if (known != rule->end() && known->contains(name)) {
                Value(member, rule.Part(known->at(name)), place);
            } else if (others != rule->end() && others->is_object()) {
                Value(member, rule.Part(*others), place);
            }
        }
    }

    static void KnownKeys(const OrderedJson& value, const Rule& rule, const JsonPlace& at) {
        if (rule->value("additionalProperties", OrderedJson(true)) != OrderedJson(false)) {
            return;
        }
        const OrderedJson known = rule->value("properties", OrderedJson::object());
        for (const auto& member : value.items()) {
            if (!known.contains(member.key())) {
                throw JsonComplaint{at / member.key(),
                                    "unknown key" + Suggestion(member.key(), KeysOf(known))};
            }
        }
    }

    void List(const OrderedJson& value, const Rule& rule, const JsonPlace& at) const {
        if (value.size() < rule->value("minItems", std::size_t{0})) {
            throw JsonComplaint{at, "must not be empty"};
        }
        for (std::size_t i = 0; rule->contains("items") && i < value.size(); ++i) {
            Value(value[i], rule.Part(rule->at("items")), at / i);
        }
    }

    const std::vector<OrderedJson>& m_schemas;
};

JsonSchema::JsonSchema(std::initializer_list<const char*> texts) {
    for (const char* text : texts) {
        m_schemas.push_back(OrderedJson::parse(text));
    }
}

std::optional<JsonComplaint> JsonSchema::Check(const OrderedJson& document) const {
    const OrderedJson& first = m_schemas.front();
    try {
        Walk(m_schemas).Value(document, {&first, &first}, JsonPlace());
    } catch (const JsonComplaint& complaint) {
        return complaint;
    }
    return std::nullopt;
}

std::string PlaceInWords(const JsonPlace& place, const OrderedJson& document) {
    if (place.empty()) {
        return "";
    }
    const JsonPlace around = place.parent_pointer();
    const std::string before = PlaceInWords(around, document);
    if (document.contains(around) && document.at(around).is_array()) {
        return before + "[" + place.back() + "]";
    }
    return before + (before.empty() ? "" : ".") + place.back();
}

}  // namespace support
