#include "RandomMap.h"

#include <cctype>
#include <utility>

namespace model {

const std::vector<std::string> kCodes = {
    "1",          "2",          "12345678",   "10000000", "19999999",    "123",
    "0123",       "3",          "20000000",   "9999999",  "7x",          "abc",
    "",           " 7",         "-5",         "+2",       "99999999999", "-99999999999",
    "4294967295", "2147483648", "2147483647", "0",        "15000000 ",   "it's"};

const std::vector<std::string> kTimes = {"2026-03-04T05:06:07",
                                         "2026-03-04T05:06:08",
                                         "2026-03-04T05:06:06",
                                         "2026-03-04T05:06:07",
                                         "2026-03-04T05:06:07Z",
                                         "2025-12-31T23:59:59",
                                         "",
                                         "9",
                                         "\xff\xfe",
                                         "2026-03-04",
                                         "12",
                                         "1.5"};

namespace {

using Attributes = std::vector<std::pair<std::string, std::string>>;

const std::vector<std::string> kTypes = {
    "API",     "VCONFSET_INT", "VCONFSET_BOOL", "VCONFSET_STR", "INFO", "CMD",     "LAUNCH",
    "MSGPORT", "SettingsAPI",  "api",           "SETTINGSAPI",  "",     "LAUNCH ", "OTHER"};

const std::vector<std::string> kApis = {"pixo_reset_picture", "ResetPictureSize", "voiceguide_on",
                                        "caption-setting",    "subtitle-setting", "performDeepClean",
                                        "ResetOnOffTimer",    "resetOnOffTimer",  "pixo_reset_picture "};

const std::vector<std::string> kScreens = {"ShowSignalInfo", "ShowMgrStorage", "ShowSoundTest",
                                           "ShowSoundTest2", "showmgrstorage"};

const std::vector<std::string> kKeys = {"db/menu/one", "db/menu/two", "memory/sp-kpi/platform",
                                        "system/watchman/STOperation", "db/kurahelp/db_reset"};

const std::vector<std::string> kValues = {"0",    "1",  "25",          "-1",           "true", "",
                                          " 12x", "+3", "99999999999", "-99999999999", "0x10", "2147483648"};

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '<':
                escaped += "&lt;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string OddlyCased(Dice& dice, std::string name) {
    if (dice.Percent(85)) {
        return name;
    }
    for (char& c : name) {
        if (dice.Percent(50)) {
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return name;
}

std::string Tag(Dice& dice, const std::string& name, const Attributes& attributes, bool isOpen = false) {
    std::string text = "<" + OddlyCased(dice, name);
    for (const auto& [key, value] : attributes) {
        if (dice.Percent(3)) {
            continue;
        }
        text += " " + OddlyCased(dice, key) + "=\"" + Escaped(value) + "\"";
        if (dice.Percent(1)) {
            text += " " + OddlyCased(dice, key) + "='" + Escaped("later") + "'";
        }
    }
    return text + (isOpen ? ">" : "/>");
}

std::string NameFor(Dice& dice, const std::string& type) {
    if (dice.Percent(5)) {
        return RandomText(dice);
    }
    if (type == "API") {
        return dice.Pick(kApis);
    }
    if (type == "MSGPORT") {
        return dice.Pick(kScreens);
    }
    if (type.rfind("VCONF", 0) == 0) {
        return dice.Pick(kKeys);
    }
    return dice.Percent(50) ? "org.vesta.menu" : RandomText(dice);
}

std::string Value(Dice& dice) {
    return Tag(dice, "sol_val",
               {{"param_value", dice.Percent(80) ? dice.Pick(kValues) : RandomText(dice)},
                {"param_type", dice.Percent(50) ? "int" : RandomText(dice)}});
}

std::string Solution(Dice& dice, std::string& name) {
    const std::string& type = dice.Pick(kTypes);
    const std::string mode = dice.Percent(80)   ? "fg"
                             : dice.Percent(50) ? "bg"
                             : dice.Percent(50) ? "BG"
                                                : "bg ";
    const std::string source = dice.Pick<std::string>({"", "", "", "DTV", "HDMI", "ALL", "hdmi"});
    const std::string viewer =
        dice.Percent(90) ? "USER" : dice.Pick<std::string>({"user", "USER ", "", "SVC"});
    name = OddlyCased(dice, "solution");
    const Attributes attributes = {{"issue_code", RandomCode(dice)},
                                   {"sol_code", dice.Percent(70) ? "70" : dice.Pick(kCodes)},
                                   {"sol_type", type},
                                   {"sol_name", NameFor(dice, type)},
                                   {"sid_issue", RandomText(dice)},
                                   {"sid_sol", RandomText(dice)},
                                   {"sid_button1", RandomText(dice)},
                                   {"sid_button2", RandomText(dice)},
                                   {"reboot", "no"},
                                   {"is_fg_bg", mode},
                                   {"action", RandomText(dice)},
                                   {"toast1", RandomText(dice)},
                                   {"toast2", RandomText(dice)},
                                   {"source", source},
                                   {"view_authority", viewer}};
    std::string text = Tag(dice, name, attributes, true);
    name = text.substr(1, name.size());
    return text;
}

std::string Solutions(Dice& dice, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (dice.Percent(1)) {
            text += Value(dice);
        }
        std::string name;
        text += Solution(dice, name);
        for (std::size_t values = dice.Below(3); values > 0; --values) {
            text += Value(dice);
        }
        text += dice.Percent(10) ? "text in between" : "";
        text += "</" + name + ">";
        if (dice.Percent(3)) {
            text +=
                "<!-- a remark -->" + Tag(dice, dice.Pick<std::string>({"group", "solutions", "sm2"}), {});
        }
    }
    return text;
}

std::string Declared(Dice& dice, std::size_t count) {
    if (dice.Percent(80)) {
        return std::to_string(count);
    }
    if (dice.Percent(50)) {
        return std::to_string(dice.Below(count + 1));
    }
    return dice.Pick<std::string>({std::to_string(count + 1), "-1", "junk", "", " 2", "+1", "99999999999"});
}

/// A slip of the pen: a byte lost, doubled or replaced, or the end cut off.
void Damage(Dice& dice, std::string& text) {
    const std::size_t at = dice.Below(text.size());
    switch (dice.Below(4)) {
        case 0:
            text.erase(at, 1);
            return;
        case 1:
            text.resize(at);
            return;
        case 2:
            text[at] = dice.Pick<char>({'<', '>', '"', '&', '\0', '\n', '\xff', '/'});
            return;
        default:
            text += dice.Pick<std::string>({"<more/>", "junk", "</root>", "\n\n"});
    }
}

}  // namespace

const std::string& RandomCode(Dice& dice) {
    constexpr std::size_t kCommon = 6;
    return dice.Percent(70) ? kCodes[dice.Below(kCommon)] : dice.Pick(kCodes);
}

std::string RandomText(Dice& dice) {
    static const std::vector<std::string> odd = {"USER",        "a \"quoted\" word",
                                                 "it's",        "%s %d %n",
                                                 "T\xc3\xb6ne", "0012",
                                                 "1.5",         "12",
                                                 "back\\slash", "a|b;c,d",
                                                 "<tag>",       "a & b",
                                                 "new\nline",   "1",
                                                 "); --",       "-7",
                                                 "99999999999", "1e3",
                                                 "tab\there"};
    if (dice.Percent(60)) {
        return "SID_" + std::to_string(dice.Below(50));
    }
    if (dice.Percent(40)) {
        return "";
    }
    if (dice.Percent(2)) {
        return std::string(1 + dice.Below(3000), 'x');
    }
    return dice.Pick(odd);
}

std::string RandomMap(Dice& dice) {
    const std::size_t count = dice.Percent(5) ? 0 : 1 + dice.Below(dice.Percent(10) ? 30 : 8);
    std::string text = dice.Percent(30) ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
    text += "<root>\n";
    if (!dice.Percent(5)) {
        text += Tag(
            dice, "sminfo",
            {{"version", dice.Percent(60) ? "7"
                                          : dice.Pick<std::string>({"abc", "7x", "-3", " 8", "",
                                                                    "99999999999", "-99999999999", "+4"})}});
    }
    const bool isLate = dice.Percent(5);
    const std::string declaration = Tag(dice, "sm", {{"cnt", Declared(dice, count)}});
    text += isLate ? "" : declaration;
    text += Solutions(dice, count);
    text += isLate ? declaration : "";
    text += dice.Percent(4) ? "" : "</root>\n";
    for (std::size_t slips = dice.Percent(8) ? 1 + dice.Below(2) : 0; slips > 0 && !text.empty(); --slips) {
        Damage(dice, text);
    }
    return text;
}

}  // namespace model
