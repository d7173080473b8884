// How a diagnosis reaches the user: the start screen's list, and the guide application's file.
#include <cerrno>

#include "Model.h"

namespace model {

void Model::CleanDiagResult() {
    record.Log(kInfo, "CleanDiagResult", "CleanDiagResult");
    const std::string kept = row.sol_name;
    row = KURA::MapToDBTable();
    row.index = -1;
    row.is_fix = -1;
    row.sol_name = kept;
    if (!table.empty()) {
        record.Log(kInfo, "CleanDiagResult", "m_table Clear");
        table.clear();
    }
}

void Model::CreateErrorList() {
    constexpr const char* kName = "CreateErrorList";
    record.Log(kInfo, kName, "CreateErrorList");
    Rows shown;
    CleanDiagResult();
    set.VconfSetStr("system/watchman/STOperation", R"({"id" : "CreateErrorList"})");
    if (GetInferenceResult() < 1) {
        record.Log(kError, kName, "GetInferenceResult Failed");
        set.ShowAtStart(shown);
        return;
    }
    record.Log(kInfo, kName, "GetInferenceResult Success");
    SaveRemainingProblems();
    set.VconfSetBool("db/kurahelp/db_reset", 0);
    Report("CreateErrorList", std::nullopt, static_cast<int>(table.size()));
    for (const KURA::MapToDBTable& r : table) {
        if (!CheckSourceType(r.source) || !CheckViewType(r.view_authority)) {
            continue;
        }
        shown.push_back(r);
        record.Log(kInfo, kName, "CREATE_ERROR_LIST_BUNDLE_SEND");
        record.Log(kInfo, kName,
                   "SendDataToRemotePort Key : Result, value : {%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s}",
                   r.issue_code.c_str(), r.last_time.c_str(), r.sid_issue.c_str(), r.sid_sol.c_str(), " ",
                   r.sid_button1.c_str(), r.sid_button2.c_str(), r.action.c_str(), r.toast1.c_str(),
                   r.toast2.c_str(), r.sol_type.c_str());
    }
    set.ShowAtStart(shown);
}

void Model::CreateTutorErrList() {
    constexpr const char* kName = "CreateTutorErrList";
    record.Log(kInfo, kName, "CreateTutorErrorList");
    const char* const from = set.LaunchFrom();
    record.Log(kInfo, kName, "tutor Launched from %s", from == nullptr ? "(null)" : from);
    const std::string path =
        from != nullptr && std::string(from) == "bg_inference" ? kDocumentsFile : kGuideFile;
    if (WayTo(files, path) == Way::NoFolder) {
        record.Log(kError, kName, "lstat error %s %d", path.c_str(), ENOTDIR);
        return;
    }
    const auto node = files.find(path);
    if (WayTo(files, path) == Way::Clear && node != files.end() && node->second.kind == Kind::Link) {
        record.Log(kError, kName, "symbolic link is detected\n");
        return;
    }
    OpenTutorForWrite(path);
}

void Model::OpenTutorForWrite(const std::string& path) {
    constexpr const char* kName = "openTutorForWrite";
    record.Log(kInfo, kName, "open Tutorfor write");
    const Way way = WayTo(files, path);
    if (way == Way::NoFolder) {
        record.Log(kError, kName, "lstat error");
        return;
    }
    const auto node = files.find(path);
    if (way == Way::Clear && node != files.end() && node->second.kind == Kind::Link) {
        standardError += "symbolic link is detected\n";
        return;
    }
    const int error = Write(path, "");
    if (error != 0) {
        record.Log(kError, kName, "Unable to open file %s %s", path.c_str(),
                   error == kAnyError ? kAny : std::to_string(error).c_str());
        return;
    }
    if (GetInferenceResult() < 1) {
        record.Log(kError, kName, "GetInferenceResult Failed");
        return;
    }
    record.Log(kInfo, kName, "GetInferenceResult Success");
    record.Log(kInfo, kName, "m_table Size is %zu", table.size());
    std::string text;
    for (const KURA::MapToDBTable& r : table) {
        text += r.issue_code + "\n";
    }
    Write(path, text);
}

}  // namespace model
