// Publishes a diagnosis. The automatic one saves the unsolved problems and hands a list to the start screen;
// the guided one writes a small file for the guide application.
#include <sys/stat.h>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KURA_DiagResultManager.h"
#include "KURA_DiagResultManager/ResultRow.h"
#include "KURA_KPISender.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/SetKeys.h"
#include "base/SetPaths.h"
#include "host/CStartKH.h"
#include "host/CUtils.h"
#include "vconf.h"

namespace KURA {

namespace {

using Lock = boost::lock_guard<boost::recursive_mutex>;

constexpr std::string_view kBackgroundLaunch = "bg_inference";

enum class PathState {
    kFree,  ///< nothing there, or something that is not a link
    kLink,
    kError,  ///< errno tells which
};

PathState StateOf(const char* path) {
    struct stat status {};
    if (lstat(path, &status) != 0) {
        return errno == ENOENT ? PathState::kFree : PathState::kError;
    }
    return S_ISLNK(status.st_mode) ? PathState::kLink : PathState::kFree;
}

}  // namespace

void KURA_DiagResultManager::CreateErrorList() {
    KURA_INFO("CreateErrorList");
    const Lock lock(m_KDRMmutex);
    std::vector<MapToDBTable> shown;
    CleanDiagResult();
    vconf_set_str(base::kProgressKey, "{\"id\" : \"CreateErrorList\"}");
    if (GetInferenceResult() < 1) {
        KURA_ERROR("GetInferenceResult Failed");
        CStartKH::Instance()->m_DiagResCallback(std::move(shown));
        return;
    }
    KURA_INFO("GetInferenceResult Success");
    SaveRemainingProblems();
    vconf_set_bool(base::kDbResetKey, 0);
    char item[] = "CreateErrorList";
    KURA_KPISender::GetInstance()->SendKurahelpKPI(item, static_cast<int>(m_table.size()));
    for (const MapToDBTable& row : m_table) {
        if (CheckSourceType(row.source.c_str()) && CheckViewType(row.view_authority.c_str())) {
            shown.push_back(row);
            LogSending(__func__, row);
        }
    }
    CStartKH::Instance()->m_DiagResCallback(std::move(shown));
}

void KURA_DiagResultManager::CreateTutorErrList() {
    KURA_INFO("CreateTutorErrorList");
    const char* launchedFrom = CUtils::Instance()->m_pGetLaunchFrom();
    const std::string_view origin = launchedFrom == nullptr ? "(null)" : launchedFrom;
    KURA_INFO("tutor Launched from %s", origin.data());
    std::string path =
        origin == kBackgroundLaunch ? base::kBackgroundGuideResultPath : base::kGuideResultPath;
    const PathState state = StateOf(path.c_str());
    if (state == PathState::kError) {
        KURA_ERROR("lstat error %s %d", path.c_str(), errno);
        return;
    }
    if (state == PathState::kLink) {
        KURA_ERROR("symbolic link is detected\n");
        return;
    }
    openTutorForWrite(path.data());
}

void KURA_DiagResultManager::openTutorForWrite(char* path) {
    KURA_INFO("open Tutorfor write");
    const Lock lock(m_KDRMmutex);
    const char* target = path == nullptr ? "" : path;
    // Check again: others may write to the folder and may have put a link there since.
    const PathState state = StateOf(target);
    if (state == PathState::kError) {
        KURA_ERROR("lstat error");
        return;
    }
    if (state == PathState::kLink) {
        std::fputs("symbolic link is detected\n", stderr);
        return;
    }
    base::File file = base::OpenPlainFile(target, base::WriteMode::kReadWrite);
    if (file == nullptr) {
        KURA_ERROR("Unable to open file %s %d", target, errno);
        return;
    }
    // Kept: the table is not cleaned first, so a second guided run also writes what the first one found.
    if (GetInferenceResult() < 1) {
        KURA_ERROR("GetInferenceResult Failed");
        return;
    }
    KURA_INFO("GetInferenceResult Success");
    KURA_INFO("m_table Size is %zu", m_table.size());
    std::string codes;
    for (const MapToDBTable& row : m_table) {
        codes.append(row.issue_code, 0, row.issue_code.find('\0')).append("\n");
    }
    if (!base::WriteAndClose(std::move(file), codes)) {
        // Opening truncates the file, so that the guide does not take a part of the list for all of it.
        base::OpenPlainFile(target, base::WriteMode::kReadWrite);
    }
}

}  // namespace KURA
