// Facts of the set from set.json: system information, the state of the network and the consent items.
#include <cstdlib>
#include <cstring>

#include "CurrentSet.h"
#include "connection.h"
#include "home_data_control.h"
#include "system_info.h"

namespace {

using kuraset::CurrentSet;
using kuraset::Entry;
using kuraset::json;
using kuraset::kFailed;

constexpr int kSeries = 0;
constexpr int kSerialNumber = 187;

/// These keys read the panel's size from set.json unless "features" overrides them.
constexpr const char* kPanelFeatures[][2] = {
    {"com.norvik/featureconf/panel_resolution_width", "/panel/width"},
    {"com.norvik/featureconf/panel_resolution_height", "/panel/height"},
};

json Feature(const char* key) {
    CurrentSet& set = CurrentSet::Get();
    if (key == nullptr) {
        return nullptr;
    }
    const auto description = set.Description();
    const json features = description->value("features", json::object());
    if (features.contains(key)) {
        return features.at(key);
    }
    for (const auto& [feature, place] : kPanelFeatures) {
        if (std::strcmp(key, feature) == 0 && set.Contains(place)) {
            return description->at(json::json_pointer(place));
        }
    }
    return nullptr;
}

/// Null when the set has no such fact, or says that it cannot be read.
json Fact(int key) {
    const auto description = CurrentSet::Get().Description();
    const json info = description->value("info", json::object());
    const std::string number = std::to_string(key);
    if (info.contains(number)) {
        return info.at(number);
    }
    if (key == kSeries || key == kSerialNumber) {
        const char* name = key == kSeries ? "series" : "serial";
        return description->contains(name) ? description->at(name) : json();
    }
    return nullptr;
}

void NoteFact(const char* kind, const char* function, const std::string& what, const Entry& value,
              int result) {
    Entry entry{{"kind", kind}, {"op", function}, {"key", what}};
    entry["value"] = value;
    entry["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(what.empty() ? function : std::string(function) + ":" + what, entry);
}

template <typename Value>
int AnswerFeature(const char* function, const char* key, Value* value, bool (json::*fits)() const noexcept) {
    try {
        const json feature = Feature(key);
        const bool known = value != nullptr && (feature.*fits)();
        if (known) {
            *value = feature.get<Value>();
        }
        const int result = known ? 0 : kFailed;
        NoteFact("system", function, kuraset::TextOrEmpty(key), Entry(feature), result);
        return result;
    } catch (...) {
        return kFailed;
    }
}

}  // namespace

extern "C" {

int system_info_get_value_string(int key, char** value) {
    try {
        const json fact = Fact(key);
        char* text = fact.is_string() ? strdup(fact.get_ref<const std::string&>().c_str()) : nullptr;
        const int result = value != nullptr && text != nullptr ? 0 : kFailed;
        if (result == 0) {
            *value = text;
        } else {
            std::free(text);
        }
        NoteFact("system", __func__, std::to_string(key), Entry(fact), result);
        return result;
    } catch (...) {
        return kFailed;
    }
}

int system_info_get_custom_int(const char* key, int* value) {
    return AnswerFeature(__func__, key, value, &json::is_number_integer);
}

int system_info_get_custom_bool(const char* key, bool* value) {
    return AnswerFeature(__func__, key, value, &json::is_boolean);
}

int connection_create(connection_h* handle) {
    CurrentSet& set = CurrentSet::Get();
    const int fault = set.Number("/faults/network/create", 0);
    const bool available = set.Read<bool>("/network/available", true);
    const int result = handle == nullptr || !available ? kFailed : fault;
    if (result == 0) {
        *handle = std::malloc(1);
    }
    NoteFact("network", __func__, "", nullptr, result);
    return result;
}

int connection_profile_check_default_gateway(bool* connected) {
    CurrentSet& set = CurrentSet::Get();
    const bool reachable = set.Read<bool>("/network/connected", true);
    const int result = connected == nullptr ? kFailed : set.Number("/faults/network/check", 0);
    if (result == 0) {
        *connected = reachable;
    }
    NoteFact("network", __func__, "", reachable, result);
    return result;
}

int connection_destroy(connection_h handle) {
    std::free(handle);
    NoteFact("network", __func__, "", nullptr, handle == nullptr ? kFailed : 0);
    return handle == nullptr ? kFailed : 0;
}
}

CHomeDataControlAPI* CHomeDataControlAPI::GetInstance() {
    static CHomeDataControlAPI* const control = new CHomeDataControlAPI;
    return control;
}

bool CHomeDataControlAPI::IsDisclaimerItemExist(std::string item, std::string device) {
    CurrentSet& set = CurrentSet::Get();
    const bool exists = set.Lists("/terms", item);
    Entry entry{{"kind", "consent"}, {"item", kuraset::Legible(item)}, {"device", kuraset::Legible(device)}};
    entry["exists"] = exists;
    set.NoteAndMaybeDie("IsDisclaimerItemExist:" + item, entry);
    return exists;
}
