// The set's settings keys, from settings.json. A key can be read only in the type that it holds.
#include "vconf.h"

#include <cstring>

#include "CurrentSet.h"

namespace {

using kuraset::CurrentSet;
using kuraset::Entry;
using kuraset::json;
using kuraset::kFailed;

void NoteSetting(const char* function, const char* operation, const std::string& key, const Entry& value,
                 int result) {
    Entry entry{{"kind", "setting"}, {"op", operation}, {"key", kuraset::Legible(key)}};
    entry["value"] = value;
    entry["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(std::string(function) + ":" + key, entry);
}

std::optional<json> Fetch(const char* key) {
    CurrentSet& set = CurrentSet::Get();
    if (key == nullptr || set.Lists("/faults/settings/refuse_reads", key)) {
        return std::nullopt;
    }
    return set.Setting(key);
}

int Store(const char* function, const char* operation, const char* key, const json& value) {
    try {
        CurrentSet& set = CurrentSet::Get();
        const bool refused = key == nullptr || set.Lists("/faults/settings/refuse_writes", key);
        const int result = !refused && set.PutSetting(key, value) ? 0 : kFailed;
        NoteSetting(function, operation, kuraset::TextOrEmpty(key), Entry(value), result);
        return result;
    } catch (...) {
        return kFailed;
    }
}

}  // namespace

extern "C" {

int vconf_get_int(const char* key, int* value) {
    try {
        const std::optional<json> held = Fetch(key);
        const bool found = value != nullptr && held && held->is_number_integer();
        if (found) {
            *value = held->get<int>();
        }
        const int result = found ? 0 : kFailed;
        NoteSetting(__func__, "get_int", kuraset::TextOrEmpty(key), found ? Entry(*held) : Entry(), result);
        return result;
    } catch (...) {
        return kFailed;
    }
}

char* vconf_get_str(const char* key) {
    try {
        const std::optional<json> held = Fetch(key);
        const bool found = held && held->is_string();
        NoteSetting(__func__, "get_str", kuraset::TextOrEmpty(key), found ? Entry(*held) : Entry(),
                    found ? 0 : kFailed);
        return found ? strdup(held->get_ref<const std::string&>().c_str()) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

int vconf_set_int(const char* key, int value) {
    return Store(__func__, "set_int", key, value);
}

int vconf_set_bool(const char* key, int value) {
    return Store(__func__, "set_bool", key, value != 0);
}

int vconf_set_str(const char* key, const char* value) {
    return value == nullptr ? kFailed : Store(__func__, "set_str", key, kuraset::Legible(value));
}
}
