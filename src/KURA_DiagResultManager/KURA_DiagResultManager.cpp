// The result manager's shared parts: its instance, the filters that decide who sees a row, and the small text
// operations. Evaluation, remaining problems and publication have a file each.
#include "KURA_DiagResultManager.h"

#include <algorithm>
#include <array>
#include <boost/thread/recursive_mutex.hpp>
#include <cstddef>
#include <ctime>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KURA_DiagResultManager/ResultRow.h"
#include "base/LocalTime.h"
#include "base/Log.h"
#include "base/NeverDestroyed.h"
#include "host/CUtils.h"

namespace KURA {

namespace {

constexpr int kTunerSource = 0;
constexpr std::array<int, 3> kTunerChannelTypes{2, 4, 7};

// Kept: 46 and 47 do not count here, although they count as HDMI where the signal page is chosen. The screens
// rely on both lists as they are.
constexpr std::array<int, 6> kHdmiSources{13, 14, 15, 16, 38, 39};

template <std::size_t Size>
bool Contains(const std::array<int, Size>& numbers, int number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

using Columns = std::array<std::vector<std::string>*, 5>;

void AppendTokens(const std::string& line, const Columns& columns) {
    std::istringstream stream(line);
    std::string token;
    for (std::size_t k = 0; std::getline(stream, token, ','); ++k) {
        if (k < columns.size()) {
            columns[k]->push_back(token);
        }
    }
}

}  // namespace

KURA_DiagResultManager* KURA_DiagResultManager::m_pInstance = nullptr;
static base::NeverDestroyed<boost::recursive_mutex> classMutex;
boost::recursive_mutex& KURA_DiagResultManager::m_KDRMmutex = classMutex.object;

KURA_DiagResultManager* KURA_DiagResultManager::GetInstance() {
    // Does not take m_KDRMmutex: a screen that only asks for the manager must not wait for an evaluation.
    [[maybe_unused]] static const auto* const created = m_pInstance = new KURA_DiagResultManager;
    return m_pInstance;
}

void KURA_DiagResultManager::CleanDiagResult() {
    KURA_INFO("CleanDiagResult");
    // Kept: sol_name survives. The store has no column for it, so loaded rows carry the sol_name of the row
    // that was built last.
    std::string solName = std::move(m_currentRow.sol_name);
    m_currentRow = BlankRow();
    m_currentRow.sol_name = std::move(solName);
    if (!m_table.empty()) {
        KURA_INFO("m_table Clear");
        m_table.clear();
    }
}

bool KURA_DiagResultManager::CheckViewType(const char* view_authority) {
    const std::string_view text = view_authority == nullptr ? "" : view_authority;
    return text == "USER";
}

bool KURA_DiagResultManager::CheckSourceType(const char* source) {
    const std::string_view text = source == nullptr ? "" : source;
    const int channelType = CUtils::GetChannelType();
    const int currentSource = CUtils::GetCurrentSourceInfo();
    if (text == "DTV") {
        return Contains(kTunerChannelTypes, channelType) && currentSource == kTunerSource;
    }
    if (text == "HDMI") {
        return Contains(kHdmiSources, currentSource);
    }
    return true;
}

int KURA_DiagResultManager::CompareTime(std::string& a, std::string b) {
    KURA_INFO("CompareTime");
    return a > b ? 1 : 0;
}

std::string KURA_DiagResultManager::GetCurrentTime() {
    KURA_INFO("GetCurrentTime()");
    return base::FormatLocalTime(std::time(nullptr));
}

void KURA_DiagResultManager::TokenString(std::string& line, KURA_SolutionDB& out) {
    AppendTokens(line, {&out.registerTime, &out.issueCode, &out.solutionCode, &out.type, &out.isApply});
}

void KURA_DiagResultManager::TokenString(std::string& line, KURA_InferenceDB& out) {
    AppendTokens(line, {&out.registerTime, &out.lastUpdatedTime, &out.issueCode, &out.TR, &out.solutionCode});
}

}  // namespace KURA
