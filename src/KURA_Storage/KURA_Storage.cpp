#include "KURA_Storage.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "KURA_SolutionMap.h"
#include "base/Log.h"

namespace KURA {

boost::mutex m_KURAmutex;

namespace {

using Lock = boost::lock_guard<boost::mutex>;

}  // namespace

TCInformationStorage* TCInformationStorage::m_pInstance = nullptr;

TCInformationStorage* TCInformationStorage::Instance() {
    const Lock lock(m_KURAmutex);
    if (m_pInstance == nullptr) {
        m_pInstance = new TCInformationStorage;
    }
    return m_pInstance;
}

void TCInformationStorage::Initialize() {
    const Lock lock(m_KURAmutex);
    m_version = 0;
    m_count = 0;
    m_solutions.clear();
}

void TCInformationStorage::ResetInformationStorage() {
    Initialize();
}

void TCInformationStorage::SetSMVersion(unsigned int version) {
    const Lock lock(m_KURAmutex);
    m_version = version;
}

void TCInformationStorage::GetSMVersion(unsigned int& version) {
    const Lock lock(m_KURAmutex);
    version = m_version;
}

void TCInformationStorage::SetSMCount(unsigned int count) {
    const Lock lock(m_KURAmutex);
    m_count = count;
}

void TCInformationStorage::GetSMCount(unsigned int& count) {
    const Lock lock(m_KURAmutex);
    count = m_count;
}

void TCInformationStorage::SetSolutionMap(KURA_SolutionMap map) {
    const Lock lock(m_KURAmutex);
    m_version = static_cast<unsigned int>(map.version);
    m_count = map.count;
    // The list before is destroyed by the caller, after the lock.
    m_solutions.swap(map.solutions);
}

void TCInformationStorage::SetSolutionInformation(unsigned int count, std::vector<KURA_Solution> solutions) {
    const Lock lock(m_KURAmutex);
    if (m_solutions.empty()) {
        m_solutions.swap(solutions);
    } else {
        m_solutions.insert(m_solutions.end(), std::make_move_iterator(solutions.begin()),
                           std::make_move_iterator(solutions.end()));
    }
    m_count = count;
}

void TCInformationStorage::GetSolutionInformation(unsigned int& count, std::vector<KURA_Solution>& out) {
    KURA_INFO("GetSolutionInformation IN");
    {
        const Lock lock(m_KURAmutex);
        // First the room: growing within the insertion would cost the reader's own records when a copy fails.
        out.reserve(out.size() + m_solutions.size());
        out.insert(out.end(), m_solutions.begin(), m_solutions.end());
        count = m_count;
    }
    KURA_INFO("GetSolutionInformation Out");
}

std::size_t TCInformationStorage::GetSolutionsOfIssue(const std::string& issueCode,
                                                      std::vector<KURA_Solution>& out) {
    // The same read as GetSolutionInformation, less the copies that the caller would throw away: the log
    // shows it as that.
    KURA_LOG_AS("GetSolutionInformation", DLOG_INFO, "GetSolutionInformation IN");
    std::vector<KURA_Solution> found;
    std::size_t stored = 0;
    {
        const Lock lock(m_KURAmutex);
        for (const KURA_Solution& solution : m_solutions) {
            if (solution.issue_code == issueCode) {
                found.push_back(solution);
            }
        }
        stored = m_solutions.size();
    }
    out.insert(out.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    KURA_LOG_AS("GetSolutionInformation", DLOG_INFO, "GetSolutionInformation Out");
    return stored;
}

void TCInformationStorage::GetKURAMapInformation(TSCurrentKURAMap& out) {
    const Lock lock(m_KURAmutex);
    std::vector<KURA_Solution> solutions(m_solutions);
    out.version = m_version;
    out.count = m_count;
    out.solutions = std::move(solutions);
}

}  // namespace KURA
