#include "Meaning.h"

#include "Number32.h"

namespace kuramap {

namespace {

std::string InQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string NumberText(std::string_view text) {
    return std::to_string(Number32::Read(text).Signed());
}

std::string OperationEffect(const Entry& entry) {
    struct Row {
        std::string_view name;
        std::string_view effect;
    };
    static constexpr Row kRows[] = {
        {"ResetPictureSize", "resets the picture size"},
        {"voiceguide_on", "sets the settings item \"voiceguide_on\" to \"voiceguide\""},
        {"caption-setting", "sets the settings item \"caption-setting\" to \"caption\""},
        {"subtitle-setting", "sets the settings item \"subtitle-setting\" to \"subtitle\""},
        {"performDeepClean", "has the agent remove temporary files, for up to 10 seconds"},
        {"ResetOnOffTimer", "clears the on and off timers"},
    };
    const std::string& name = entry.Text(Field::kActionName);
    if (name == "pixo_reset_picture") {
        return "resets the settings of picture mode " + NumberText(entry.FirstValue());
    }
    for (const Row& row : kRows) {
        if (row.name == name) {
            return std::string(row.effect);
        }
    }
    return "does nothing: there is no operation " + InQuotes(name);
}

std::string ScreenEffect(const std::string& name) {
    if (name == "ShowSignalInfo") {
        return "opens the signal page of the current input";
    }
    if (name == "ShowMgrStorage") {
        return "leaves the issue list and opens the host's storage page";
    }
    if (name == "ShowSoundTest") {
        return "launches the sound test";
    }
    return "does nothing: there is no screen " + InQuotes(name);
}

}  // namespace

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
    const std::string& type = entry.Text(Field::kActionType);
    const std::string& name = entry.Text(Field::kActionName);
    if (type == "VCONFSET_BOOL" || type == "VCONFSET_INT") {
        return "writes " + NumberText(entry.FirstValue()) + " to the settings key " + InQuotes(name) +
               (type == "VCONFSET_BOOL" ? " as a boolean" : " as a number");
    }
    if (type == "VCONFSET_STR") {
        return "writes " + InQuotes(entry.FirstValue()) + " to the settings key " + InQuotes(name) +
               " as a text";
    }
    if (type == "SettingsAPI") {
        return "sets the settings item " + InQuotes(name) + " to " + InQuotes(entry.FirstValue());
    }
    if (type == "API") {
        return OperationEffect(entry);
    }
    if (type == "MSGPORT") {
        return ScreenEffect(name);
    }
    if (type == "CMD") {
        return "hands the command " + InQuotes(name) + " to the agent";
    }
    if (type == "LAUNCH") {
        return "launches the application " + InQuotes(name);
    }
    return type == "INFO" ? "does nothing to the set; the user is told"
                          : "does nothing: there is no action type " + InQuotes(type);
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
