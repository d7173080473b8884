#include "RandomSet.h"

namespace explain {

namespace {

using nlohmann::json;

const std::vector<IssueCode> kCodes = {
    {"1001", 1001},
    {"1002", 1002},
    {"01001", 1001},
    {"10000001", 10000001},
    {"19999999", 19999999},
    {"20000000", 20000000},
    {"9999999", 9999999},
    {"abc", 0},
    {"-5", -5},
    {"1001 ", 1001},
    {"99999999999", 2147483647},
};

const std::vector<std::string> kTimes = {"2025-01-01T00:00:00", "2025-01-01T00:00:01", "2025-06-30T12:00:00",
                                         "2025-12-31T23:59:59"};
const std::vector<std::string> kSources = {"ALL", "DTV", "HDMI", "", "tv"};
const std::vector<int> kInputs = {0, 13, 46, 5};

struct Action {
    const char* type;
    const char* name;
    const char* value;
};
const std::vector<Action> kActions = {
    {"VCONFSET_INT", "db/menu/picture/backlight", "35"},
    {"VCONFSET_INT", "db/menu/picture/backlight", "-1x"},
    {"VCONFSET_BOOL", "db/menu/picture/eco_sensor", "1"},
    {"VCONFSET_STR", "db/menu/picture/mode", "standard"},
    {"API", "pixo_reset_picture", "2"},
    {"API", "ResetPictureSize", ""},
    {"API", "voiceguide_on", ""},
    {"API", "ResetOnOffTimer", ""},
    {"API", "no such operation", ""},
    {"LAUNCH", "org.vesta.picture-test", ""},
    {"LAUNCH", "", ""},
    {"INFO", "note", ""},
    {"MSGPORT", "ShowSignalInfo", ""},
    {"MSGPORT", "ShowMgrStorage", ""},
    {"MSGPORT", "NoSuchScreen", ""},
    {"SettingsAPI", "sound_mode", "standard"},
    {"CMD", "true", ""},
    {"CMD", "rm, sol_name : x", ""},
    {"NO_SUCH_TYPE", "x", ""},
};

Entry RandomEntry(Dice& dice) {
    const Action& action = dice.Any(kActions);
    return {dice.Any(kCodes),   std::to_string(dice.Roll(5)),
            action.type,        action.name,
            action.value,       dice.Chance(15) ? "bg" : "fg",
            dice.Any(kSources), dice.Chance(75) ? "USER" : "SERVICE"};
}

std::string Attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + "\"";
}

std::string Document(const Situation& situation) {
    std::string text = "<solutionmap><sm cnt=\"" + std::to_string(situation.declared) + "\"/>";
    for (const Entry& entry : situation.entries) {
        text += "<solution" + Attribute("issue_code", entry.code.text) +
                Attribute("sol_code", entry.solution) + Attribute("sol_type", entry.type) +
                Attribute("sol_name", entry.name) + Attribute("is_fg_bg", entry.ground) +
                Attribute("source", entry.source) + Attribute("view_authority", entry.viewer) + "><sol_val" +
                Attribute("param_value", entry.value) + "/></solution>";
    }
    return text + "</solutionmap>";
}

std::size_t RandomCount(Dice& dice, std::size_t size) {
    if (dice.Chance(85)) {
        return size;
    }
    return dice.Chance(50) ? size + 1 : dice.Roll(size + 1);
}

json RandomFaults(Dice& dice) {
    json faults = json::object();
    if (dice.Chance(60)) {
        return faults;
    }
    const auto code = [&dice] { return std::to_string(dice.Any(kCodes).number); };
    const std::vector<int> results = {0, 4, 7};
    for (int i = 0; i < 2; ++i) {
        switch (dice.Roll(12)) {
            case 0:
                faults["engine"]["inference"][code()][dice.Chance(50) ? "true" : "false"] = dice.Any(results);
                break;
            case 1:
                faults["engine"]["solution"][code()] = dice.Any(results);
                break;
            case 2:
                faults["engine"]["subscribe"] = 3;
                break;
            case 3:
                faults["engine"]["silent"] = true;
                break;
            case 4:
                faults["engine"]["record"] = 5;
                break;
            case 5:
                faults["settings"]["refuse_writes"] = {"*"};
                break;
            case 6:
                faults["settings"]["refuse_writes"] = {"db/menu/picture/backlight"};
                break;
            case 7:
                faults["launch"] = {"*"};
                break;
            case 8:
                faults["picture"] = -4;
                break;
            case 9:
                faults["power"] = -4;
                break;
            case 10:
                faults["video"]["reset"] = -5;
                break;
            default:
                faults["settings_service"] = -4;
                break;
        }
    }
    return faults;
}

}  // namespace

Situation RandomSituation(Dice& dice) {
    Situation situation;
    bool hasCommand = false;
    for (std::size_t count = dice.Roll(6); count > 0; --count) {
        Entry entry = RandomEntry(dice);
        // Of two commands in a row the agent takes up whichever it finds: no two runs are alike.
        entry.type = entry.type == "CMD" && hasCommand ? "INFO" : entry.type;
        hasCommand = hasCommand || entry.type == "CMD";
        situation.entries.push_back(entry);
    }
    situation.declared = RandomCount(dice, situation.entries.size());
    situation.map = Document(situation);
    if (dice.Chance(3)) {
        situation.map = "<solutionmap><sol_val param_value=\"1\"/></solutionmap>";
        situation.isMapSound = false;
    }
    for (std::size_t count = dice.Roll(14); count > 0; --count) {
        situation.inferences.push_back({dice.Any(kCodes).number, dice.Chance(70), dice.Any(kTimes)});
    }
    for (std::size_t count = dice.Roll(5); count > 0; --count) {
        situation.repaired.push_back({dice.Any(kCodes).number, dice.Chance(70), dice.Any(kTimes)});
    }
    situation.source = dice.Any(kInputs);
    situation.channel = dice.Chance(60) ? 2 : 5;
    situation.faults = RandomFaults(dice);
    return situation;
}

std::vector<KeptRow> RandomStore(Dice& dice) {
    std::vector<KeptRow> rows;
    for (std::size_t count = dice.Roll(5); count > 0; --count) {
        const std::size_t kind = dice.Roll(20);
        const std::string index = kind == 0 ? "99" : kind == 1 ? "2" : kind == 2 ? "-1" : "1";
        rows.push_back({dice.Any(kCodes).text, index, dice.Any(kTimes), dice.Any(kSources)});
    }
    return rows;
}

}  // namespace explain
