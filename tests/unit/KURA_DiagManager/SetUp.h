// Prepares a set on which every diagnosis can run: the folders, a document of two issues, and an engine that
// has seen them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include "Fakes.h"
#include "LogLines.h"
#include "watchman.h"

namespace setup {

constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kGuideFile = "/tmp/tutorlink/inference_result";
constexpr const char* kTime = "2026-03-04T05:06:07";

inline void WriteMap(const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(kMapPath).parent_path());
    std::ofstream(kMapPath, std::ios::binary | std::ios::trunc) << content;
}

inline std::string Issue(const std::string& code) {
    return "<solution issue_code=\"" + code + "\" sid_issue=\"sid_issue\" view_authority=\"USER\"/>";
}

inline void Install() {
    WriteMap("<root><sminfo version=\"7\"/><sm cnt=\"2\"/>" + Issue("5") + Issue("10000001") + "</root>");
    std::filesystem::create_directories("/opt/usr/home/owner/share");
    std::filesystem::create_directories(std::filesystem::path(kGuideFile).parent_path());
    for (const int code : {5, 10000001}) {
        fakes::Set().inferences[{code, WM_TRANSITION_TYPE_TRUE}] = {
            {code, WM_TRANSITION_TYPE_TRUE, 1, "registered", kTime}};
    }
}

using fakes::Lines;

inline void ForgetRecords() {
    fakes::Set().calls.clear();
    fakes::Set().log.clear();
    fakes::Set().events.clear();
}

}  // namespace setup
