// The host applies a solution, or runs an executor itself.
#include "CGetData.h"
#include "KURA_SO_Interface.h"
#include "RandomMap.h"
#include "Steps.h"

namespace model::steps {

namespace {

using KURA::CGetData;

std::string ShownParams(const WMSolutionParams& params) {
    return std::to_string(params.issueCode) + " " + std::to_string(params.solutionCode) + " " +
           std::to_string(params.solutionType) + " " + std::to_string(params.started);
}

}  // namespace

// --- Apply ---

void Apply(Driver& driver) {
    Model& m = driver.model;
    const HostText code = Given(driver.dice, SomeCode(driver));
    Plain(
        driver, "RequestApplySolution " + code.Named(), [&] { RequestApplySolution(code.Constant()); },
        [&] { m.RequestApplySolution(code.text, false); });
}

void ApplyInBackground(Driver& driver) {
    Model& m = driver.model;
    const HostText code = Given(driver.dice, SomeCode(driver));
    driver.Call(
        "RequestApplySolution_BG " + code.Named(),
        [&] {
            WMSolutionParams params{9, 9, 9, 9};
            RequestApplySolution_BG(code.Constant(), &params);
            return ShownParams(params);
        },
        [&] {
            WMSolutionParams params{9, 9, 9, 9};
            m.RequestApplySolution(code.text, true);
            m.FillSolutionParams(code.text, "start", params);
            return ShownParams(params);
        });
}

void RecordResult(Driver& driver) {
    Model& m = driver.model;
    const std::string code = SomeCode(driver);
    const std::string state = driver.dice.Pick<std::string>({"start", "cancel", "", "Start", "started"});
    if (driver.dice.Percent(50)) {
        return Plain(
            driver, "SaveResultToSolutionDB \"" + code + "\" " + state,
            [&] { SaveResultToSolutionDB(code, state); }, [&] { m.SaveResultToSolutionDB(code, state); });
    }
    driver.Call(
        "FillSolutionParams \"" + code + "\" " + state,
        [&] {
            WMSolutionParams params{9, 9, 9, 9};
            FillSolutionParams(code, state, &params);
            return ShownParams(params);
        },
        [&] {
            WMSolutionParams params{9, 9, 9, 9};
            m.FillSolutionParams(code, state, params);
            return ShownParams(params);
        });
}

// --- Executors ---

void Setting(Driver& driver) {
    Model& m = driver.model;
    const HostText key =
        Given(driver.dice, driver.dice.Pick<std::string>({"db/menu/one", "db/menu/two", ""}));
    const HostText value =
        Given(driver.dice, driver.dice.Percent(50) ? driver.dice.Pick(kCodes) : RandomText(driver.dice));
    const std::string named = key.Named() + " " + value.Named();
    switch (driver.dice.Below(4)) {
        case 0:
            return Plain(
                driver, "ProcessVconf_STR " + named,
                [&] { ProcessVconf_STR(key.Constant(), value.Constant()); },
                [&] { m.VconfStr(key.text, value.text); });
        case 1:
            return Plain(
                driver, "ProcessVconf_BOOL " + named,
                [&] { ProcessVconf_BOOL(key.Constant(), value.Constant()); },
                [&] { m.VconfBool(key.text, value.text); });
        case 2:
            return Plain(
                driver, "ProcessVconf_INT " + named,
                [&] { ProcessVconf_INT(key.Constant(), value.Constant()); },
                [&] { m.VconfInt(key.text, value.text); });
        default:
            return Plain(
                driver, "ProcessSettingAPI " + named,
                [&] { ProcessSettingAPI(key.Constant(), value.Constant()); },
                [&] { m.SettingApi(key.text, value.text); });
    }
}

void Command(Driver& driver) {
    Model& m = driver.model;
    const HostText command = Given(driver.dice, RandomText(driver.dice));
    driver.Call(
        "ProcessCMD " + command.Named(), [&] { return std::to_string(ProcessCMD(command.Constant())); },
        [&] { return std::to_string(m.Cmd(command.text)); });
}

void Launch(Driver& driver) {
    static const std::vector<std::string> apps = {"org.vesta.picture-test",
                                                  "com.norvik.video-test",
                                                  "org.vesta.sound-test",
                                                  "org.vesta.lobbyhub-reset",
                                                  "org.vesta.lobbyhub-connection-test",
                                                  "org.vesta.mled-installation-test",
                                                  "com.norvik.tv.hdmi-troubleshooting",
                                                  "com.norvik.tv.broadcastingmenu",
                                                  "org.vesta.menu",
                                                  "org.vesta.wizard",
                                                  "org.vesta.menu2",
                                                  ""};
    Model& m = driver.model;
    const HostText app = Given(driver.dice, driver.dice.Pick(apps));
    if (driver.dice.Percent(40)) {
        return Plain(
            driver, "ProcessLaunchApp " + app.Named(), [&] { ProcessLaunchApp(app.Constant()); },
            [&] { m.LaunchApp(app.text); });
    }
    driver.Call(
        "CGetData::ProcessLaunchApp " + app.Named(),
        [&] { return std::to_string(CGetData::GetInstance()->ProcessLaunchApp(app.Constant())); },
        [&] { return std::to_string(m.LaunchWithExtras(app.text)); });
}

void Api(Driver& driver) {
    static const std::vector<std::string> names = {
        "pixo_reset_picture", "ResetPictureSize", "voiceguide_on",   "caption-setting",
        "subtitle-setting",   "performDeepClean", "ResetOnOffTimer", "unknown"};
    Model& m = driver.model;
    Dice& dice = driver.dice;
    const HostText name = Given(dice, dice.Pick(names));
    std::vector<KURA::KURA_SolutionValue> values;
    for (std::size_t n = dice.Below(3); n > 0; --n) {
        values.push_back({dice.Pick(kCodes), "int"});
    }
    const bool hasValues = dice.Percent(95);
    Plain(
        driver, "ProcessAPI " + name.Named(),
        [&] { ProcessAPI(name.Constant(), hasValues ? &values : nullptr); },
        [&] { m.Api(name.text, hasValues && !values.empty() ? values[0].param_value : ""); });
}

void Maintain(Driver& driver) {
    Model& m = driver.model;
    if (driver.dice.Percent(50)) {
        return driver.Call(
            "performDeepClean", [] { return std::to_string(CGetData::GetInstance()->performDeepClean()); },
            [&] { return std::to_string(m.PerformDeepClean()); });
    }
    driver.Call(
        "performMemBoost", [] { return std::to_string(CGetData::GetInstance()->performMemBoost()); },
        [&] { return std::to_string(m.PerformMemBoost()); });
}

}  // namespace model::steps
