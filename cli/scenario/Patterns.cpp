#include "Patterns.h"

#include <cstddef>
#include <regex>

#include "support/NearestName.h"

namespace scenario {

namespace {

constexpr const char* kContains = "$contains";
constexpr const char* kMatches = "$matches";

Mismatch Different(const std::string& place, const Json& pattern, const Json& value) {
    return {place, InShort(pattern), InShort(value)};
}

std::optional<Mismatch> MatchContains(const Json& part, const Json& value, const std::string& place) {
    if (part.is_array() && value.is_array()) {
        const auto missing = FirstMissing(part, value);
        if (!missing) {
            return std::nullopt;
        }
        return Mismatch{place,
                        "an element " + InShort(part[*missing]) + " (" + kContains + "[" +
                            std::to_string(*missing) + "])",
                        InShort(value)};
    }
    if (part.is_string() && value.is_string() &&
        value.get_ref<const std::string&>().find(part.get_ref<const std::string&>()) != std::string::npos) {
        return std::nullopt;
    }
    return Mismatch{place, "something with " + InShort(part), InShort(value)};
}

std::optional<Mismatch> MatchRegex(const Json& expression, const Json& value, const std::string& place) {
    if (value.is_string() &&
        std::regex_match(value.get_ref<const std::string&>(), std::regex(expression.get<std::string>()))) {
        return std::nullopt;
    }
    return Mismatch{place, "a text like " + InShort(expression), InShort(value)};
}

std::optional<Mismatch> MatchList(const Json& pattern, const Json& value, const std::string& place) {
    for (std::size_t i = 0; i < pattern.size() || i < value.size(); ++i) {
        const std::string at = place + "[" + std::to_string(i) + "]";
        if (i >= value.size()) {
            return Mismatch{at, InShort(pattern[i]), "nothing"};
        }
        if (i >= pattern.size()) {
            return Mismatch{at, "nothing", InShort(value[i])};
        }
        if (auto mismatch = Match(pattern[i], value[i], at)) {
            return mismatch;
        }
    }
    return std::nullopt;
}

std::optional<Mismatch> MatchObject(const Json& pattern, const Json& value, const std::string& place) {
    for (const auto& [key, member] : pattern.items()) {
        std::string at = place;
        at.append(place.empty() ? "" : ".").append(key);
        const auto found = value.find(key);
        if (found == value.end()) {
            if (member.is_null()) {
                continue;
            }
            return Mismatch{at, InShort(member), "nothing"};
        }
        if (auto mismatch = Match(member, *found, at)) {
            return mismatch;
        }
    }
    return std::nullopt;
}

}  // namespace

bool IsMatcher(const Json& pattern) {
    return pattern.is_object() && pattern.size() == 1 && pattern.begin().key().rfind('$', 0) == 0;
}

std::optional<Mismatch> Match(const Json& pattern, const Json& value, const std::string& place) {
    if (IsMatcher(pattern)) {
        const Json& operand = pattern.begin().value();
        return pattern.contains(kContains) ? MatchContains(operand, value, place)
                                           : MatchRegex(operand, value, place);
    }
    if (pattern.is_object() && value.is_object()) {
        return MatchObject(pattern, value, place);
    }
    if (pattern.is_array() && value.is_array()) {
        return MatchList(pattern, value, place);
    }
    if (pattern == value) {
        return std::nullopt;
    }
    return Different(place, pattern, value);
}

std::optional<std::size_t> FirstMissing(const Json& patterns, const Json& values) {
    std::size_t next = 0;
    for (const Json& value : values) {
        if (next < patterns.size() && !Match(patterns[next], value)) {
            ++next;
        }
    }
    return next == patterns.size() ? std::nullopt : std::optional<std::size_t>(next);
}

std::optional<support::JsonComplaint> CheckPattern(const Json& pattern, const JsonPlace& place) {
    using Complaint = support::JsonComplaint;
    if (pattern.is_object()) {
        for (const auto& [key, member] : pattern.items()) {
            const JsonPlace at = place / key;
            const bool matcher = key.rfind('$', 0) == 0;
            if (matcher && key != kContains && key != kMatches) {
                return Complaint{at,
                                 "unknown way to compare" + support::Suggestion(key, {kContains, kMatches})};
            }
            if (matcher && pattern.size() != 1) {
                return Complaint{at, "must stand alone in its object"};
            }
            if (key == kContains && !member.is_string() && !member.is_array()) {
                return Complaint{at, "must be a text or a list"};
            }
            if (key == kMatches) {
                try {
                    std::regex(member.get<std::string>());
                } catch (const std::exception&) {
                    return Complaint{at, "must be a regular expression"};
                }
            }
            if (auto fault = CheckPattern(member, at)) {
                return fault;
            }
        }
    } else if (pattern.is_array()) {
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (auto fault = CheckPattern(pattern[i], place / i)) {
                return fault;
            }
        }
    }
    return std::nullopt;
}

std::string InShort(const Json& value) {
    constexpr std::size_t kLongest = 400;
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() <= kLongest) {
        return text;
    }
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) {
        --end;
    }
    return text.substr(0, end) + " ... (" + std::to_string(text.size()) + " characters)";
}

const std::vector<std::string>& JournalKinds() {
    static const std::vector<std::string> kinds = {"setting", "launch",  "engine",  "event",   "source",
                                                   "video",   "picture", "power",   "network", "system",
                                                   "consent", "apps",    "package", "agent",   "screen"};
    return kinds;
}

std::vector<std::string> LineKinds() {
    std::vector<std::string> kinds = JournalKinds();
    kinds.insert(kinds.end(), {"log", "run", "damaged"});
    return kinds;
}

}  // namespace scenario
