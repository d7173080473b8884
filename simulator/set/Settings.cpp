// The settings keys are one JSON object in settings.json. A writer holds the lock of a file beside it from
// the read to the rename, so that no process loses another's write. Readers need no lock, because the file is
// replaced whole.
#include "KuraSet.h"

#include <cstdint>
#include <functional>

#include "FileAccess.h"

namespace kuraset {

namespace {

bool IsSettingValue(const json& value) {
    if (value.is_string() || value.is_boolean()) {
        return true;
    }
    if (!value.is_number_integer() ||
        (value.is_number_unsigned() && value.get<std::uint64_t>() > INT32_MAX)) {
        return false;
    }
    return value.get<std::int64_t>() >= INT32_MIN && value.get<std::int64_t>() <= INT32_MAX;
}

void CheckSetting(const std::string& key, const json& value) {
    if (!IsSettingValue(value)) {
        throw SetError(
            SetError::Kind::Damaged,
            "settings.json: " + key + ": must be a whole number of 32 bits, true, false or a text");
    }
}

void Change(const SetDirectory& set, const std::function<bool(json&)>& change) {
    const FileLock lock(set.Path() / ".settings.lock");
    json settings = set.ListSettings();
    if (change(settings)) {
        ReplaceWhole(set.SettingsPath(), settings.dump(4, ' ', false, json::error_handler_t::replace) + "\n");
    }
}

}  // namespace

json SetDirectory::ListSettings() const {
    const std::optional<std::string> text = ReadWhole(SettingsPath());
    if (!text) {
        return json::object();
    }
    json settings = json::parse(*text, nullptr, false);
    if (!settings.is_object()) {
        throw SetError(SetError::Kind::Damaged, SettingsPath().string() + ": is not a JSON object");
    }
    for (const auto& [key, value] : settings.items()) {
        CheckSetting(key, value);
    }
    return settings;
}

std::optional<json> SetDirectory::GetSetting(const std::string& key) const {
    json settings = ListSettings();
    const auto found = settings.find(key);
    return found == settings.end() ? std::nullopt : std::optional<json>(*found);
}

void SetDirectory::SetSetting(const std::string& key, const json& value) const {
    CheckSetting(key, value);
    Change(*this, [&](json& settings) {
        settings[key] = value;
        return true;
    });
}

bool SetDirectory::RemoveSetting(const std::string& key) const {
    bool removed = false;
    Change(*this, [&](json& settings) {
        removed = settings.erase(key) > 0;
        return removed;
    });
    return removed;
}

}  // namespace kuraset
