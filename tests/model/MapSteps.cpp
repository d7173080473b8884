// The host reads a solution map, keeps one, or reports usage.
#include <optional>

#include "KURA_KPISender.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "RandomMap.h"
#include "Steps.h"

namespace model::steps {

// --- The solution map and its store ---

void ReadMap(Driver& driver) {
    Model& m = driver.model;
    Dice& dice = driver.dice;
    if (dice.Percent(50)) {
        return Plain(
            driver, "ParseSolutionMap", [] { ParseSolutionMap(); }, [&] { m.ParseSolutionMap(); });
    }
    KURA::KURA_SolutionMap before;
    before.version = static_cast<int>(dice.Below(5));
    before.count = static_cast<unsigned int>(dice.Below(5));
    before.solutions.resize(dice.Below(2),
                            KURA::KURA_Solution("", "", "", "", "", "", "", "", "", "", "", "", "", "", ""));
    KURA::KURA_SolutionMap library = before;
    KURA::KURA_SolutionMap expected = before;
    if (dice.Percent(50)) {
        const bool isThere = dice.Percent(70);
        const std::string path = isThere ? "/opt/usr/share/TVKuraHelp/SolutionMap.xml" : "/opt/nothing.xml";
        return driver.Call(
            "XMLParse " + path,
            [&] { return std::to_string(XMLParse(path.c_str(), library)) + Shown(library); },
            [&] {
                return std::to_string(m.XmlParse(isThere ? m.document : Document(), path, expected)) +
                       Shown(expected);
            });
    }
    const std::string text = RandomMap(dice);
    driver.Call(
        "parseInterface " + text,
        [&] { return std::to_string(parseInterface(text, library)) + Shown(library); },
        [&] { return std::to_string(m.Parse(text, expected)) + Shown(expected); });
}

void Keep(Driver& driver) {
    Model& m = driver.model;
    auto* const storage = KURA::TCInformationStorage::Instance();
    const auto number = static_cast<unsigned int>(driver.dice.Below(6));
    switch (driver.dice.Below(4)) {
        case 0:
            return Plain(
                driver, "Initialize", [&] { storage->Initialize(); },
                [&] {
                    m.version = 0;
                    m.count = 0;
                    m.solutions.clear();
                });
        case 1:
            return Plain(
                driver, "SetSMCount " + std::to_string(number), [&] { storage->SetSMCount(number); },
                [&] { m.count = number; });
        case 2:
            return Plain(
                driver, "SetSMVersion", [&] { storage->SetSMVersion(number); }, [&] { m.version = number; });
        default:
            break;
    }
    std::vector<KURA::KURA_Solution> some(m.solutions.begin(),
                                          m.solutions.begin() + (m.solutions.empty() ? 0 : 1));
    Plain(
        driver, "SetSolutionInformation " + std::to_string(number),
        [&] { storage->SetSolutionInformation(number, some); },
        [&] {
            m.count = number;
            m.solutions.insert(m.solutions.end(), some.begin(), some.end());
        });
}

// --- Usage reports ---

void Report(Driver& driver) {
    Model& m = driver.model;
    Dice& dice = driver.dice;
    HostText item = Given(dice, RandomText(dice));
    HostText status = Given(dice, RandomText(dice));
    const int count = static_cast<int>(dice.Below(100)) - 10;
    const auto sender = [] { return KURA::KURA_KPISender::GetInstance(); };
    switch (dice.Below(3)) {
        case 0:
            return Plain(
                driver, "SendKurahelpKPI " + item.Named(),
                [&] { sender()->SendKurahelpKPI(item.Writable()); },
                [&] { m.Report(item.text, std::nullopt, std::nullopt); });
        case 1:
            return Plain(
                driver, "SendKurahelpKPI " + item.Named() + " " + std::to_string(count),
                [&] { sender()->SendKurahelpKPI(item.Writable(), count); },
                [&] { m.Report(item.text, std::nullopt, count); });
        default:
            return Plain(
                driver, "SendSelfDiagnosisResult " + item.Named() + " " + status.Named(),
                [&] { SendSelfDiagnosisResult(item.Constant(), status.Constant()); },
                [&] {
                    m.record.Log(kInfo, "SendSelfDiagnosisResult", "SendSelfDiagnosisResult");
                    m.Report(item.text, status.text, std::nullopt);
                });
    }
}

}  // namespace model::steps
