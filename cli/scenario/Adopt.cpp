#include "Adopt.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "Patterns.h"

namespace scenario {

namespace {

Json Adopt(const std::string& name, const Json& pattern, const Json& happened);

bool Fits(const std::string& name, const Json& pattern, const Json& happened) {
    return !Match(LongForm(name, pattern), happened);
}

/// Keeps the members that the pattern looks at.
Json AdoptMembers(const std::string& name, const Json& pattern, const Json& happened) {
    Json adopted = Json::object();
    for (const auto& [key, member] : pattern.items()) {
        adopted[key] = Adopt(name, member, happened.value(key, Json()));
    }
    return adopted;
}

/// Keeps the elements that fit, in their order. Another one is written as the one in its place was.
Json AdoptElements(const std::string& name, const Json& patterns, const Json& happened) {
    if (std::any_of(patterns.begin(), patterns.end(), IsMatcher)) {
        return patterns;
    }
    Json adopted = Json::array();
    std::size_t next = 0;
    for (const Json& element : happened) {
        std::size_t fitting = next;
        while (fitting < patterns.size() && !Fits(name, patterns[fitting], element)) {
            ++fitting;
        }
        if (fitting < patterns.size()) {
            adopted.push_back(patterns[fitting]);
            next = fitting + 1;
        } else if (next < patterns.size() && patterns[next].is_object() && element.is_object()) {
            adopted.push_back(AdoptMembers("", patterns[next], element));
        } else {
            adopted.push_back(ShortForm(name, element));
        }
    }
    return adopted;
}

Json Adopt(const std::string& name, const Json& pattern, const Json& happened) {
    if (Fits(name, pattern, happened) || IsMatcher(pattern)) {
        return pattern;
    }
    if (pattern.is_array() && happened.is_array()) {
        return AdoptElements(name, pattern, happened);
    }
    if (pattern.is_object() && happened.is_object()) {
        return AdoptMembers(name == "files" ? name : "", pattern, happened);
    }
    return happened.is_array() ? AdoptElements(name, Json::array(), happened) : ShortForm(name, happened);
}

/// A kind without calls counts as an empty list.
Json AdoptCalls(const Json& calls, const Json& happened) {
    Json adopted = Json::object();
    for (const auto& [kind, pattern] : calls.items()) {
        adopted[kind] = Adopt("", pattern, happened.value(kind, Json::array()));
    }
    return adopted;
}

void AdoptMoment(Json& holder, const Moment& moment) {
    Json& expect = holder["expect"];
    if (moment.exit == 0) {
        expect.erase("exit");
    } else if (moment.exit) {
        expect["exit"] = *moment.exit;
    }
    for (auto& [name, pattern] : expect.items()) {
        if (name == "exit" || name == "log" || name == "no_log" || !Compare(name, pattern, moment)) {
            continue;
        }
        const Json happened = Happened(moment, name);
        pattern = name == "calls" ? AdoptCalls(pattern, happened) : Adopt(name, pattern, happened);
    }
    if (expect.empty()) {
        holder.erase("expect");
    }
}

}  // namespace

Json Adopted(Json document, const Observation& observation) {
    Json& steps = document.at("steps");
    for (std::size_t i = 0; i < steps.size(); ++i) {
        AdoptMoment(steps[i], observation.steps.at(i));
    }
    AdoptMoment(document, observation.end);
    return document;
}

}  // namespace scenario
