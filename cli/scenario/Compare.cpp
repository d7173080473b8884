#include "Compare.h"

#include <cstddef>

#include "Patterns.h"

namespace scenario {

namespace {

/// Turns the short forms of an expectation's elements into long ones.
Json LongForms(const std::string& name, const Json& pattern) {
    if (pattern.is_array()) {
        Json elements = Json::array();
        for (const Json& element : pattern) {
            elements.push_back(LongForm(name, element));
        }
        return elements;
    }
    if (name == "files") {
        Json files = Json::object();
        for (const auto& [path, content] : pattern.items()) {
            files[path] = LongForm(name, content);
        }
        return files;
    }
    if (pattern.is_object() && pattern.contains("$contains") && name != "answer" && name != "settings") {
        return {{"$contains", LongForms(name, pattern.at("$contains"))}};
    }
    return pattern;
}

std::optional<Mismatch> CompareLog(const Json& lines, const Json& happened) {
    const auto missing = FirstMissing(lines, happened);
    if (!missing) {
        return std::nullopt;
    }
    return Mismatch{"log[" + std::to_string(*missing) + "]", InShort(lines[*missing]),
                    "no such line, or not behind the ones before"};
}

std::optional<Mismatch> CompareNoLog(const Json& lines, const Json& happened) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        for (const Json& line : happened) {
            if (!Match(lines[i], line)) {
                return Mismatch{"no_log[" + std::to_string(i) + "]", "no line like " + InShort(lines[i]),
                                InShort(line)};
            }
        }
    }
    return std::nullopt;
}

/// Compares the calls of each expected kind. A kind without calls counts as an empty list.
std::optional<Mismatch> CompareCalls(const Json& calls, const Json& happened) {
    for (const auto& [kind, pattern] : calls.items()) {
        const Json entries = happened.value(kind, Json::array());
        if (auto mismatch = Match(pattern, entries, "calls." + kind)) {
            return mismatch;
        }
    }
    return std::nullopt;
}

/// The reason for the verb's exit code, in words behind it.
std::string Reason(const Moment& moment) {
    const Json answer = moment.answer.is_object() ? moment.answer : Json::object();
    const Json error = answer.value("error", Json::object());
    const std::string message = error.value("message", moment.errors.substr(0, moment.errors.find('\n')));
    return message.empty() ? "" : " (" + message + ")";
}

void CompareMoment(const std::string& step, const Json& expect, const Moment& moment,
                   std::vector<Difference>& differences) {
    if (moment.exit && *moment.exit != expect.value("exit", 0)) {
        differences.push_back({step, "exit", std::to_string(expect.value("exit", 0)),
                               std::to_string(*moment.exit) + Reason(moment)});
    }
    for (const auto& [name, pattern] : expect.items()) {
        if (name == "exit") {
            continue;
        }
        if (const auto mismatch = Compare(name, pattern, moment)) {
            differences.push_back({step, mismatch->place, mismatch->expected, mismatch->happened});
        }
    }
}

}  // namespace

std::string DifferenceText(const Difference& difference, const std::string& indentation) {
    return indentation + difference.step + ": " + difference.place + "\n" + indentation + "- " +
           difference.expected + "\n" + indentation + "+ " + difference.happened + "\n";
}

std::optional<Mismatch> Compare(const std::string& name, const Json& pattern, const Moment& moment) {
    const Json expected = LongForms(name, pattern);
    const Json happened = Happened(moment, name);
    if (name == "log") {
        return CompareLog(expected, happened);
    }
    if (name == "no_log") {
        return CompareNoLog(expected, happened);
    }
    if (name == "calls") {
        return CompareCalls(expected, happened);
    }
    return Match(expected, happened, name);
}

std::vector<Difference> Differences(const Scenario& scenario, const Observation& observation) {
    std::vector<Difference> differences;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        const Step& step = scenario.steps[i];
        const std::string title = "step " + std::to_string(i + 1) + " \"" + step.name + "\"";
        CompareMoment(title, step.expect, observation.steps.at(i), differences);
    }
    CompareMoment("the end", scenario.expect, observation.end, differences);
    return differences;
}

}  // namespace scenario
