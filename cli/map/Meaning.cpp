#include "Meaning.h"

#include "Actions.h"
#include "Number32.h"

namespace kuramap {

bool operator==(const EntryValue& a, const EntryValue& b) {
    return a.value == b.value && a.type == b.type;
}

bool operator==(const Entry& a, const Entry& b) {
    return a.fields == b.fields && a.values == b.values;
}

bool operator==(const Meaning& a, const Meaning& b) {
    return a.version == b.version && a.count == b.count && a.entries == b.entries;
}

Meaning MeaningOf(const SolutionMap& map) {
    Meaning meaning;
    meaning.version = map.Version();
    meaning.count = map.DeclaredCount();
    meaning.entries.reserve(map.Solutions().size());
    for (const Solution& solution : map.Solutions()) {
        Entry& entry = meaning.entries.emplace_back();
        for (std::size_t i = 0; i < kFieldCount; ++i) {
            entry.fields[i] = map.TextOf(solution.fields[i]);
        }
        for (std::uint32_t i = 0; i < solution.valueCount; ++i) {
            const Value& value = map.Values()[solution.firstValue + i];
            entry.values.push_back(
                {std::string(map.TextOf(value.value)), std::string(map.TextOf(value.type))});
        }
    }
    return meaning;
}

std::string EffectOf(const Entry& entry) {
    return EffectOfAction(entry.Text(Field::kActionType), entry.Text(Field::kActionName), entry.FirstValue());
}

std::string VisibilityOf(const Entry& entry) {
    if (entry.Text(Field::kGround) == "bg") {
        return "never: a background issue is not evaluated";
    }
    if (entry.Text(Field::kAuthority) != "USER") {
        return "never: it is evaluated, but not for the user";
    }
    const std::string& source = entry.Text(Field::kSource);
    if (source == "DTV") {
        return "while a digital channel is the input";
    }
    return source == "HDMI" ? "while HDMI is the input" : "on every input";
}

bool IsOnDemand(const Entry& entry) {
    const std::int32_t code = Number32::Read(entry.Text(Field::kIssueCode)).Signed();
    return code >= 10000000 && code < 20000000;
}

}  // namespace kuramap
