#include "Complaint.h"

#include <vector>

#include "CommandTree.h"
#include "support/NearestName.h"

namespace cli {

namespace {

bool HasVerbs(const CLI::App& app) {
    return !app.get_subcommands([](const CLI::App*) { return true; }).empty();
}

/// The options of the named verb, then those of the verbs above it.
std::vector<const CLI::Option*> OptionsOf(const CLI::App& verb) {
    std::vector<const CLI::Option*> options;
    for (const CLI::App* at = &verb; at != nullptr; at = at->get_parent()) {
        const std::vector<const CLI::Option*> own = at->get_options();
        options.insert(options.end(), own.begin(), own.end());
    }
    return options;
}

/// Suggests the option nearest to a word that starts with a dash, or the verb nearest to another word.
std::string Nearest(const CLI::App& verb, const std::string& word) {
    std::vector<std::string> known;
    if (word.front() != '-') {
        for (const CLI::App* below : verb.get_subcommands([](const CLI::App*) { return true; })) {
            known.push_back(below->get_name());
        }
        return support::Suggestion(word, known);
    }
    for (const CLI::Option* option : OptionsOf(verb)) {
        for (const std::string& name : option->get_lnames()) {
            known.push_back("--" + name);
        }
    }
    return support::Suggestion(word, known);
}

/// Words that no option and no argument takes, and verbs that do not exist or are missing.
std::string Unread(const CLI::App& app, const CLI::App& verb, const CLI::ParseError& error) {
    const std::vector<std::string> rest = app.remaining(true);
    if (!rest.empty() && rest.front().size() > 2 && rest.front().front() == '-') {
        return "no such option: " + rest.front() + Nearest(verb, rest.front());
    }
    if (HasVerbs(verb)) {
        return rest.empty() ? "a verb is missing (kura --help lists them)"
                            : "no such verb: " + rest.front() + Nearest(verb, rest.front());
    }
    const bool tooMuch = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    return tooMuch && !rest.empty() ? "too many words: " + rest.front() : error.what();
}

/// Values that an option lacks, or has too many of. The library's sentence begins with the option's name,
/// which lacks the dashes where a flag is given a value.
std::string Miscounted(const CLI::App& verb, const std::string& sentence) {
    const std::string name = sentence.substr(0, sentence.find_first_of(": "));
    for (const CLI::Option* option : OptionsOf(verb)) {
        if (option->get_name() != name && option->get_single_name() != name) {
            continue;
        }
        if (option->get_items_expected_max() == 0) {
            return option->get_name() + " takes no value";
        }
        const bool many = static_cast<int>(option->results().size()) > option->get_items_expected_max();
        return option->get_name() + (many ? ": given more than once" : ": a value is missing");
    }
    return sentence;
}

}  // namespace

std::string Complaint(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& verb = NamedVerb(app);
    switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
        case CLI::ExitCodes::RequiredError:
        case CLI::ExitCodes::ExtrasError:
            return Unread(app, verb, error);
        case CLI::ExitCodes::ArgumentMismatch:
            return Miscounted(verb, error.what());
        default:
            return error.what();
    }
}

CLI::Validator Between(int least, int most) {
    const CLI::Range range(least, most);
    const std::string words =
        " is not a number from " + std::to_string(least) + " to " + std::to_string(most);
    return CLI::Validator(
        [range, words](std::string& given) { return range(given).empty() ? std::string() : given + words; },
        range.get_description());
}

}  // namespace cli
