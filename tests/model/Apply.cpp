// Applying every solution of an issue, and the engine's record of it.
#include <map>
#include <sstream>
#include <system_error>

#include "Model.h"
#include "Numbers.h"

namespace model {

namespace {

constexpr const char* kWrapper = "RequestApplySolutionWrapper";

std::string FirstValue(const KURA::KURA_Solution& sol) {
    return sol.sol_val.empty() ? "" : sol.sol_val[0].param_value;
}

int TypeCode(const std::string& type) {
    static const std::map<std::string, int> codes = {
        {"API", 1}, {"VCONFSET_BOOL", 2}, {"VCONFSET_INT", 2}, {"VCONFSET_STR", 2},
        {"CMD", 3}, {"LAUNCH", 4},        {"INFO", 5}};
    const auto found = codes.find(type);
    return found == codes.end() ? 0 : found->second;
}

}  // namespace

void Model::RequestApplySolution(const std::string& value, bool background) {
    record.Log(kInfo, kWrapper, "RequestApplySolutionWrapper called with value = %s and isBGPatch = %d",
               value.c_str(), background ? 1 : 0);
    try {
        ParseSolutionMap();
        unsigned int declared = 0;
        std::vector<KURA::KURA_Solution> list;
        GetSolutionInformation(declared, list);
        record.Log(kError, kWrapper, "Value is %s and size = %zu", value.c_str(), list.size());
        for (const KURA::KURA_Solution& sol : list) {
            if (sol.issue_code == value) {
                ApplyOne(sol, value, background);
            }
        }
    } catch (const std::system_error& error) {
        record.Log(kError, kWrapper, "Got exception 1");
        std::ostringstream text;
        text << "Caught system_error with code " << error.code() << " meaning " << error.what() << "\n";
        standardOutput += text.str();
    } catch (...) {
        record.Log(kError, kWrapper, "Got exception 2");
    }
}

void Model::ApplyOne(const KURA::KURA_Solution& sol, const std::string& value, bool background) {
    ApplyAction(sol);
    RemoveSolvedProblem(value);
    if (!background) {
        SaveResultToSolutionDB(value, "start");
    }
    record.Log(kInfo, kWrapper,
               "Choose_Solution issue_code : %s, sol_code : %s, sol_type : %s, sol_name : %s, sol_val : %s",
               sol.issue_code.c_str(), sol.sol_code.c_str(), sol.sol_type.c_str(), sol.sol_name.c_str(),
               FirstValue(sol).c_str());
}

void Model::ApplyAction(const KURA::KURA_Solution& sol) {
    const std::string& type = sol.sol_type;
    if (type == "API") {
        Api(sol.sol_name, FirstValue(sol));
    } else if (type == "VCONFSET_INT") {
        VconfInt(sol.sol_name, FirstValue(sol));
    } else if (type == "VCONFSET_BOOL") {
        VconfBool(sol.sol_name, FirstValue(sol));
    } else if (type == "VCONFSET_STR") {
        VconfStr(sol.sol_name, FirstValue(sol));
    } else if (type == "CMD") {
        Cmd(sol.sol_name);
    } else if (type == "LAUNCH") {
        record.Log(kInfo, kWrapper, "launch the application %s", sol.sol_name.c_str());
        LaunchApp(sol.sol_name);
    } else if (type == "MSGPORT") {
        record.Log(kInfo, kWrapper, "MSGPORT : %s", sol.sol_name.c_str());
        ShowScreen(sol.sol_name);
    } else if (type == "SettingsAPI") {
        record.Log(kInfo, kWrapper, "SettingsAPI called");
        SettingApi(sol.sol_name, FirstValue(sol));
    }
}

void Model::ShowScreen(const std::string& name) {
    if (name == "ShowSignalInfo") {
        record.Log(kInfo, kWrapper, "launch Signal Information");
        LaunchWithExtras("com.norvik.tv.broadcastingmenu");
    } else if (name == "ShowMgrStorage") {
        set.HideIssues();
        set.ShowStorage();
    } else if (name == "ShowSoundTest") {
        LaunchWithExtras("org.vesta.sound-test");
    } else {
        record.Log(kInfo, kWrapper, "else case ");
    }
}

void Model::FillSolutionParams(const std::string& issueCode, const std::string& state,
                               WMSolutionParams& params) {
    unsigned int declared = 0;
    std::vector<KURA::KURA_Solution> list;
    GetSolutionInformation(declared, list);
    params = {ToSigned(issueCode), 0, 0, state == "start" ? 1 : 0};
    for (const KURA::KURA_Solution& sol : list) {
        if (sol.issue_code == issueCode) {
            params.solutionCode = ToSigned(sol.sol_code);
            params.solutionType = TypeCode(sol.sol_type);
        }
    }
}

void Model::SaveResultToSolutionDB(const std::string& issueCode, const std::string& state) {
    record.Log(kInfo, "SaveResultToSolutionDB", "save result to sol DB called");
    WMSolutionParams params{};
    FillSolutionParams(issueCode, state, params);
    set.SetSolutionDB(params);
}

void Model::RemoveSolvedProblem(const std::string& issueCode) {
    constexpr const char* kName = "RemoveSolvedProblemFromRemainingDB";
    record.Log(kInfo, kName, "RemoveSolvedProblemFromRemainingDB called");
    DeleteRemainingColumn(issueCode);
    record.Log(kDebug, kName, "iss_code(%s) is removed from RemainingDB", issueCode.c_str());
}

}  // namespace model
