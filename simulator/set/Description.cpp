// What set.json may hold is a table: the same tree as the file, with the type of each value as text. An
// object whose only key is "*" takes any key, an array takes any number of its one element, and an object
// with the key "or" takes the first of its alternatives that fits.
#include "KuraSet.h"
#include "support/NearestName.h"

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace kuraset {

namespace {

const json& Table() {
    static const json table = json::parse(R"json({
        "model": "text", "sw_model": "text", "serial": "text", "series": "text", "chip_id": "text",
        "image": "one of: release debug perf",
        "info": {"*": "text or null"},
        "features": {"*": "number or bool"},
        "panel": {"width": "number", "height": "number"},
        "source": "number", "channel": "number", "launched_from": "text",
        "network": {"available": "bool", "connected": "bool"},
        "terms": ["text"], "opt_size": "size", "clock": "time",
        "apps": [{
            "title": "text", "app_id": "name", "package_id": "name", "entry_id": "text", "icon_dir": "path",
            "skip": "number", "attribute1": "number", "attribute2": "number", "attribute3": "number",
            "sizes": {"app": "size", "data": "size", "cache": "size", "web_cache": "size"}, "icons": ["name"]
        }],
        "engine": {"delay_ms": "count"},
        "agent": {
            "clean": ["path"], "commands": ["text"], "cobalt_size": "size", "processes": {"*": ["process"]}
        },
        "faults": {
            "engine": {
                "inference": {"*": {"true": "number", "false": "number"}}, "solution": {"*": "number"},
                "subscribe": "number", "record": "number", "silent": "bool"
            },
            "agent": {"or": ["one of: absent late partial flood binary", {
                "mode": "one of: absent slow late partial flood binary", "seconds": "count"
            }]},
            "pkgmgr": {"or": ["one of: absent no_service denied silent wrong_type", {
                "mode": "one of: absent no_service denied slow silent wrong_type", "seconds": "count",
                "result": "number", "size": "size or negative", "clear_user_data": "number"
            }]},
            "settings": {"refuse_reads": ["text"], "refuse_writes": ["text"]},
            "launch": ["text"],
            "logger": "number", "settings_service": "number", "picture": "number", "power": "number",
            "video": {"create": "number", "reset": "number"},
            "source": {"create": "number", "query": "number"},
            "network": {"create": "number", "check": "number"},
            "apps": "number",
            "opt": "one of: read-only full",
            "kill_at": "text"
        }
    })json");
    return table;
}

bool IsInt32(const json& value) {
    return value.is_number_integer() &&
           !(value.is_number_unsigned() && value.get<std::uint64_t>() > INT32_MAX) &&
           value.get<std::int64_t>() >= INT32_MIN && value.get<std::int64_t>() <= INT32_MAX;
}

bool IsInt64(const json& value) {
    return value.is_number_integer() &&
           !(value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX);
}

bool IsName(const json& value) {
    if (!value.is_string()) {
        return false;
    }
    const auto& text = value.get_ref<const std::string&>();
    return !text.empty() && text != "." && text != ".." && text.find('/') == std::string::npos &&
           text.find('\0') == std::string::npos;
}

/// Below /opt or /tmp, and no way back up.
bool IsPath(const json& value) {
    if (!value.is_string()) {
        return false;
    }
    const std::filesystem::path path(value.get_ref<const std::string&>());
    for (const std::filesystem::path& part : path) {
        if (part == "..") {
            return false;
        }
    }
    const auto first = std::next(path.begin(), path.is_absolute() ? 1 : 0);
    return path.is_absolute() && first != path.end() && (*first == "opt" || *first == "tmp");
}

struct Type {
    const char* name;
    const char* complaint;
    bool (*fits)(const json&);
};

const Type kTypes[] = {
    {"text", "must be a text", [](const json& v) { return v.is_string(); }},
    {"time", "must be a local time that looks like 2026-01-31T23:59:59",
     [](const json& v) { return v.is_string() && IsEngineTime(v); }},
    {"text or null", "must be a text or null", [](const json& v) { return v.is_string() || v.is_null(); }},
    {"name", "must be a text without '/', not empty, \".\" or \"..\"", IsName},
    {"path", "must be a path below /opt or /tmp without \"..\"", IsPath},
    {"bool", "must be true or false", [](const json& v) { return v.is_boolean(); }},
    {"number", "must be a whole number of 32 bits", IsInt32},
    {"number or bool", "must be a whole number of 32 bits, true or false",
     [](const json& v) { return v.is_boolean() || IsInt32(v); }},
    {"count", "must be a whole number, 0 or greater",
     [](const json& v) { return IsInt32(v) && v.get<int>() >= 0; }},
    {"process", "must be a process number, 2 or greater",
     [](const json& v) { return IsInt32(v) && v.get<int>() >= 2; }},
    {"size", "must be a whole number of bytes, 0 or greater",
     [](const json& v) { return IsInt64(v) && v.get<std::int64_t>() >= 0; }},
    {"size or negative", "must be a whole number of bytes", IsInt64},
};

[[noreturn]] void Complain(const std::string& place, const std::string& complaint) {
    throw SetError(SetError::Kind::Damaged, "set.json: " + (place.empty() ? "" : place + ": ") + complaint);
}

std::string Inside(const std::string& place, const std::string& key) {
    return place.empty() ? key : place + "." + key;
}

std::vector<std::string> Keys(const json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, unused] : object.items()) {
        static_cast<void>(unused);
        keys.push_back(key);
    }
    return keys;
}

void CheckOneOf(const json& value, const std::string& words, const std::string& place) {
    std::istringstream stream(words);
    std::string word;
    while (stream >> word) {
        if (value.is_string() && value.get_ref<const std::string&>() == word) {
            return;
        }
    }
    Complain(place, "must be one of: " + words);
}

void CheckScalar(const json& value, const std::string& type, const std::string& place) {
    static const std::string kOneOf = "one of: ";
    if (type.compare(0, kOneOf.size(), kOneOf) == 0) {
        CheckOneOf(value, type.substr(kOneOf.size()), place);
        return;
    }
    for (const Type& known : kTypes) {
        if (type == known.name && !known.fits(value)) {
            Complain(place, known.complaint);
        }
    }
}

void Check(const json& value, const json& table, const std::string& place);

void CheckAlternatives(const json& value, const json& alternatives, const std::string& place) {
    for (const json& alternative : alternatives) {
        if (alternative.is_object() == value.is_object()) {
            Check(value, alternative, place);
            return;
        }
    }
    Complain(place, "must be a text or an object");
}

void CheckObject(const json& value, const json& table, const std::string& place) {
    if (!value.is_object()) {
        Complain(place, "must be an object");
    }
    const bool anyKey = table.contains("*");
    for (const auto& [key, inner] : value.items()) {
        if (!anyKey && !table.contains(key)) {
            Complain(Inside(place, key), "unknown key" + support::Suggestion(key, Keys(table)));
        }
        Check(inner, anyKey ? table.at("*") : table.at(key), Inside(place, key));
    }
}

void Check(const json& value, const json& table, const std::string& place) {
    if (table.is_string()) {
        CheckScalar(value, table.get<std::string>(), place);
    } else if (table.is_array()) {
        if (!value.is_array()) {
            Complain(place, "must be a list");
        }
        for (std::size_t i = 0; i < value.size(); ++i) {
            Check(value[i], table[0], place + "[" + std::to_string(i) + "]");
        }
    } else if (table.contains("or")) {
        CheckAlternatives(value, table.at("or"), place);
    } else {
        CheckObject(value, table, place);
    }
}

/// Keys of the fault tables that stand for issue codes.
void CheckCodes(const json& description, const char* table) {
    const json::json_pointer at(std::string("/faults/engine/") + table);
    if (!description.contains(at)) {
        return;
    }
    for (const auto& [code, unused] : description.at(at).items()) {
        static_cast<void>(unused);
        const json number = json::parse(code, nullptr, false);
        if (!IsInt32(number) || number.dump() != code) {
            Complain(std::string("faults.engine.") + table + "." + code, "the key must be an issue code");
        }
    }
}

}  // namespace

void CheckDescription(const json& description) {
    Check(description, Table(), "");
    CheckCodes(description, "inference");
    CheckCodes(description, "solution");

    const json apps = description.value("apps", json::array());
    for (std::size_t i = 0; i < apps.size(); ++i) {
        for (const char* key : {"title", "app_id", "package_id"}) {
            if (!apps[i].contains(key)) {
                Complain("apps[" + std::to_string(i) + "]." + key, "is missing");
            }
        }
    }
}

}  // namespace kuraset
