#include "CommandTree.h"

#include <sstream>
#include <string>

namespace cli {

namespace {

/// The words of "{int,bool,text}".
Json ChoicesOf(const std::string& value) {
    Json choices = Json::array();
    const std::size_t open = value.find('{');
    const std::size_t close = value.find('}', open);
    if (open == std::string::npos || close == std::string::npos) {
        return choices;
    }
    std::istringstream words(value.substr(open + 1, close - open - 1));
    for (std::string word; std::getline(words, word, ',');) {
        choices.push_back(word);
    }
    return choices;
}

/// Takes "INT in [1 - 3600]" out of "INT:INT in [1 - 3600]", because the check says more than the type. Empty
/// for a flag.
std::string ValueOf(const CLI::Option& option) {
    if (option.get_type_size_max() == 0) {
        return "";
    }
    const std::string type = option.get_type_name();
    const std::size_t colon = type.find(':');
    return colon == std::string::npos ? type : type.substr(colon + 1);
}

Json NamesOf(const CLI::Option& option) {
    Json names = Json::array();
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

Json DescribeOption(const CLI::Option& option) {
    const std::string value = ValueOf(option);
    Json described = option.get_positional() ? Json{{"name", option.get_name(true, false)}}
                                             : Json{{"names", NamesOf(option)}};
    described["description"] = option.get_description();
    described["value"] = value;
    described["choices"] = ChoicesOf(value);
    described["required"] = option.get_required();
    described["repeatable"] = option.get_items_expected_max() > 1;
    described["default"] = option.get_default_str();
    return described;
}

}  // namespace

Json DescribeCommand(const CLI::App& app) {
    Json arguments = Json::array();
    Json options = Json::array();
    for (const CLI::Option* option : app.get_options()) {
        const bool repeatsRoot = app.get_parent() != nullptr && option == app.get_help_ptr();
        if (!option->get_group().empty() && !repeatsRoot) {
            (option->get_positional() ? arguments : options).push_back(DescribeOption(*option));
        }
    }
    Json commands = Json::array();
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!verb->get_group().empty()) {
            commands.push_back(DescribeCommand(*verb));
        }
    }
    return {
        {"name", app.get_name()}, {"description", app.get_description()},
        {"arguments", arguments}, {"options", options},
        {"commands", commands},
    };
}

const CLI::App& NamedVerb(const CLI::App& app) {
    const CLI::App* verb = &app;
    while (!verb->get_subcommands().empty()) {
        verb = verb->get_subcommands().front();
    }
    return *verb;
}

}  // namespace cli
