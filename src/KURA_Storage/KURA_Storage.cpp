#include "KURA_Storage.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <iterator>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "KURA_SolutionMap.h"
#include "base/Log.h"

namespace KURA {

// The mutex is an alias of plain storage, so that no destructor runs at exit: the engine's thread may take
// the lock until the process is gone. It is constructed through the exported name, because the linker puts
// the object into the memory of a host that links the library.
extern "C" {
alignas(boost::mutex) unsigned char kuraMapMutex[sizeof(boost::mutex)];
}
extern boost::mutex m_KURAmutex __attribute__((alias("kuraMapMutex")));
[[maybe_unused]] static const auto* const kMutexMade = new (&m_KURAmutex) boost::mutex;

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
    // After the swap map holds the old list, which the caller destroys once the lock is released.
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
        // Reserve first: a copy that throws while growing would lose the elements of out.
        out.reserve(out.size() + m_solutions.size());
        out.insert(out.end(), m_solutions.begin(), m_solutions.end());
        count = m_count;
    }
    KURA_INFO("GetSolutionInformation Out");
}

void TCInformationStorage::GetSolutionsOfIssue(const std::string& issueCode,
                                               std::vector<KURA_Solution>& out) {
    // Kept: every read of the solutions logs under this name.
    KURA_LOG_AS("GetSolutionInformation", DLOG_INFO, "GetSolutionInformation IN");
    std::vector<KURA_Solution> found;
    {
        const Lock lock(m_KURAmutex);
        std::copy_if(m_solutions.begin(), m_solutions.end(), std::back_inserter(found),
                     [&](const KURA_Solution& solution) { return solution.issue_code == issueCode; });
    }
    out.insert(out.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    KURA_LOG_AS("GetSolutionInformation", DLOG_INFO, "GetSolutionInformation Out");
}

void TCInformationStorage::GetKURAMapInformation(TSCurrentKURAMap& out) {
    const Lock lock(m_KURAmutex);
    std::vector<KURA_Solution> solutions(m_solutions);
    out.version = m_version;
    out.count = m_count;
    out.solutions = std::move(solutions);
}

}  // namespace KURA
