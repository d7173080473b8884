// The process-wide home of the parsed solution map.
#pragma once

#include <boost/thread/mutex.hpp>
#include <string>
#include <vector>

#include "KURA_Export.h"
#include "KURA_SolutionMap.h"

namespace KURA {

/// Guards the creation of the information storage and every operation on it. Not recursive. No other lock is
/// taken while it is held.
extern KURA_API boost::mutex m_KURAmutex;

/// Summary of the stored map.
struct TSCurrentKURAMap {
    unsigned int version = 0;              ///< of the map
    unsigned int count = 0;                ///< as declared by the document
    std::vector<KURA_Solution> solutions;  ///< in document order
};

/// Thread-safe: every operation holds m_KURAmutex while it uses the store. Reads hand out copies, never a
/// reference into the store. A load of the map replaces version, count and solutions in one step; a host that
/// sets them by separate calls lets a reader see a new count beside an old list. A failure to lock throws
/// Boost's lock error. When a copy runs out of memory, std::bad_alloc passes and the output is as before.
class KURA_API TCInformationStorage {
public:
    /// Created on the first call, never destroyed.
    static TCInformationStorage* Instance();
    TCInformationStorage(const TCInformationStorage&) = delete;
    TCInformationStorage& operator=(const TCInformationStorage&) = delete;

    /// Version 0, count 0, no solutions.
    void Initialize();
    /// The same as Initialize.
    void ResetInformationStorage();

    /// Replaces the map's version.
    void SetSMVersion(unsigned int version);
    /// Hands back the map's version.
    void GetSMVersion(unsigned int& version);
    /// Replaces the declared count.
    void SetSMCount(unsigned int count);
    /// Hands back the declared count.
    void GetSMCount(unsigned int& count);

    /// Replaces version, count and solutions in one step: a reader at the same time gets the whole old map or
    /// the whole new one. Moving the map in avoids a copy.
    void SetSolutionMap(KURA_SolutionMap map);

    /// Replaces the count and appends the solutions. Moving the vector in avoids a copy.
    void SetSolutionInformation(unsigned int count, std::vector<KURA_Solution> solutions);

    /// Hands back the declared count and appends a copy of every solution to out, which is not cleared.
    void GetSolutionInformation(unsigned int& count, std::vector<KURA_Solution>& out);

    /// Appends a copy of every solution whose issue_code equals issueCode byte for byte, in document order.
    /// Logs as GetSolutionInformation does.
    void GetSolutionsOfIssue(const std::string& issueCode, std::vector<KURA_Solution>& out);

    /// Overwrites out with version, count and all solutions.
    void GetKURAMapInformation(TSCurrentKURAMap& out);

private:
    TCInformationStorage() = default;

    // Guarded by m_KURAmutex, like all members that follow.
    static TCInformationStorage* m_pInstance;
    unsigned int m_version = 0;
    unsigned int m_count = 0;
    std::vector<KURA_Solution> m_solutions;
};

}  // namespace KURA
