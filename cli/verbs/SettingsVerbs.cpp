#include <iostream>
#include <memory>

#include "Verbs.h"
#include "frame/TableVerbs.h"

namespace cli {

namespace {

const Table::Columns kSettingColumns = {{"KEY"}, {"VALUE"}};

struct SettingOptions {
    std::string key;
    std::string value;
    std::string type;
};

bool IsInt32(const std::string& text) {
    if (text.empty() || text.size() > 11 || text.find_first_not_of("-0123456789") != std::string::npos) {
        return false;
    }
    try {
        std::size_t used = 0;
        const long long number = std::stoll(text, &used);
        return used == text.size() && number >= INT32_MIN && number <= INT32_MAX;
    } catch (const std::exception&) {
        return false;
    }
}

/// The value in the type that was asked for. Without one it takes the type of the key's old value, or else
/// the type that the text looks like.
nlohmann::json TypedValue(const SettingOptions& options, const std::optional<nlohmann::json>& old) {
    std::string type = options.type;
    if (type.empty() && old) {
        type = old->is_boolean() ? "bool" : old->is_number() ? "int" : "text";
    }
    if (type.empty()) {
        type = IsInt32(options.value)                                ? "int"
               : options.value == "true" || options.value == "false" ? "bool"
                                                                     : "text";
    }
    if (type == "int") {
        if (!IsInt32(options.value)) {
            throw VerbError(ExitCode::kUsage,
                            options.key + ": not a whole number of 32 bits: " + options.value);
        }
        return std::stoi(options.value);
    }
    if (type == "bool") {
        if (options.value != "true" && options.value != "false") {
            throw VerbError(ExitCode::kUsage, options.key + ": neither true nor false: " + options.value);
        }
        return options.value == "true";
    }
    return options.value;
}

Outcome OneSetting(const std::string& key, const nlohmann::json& value) {
    const Json document = {{"key", key}, {"value", ToDocument(value)}};
    return {document, [document] { std::cout << Shown(document.at("value")) << '\n'; }};
}

Outcome GetSetting(const Session& session, const std::string& key) {
    const auto value = session.OpenSet().GetSetting(key);
    if (!value) {
        throw VerbError(ExitCode::kNoSuchItem, "no such settings key: " + key);
    }
    return OneSetting(key, *value);
}

Outcome SetSetting(const Session& session, const SettingOptions& options) {
    const auto set = session.OpenSet();
    const nlohmann::json value = TypedValue(options, set.GetSetting(options.key));
    set.SetSetting(options.key, value);
    return OneSetting(options.key, value);
}

Outcome ListSettings(const Session& session) {
    const Json document = {{"settings", ToDocument(session.OpenSet().ListSettings())}};
    return {document, [document] {
                Table table(kSettingColumns);
                for (const auto& [key, value] : document.at("settings").items()) {
                    table.AddRow({key, Shown(value)});
                }
                table.Print();
            }};
}

}  // namespace

void AddSettingsVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb = app.add_subcommand("settings", "The set's settings keys");
    verb->require_subcommand(1);
    auto options = std::make_shared<SettingOptions>();

    CLI::App* get = verb->add_subcommand("get", "The value of one key");
    get->add_option("key", options->key, "Settings key")->type_name("KEY")->required();
    Declare(get, selection, Place::kOutside,
            [&session, options] { return GetSetting(session, options->key); });

    CLI::App* set = verb->add_subcommand("set", "Write one key");
    set->add_option("key", options->key, "Settings key")->type_name("KEY")->required();
    set->add_option("value", options->value, "Value")->required();
    set->add_option("--type", options->type, "int, bool or text")
        ->check(CLI::IsMember({"int", "bool", "text"}));
    Declare(set, selection, Place::kOutside, [&session, options] { return SetSetting(session, *options); });

    CLI::App* list = verb->add_subcommand("list", "All keys");
    PrintsTable(list, kSettingColumns);
    Declare(list, selection, Place::kOutside, [&session] { return ListSettings(session); });
}

}  // namespace cli
