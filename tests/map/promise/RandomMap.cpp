#include "RandomMap.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "map/Actions.h"

namespace randommap {

namespace {

using Texts = std::vector<std::string>;

/// Attributes of one element in the order written.
using Attributes = std::vector<std::pair<std::string, std::string>>;

// The generator's own numbers, since the distributions of the standard library differ between machines.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_engine(seed) {}

    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(m_engine() % bound); }
    bool OneIn(std::size_t times) { return Below(times) == 0; }
    const std::string& Of(const Texts& texts) { return texts[Below(texts.size())]; }

private:
    std::mt19937_64 m_engine;
};

/// Texts as the source of an XML attribute may hold them: references are not escaped again.
const Texts kOddTexts = {"",
                         " ",
                         "&quot;",
                         "a&quot;b",
                         "'",
                         "it's",
                         "USER",
                         "user",
                         "USER ",
                         "-5",
                         "-1",
                         "+7",
                         "007",
                         " 12",
                         "12 ",
                         "12abc",
                         "3000000000",
                         "99999999999999999999",
                         "1.5",
                         "0012",
                         "1e3",
                         "0x10",
                         "true",
                         "a&#10;b",
                         "a\nb",
                         "\t",
                         "&lt;",
                         "&amp;",
                         "%s%n%d",
                         "../../../etc/passwd",
                         "hdmi",
                         "HDMI",
                         "DTV",
                         "BG",
                         "bg",
                         "LAUNCH",
                         "launch",
                         "ShowSound",
                         "ResetPictureSize",
                         "\xc3\xa9\xe2\x82\xac",
                         "\xff",
                         "&unknown;",
                         "a<b",
                         "NULL",
                         "--",
                         ";DROP TABLE remainingTBL;"};

const Texts kOddElements = {"<sol_val param_value=\"1\"/>",
                            "<SOL_VAL PARAM_VALUE=\"1\"/>",
                            "<solutoin issue_code=\"5\"/>",
                            "<sm cnt=\"1\"/>",
                            "<sm/>",
                            "<sminfo version=\"x\"/>",
                            "some text",
                            "<!-- a remark -->",
                            "<![CDATA[<solution/>]]>",
                            "<?note here?>",
                            "<solution/>",
                            "<solution>",
                            "</solution>",
                            "&amp;",
                            "&",
                            "<a><b/></a>"};

const Texts kKeys = {"db/menu/picture/backlight", "db/menu/sound/mode", "db/menu/system/eco"};
const Texts kApps = {"org.vesta.picture-test", "org.vesta.menu", "com.example.app"};
const Texts kSources = {"ALL", "DTV", "HDMI"};
const Texts kAuthorities = {"USER", "USER", "USER", "SERVICE"};

/// A name that an action of the type can work on.
std::string NameFor(const kuramap::ActionType& type, Dice& dice) {
    if (type.names != nullptr) {
        Texts names = kuramap::NamesOf(type.names->all);
        // It waits ten seconds for an agent.
        names.erase(std::remove(names.begin(), names.end(), "performDeepClean"), names.end());
        return dice.Of(names);
    }
    if (type.target == kuramap::kSettingsKey) {
        return dice.Of(kKeys);
    }
    if (type.target == "application id") {
        return dice.Of(kApps);
    }
    return "some-name";
}

std::string ValueFor(kuramap::ValueUse use, Dice& dice) {
    switch (use) {
        case kuramap::ValueUse::kBoolean:
            return dice.Of({"0", "1"});
        case kuramap::ValueUse::kNumber:
            return dice.Of({"0", "35", "-3"});
        case kuramap::ValueUse::kText:
            return dice.Of({"on", "16:9"});
        case kuramap::ValueUse::kNone:
            break;
    }
    return "";
}

class Writer {
public:
    explicit Writer(std::uint64_t seed) : m_dice(seed) {
        // Half of the maps are well written; the others hold a little mischief or a lot.
        static const std::size_t kRates[] = {0, 0, 0, 0, 300, 100, 40, 15};
        m_rate = kRates[m_dice.Below(std::size(kRates))];
    }

    Map Write() {
        const std::size_t count = Mischief() ? 0 : 1 + m_dice.Below(7);
        std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<solutionmap>\n";
        text += Element("sminfo", {{"version", std::to_string(m_dice.Below(30000))}}, "");
        text += DeclaredCount(count);
        for (std::size_t i = 0; i < count; ++i) {
            text += Mischief() ? m_dice.Of(kOddElements) : "";
            text += Solution(i);
        }
        text += Mischief() ? m_dice.Of(kOddElements) : "";
        text += Mischief() ? "" : "</solutionmap>\n";
        Damage(text);
        return {std::move(text), m_hasMischief};
    }

private:
    /// Whether mischief is due here; remembered.
    bool Mischief() {
        const bool isDue = m_rate != 0 && m_dice.OneIn(m_rate);
        m_hasMischief |= isDue;
        return isDue;
    }

    std::string Name(const std::string& name) {
        if (!Mischief()) {
            return name;
        }
        std::string changed = name;
        char& letter = changed[m_dice.Below(changed.size())];
        letter =
            m_dice.OneIn(2) && letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : 'x';
        return changed;
    }

    std::string Element(const std::string& name, const Attributes& attributes, const std::string& inside) {
        const std::string written = Name(name);
        std::string text = "<" + written;
        for (const auto& [key, value] : attributes) {
            if (Mischief()) {
                continue;
            }
            text += " " + Name(key) + "=\"" + (Mischief() ? m_dice.Of(kOddTexts) : value) + "\"";
        }
        return text + ">" + inside + "</" + written + ">\n";
    }

    std::string DeclaredCount(std::size_t count) {
        if (Mischief()) {
            static const Texts kOddCounts = {"",
                                             "<sm cnt=\"0\"/>",
                                             "<sm cnt=\"-1\"/>",
                                             "<sm cnt=\"many\"/>",
                                             "<sm cnt=\"1\"/>",
                                             "<sm cnt=\"9\"/>",
                                             "<sm/>"};
            return m_dice.Of(kOddCounts);
        }
        return Element("sm", {{"cnt", std::to_string(count)}}, "");
    }

    std::string Solution(std::size_t position) {
        const kuramap::ActionType& type = kuramap::ActionTypes()[m_dice.Below(kuramap::ActionTypes().size())];
        const std::string name = NameFor(type, m_dice);
        const std::size_t base = m_dice.OneIn(4) ? 10000000 : 1000;
        std::string code = std::to_string(base + position);
        if (Mischief()) {
            code = std::to_string(base);
        }
        const std::string textId = "TV_SID_" + code;
        const Attributes attributes = {{"issue_code", code},
                                       {"sol_code", code + "01"},
                                       {"sol_type", std::string(type.name)},
                                       {"sol_name", name},
                                       {"sid_issue", textId},
                                       {"sid_sol", textId + "_SOL"},
                                       {"sid_button1", "COM_SID_FIX_NOW"},
                                       {"sid_button2", m_dice.OneIn(3) ? "" : "COM_SID_LATER"},
                                       {"reboot", "no"},
                                       {"is_fg_bg", m_dice.OneIn(8) ? "bg" : "fg"},
                                       {"action", "APPLY"},
                                       {"toast1", "COM_SID_DONE"},
                                       {"toast2", "COM_SID_FAILED"},
                                       {"source", m_dice.Of(kSources)},
                                       {"view_authority", m_dice.Of(kAuthorities)}};
        std::string values = Value(kuramap::UseOfValue(type.name, name));
        if (Mischief()) {
            values = m_dice.Of(kOddElements);
        }
        return Element("solution", attributes, values);
    }

    std::string Value(kuramap::ValueUse use) {
        return Element("sol_val", {{"param_value", ValueFor(use, m_dice)}, {"param_type", "string"}}, "");
    }

    /// Damage to the text as a whole, as a cut transfer or a bad editor leaves it.
    void Damage(std::string& text) {
        if (Mischief()) {
            text.resize(m_dice.Below(text.size()));
        }
        if (Mischief() && !text.empty()) {
            text[m_dice.Below(text.size())] = static_cast<char>(m_dice.Below(256));
        }
        if (Mischief()) {
            text += "<again/>";
        }
    }

    Dice m_dice;
    std::size_t m_rate = 0;  ///< mischief at one place of this many; 0: none
    bool m_hasMischief = false;
};

}  // namespace

Map Make(std::uint64_t seed) {
    return Writer(seed).Write();
}

}  // namespace randommap
