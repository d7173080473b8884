// The installed document by way of ParseSolutionMap into the information storage, and everything that reads
// it there.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fuzzing.h"
#include "KURA_DiagResultManager.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

namespace {

constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";

void CheckIssue(const std::string& code, const std::vector<KURA::KURA_Solution>& all) {
    std::vector<KURA::KURA_Solution> found;
    KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(code, found);
    const auto expected = std::count_if(all.begin(), all.end(), [&](const KURA::KURA_Solution& solution) {
        return solution.issue_code == code;
    });
    fuzz::Expect(found.size() == static_cast<std::size_t>(expected),
                 "a look-up finds every solution of the issue");
    WMSolutionParams params{};
    FillSolutionParams(code, "start", &params);
    fuzz::Expect(params.issueCode == fuzz::Signed32(code.c_str()), "the engine's record names the issue");
    const std::string& solutionCode = found.back().sol_code;
    fuzz::Expect(params.solutionCode == fuzz::Signed32(solutionCode.c_str()),
                 "the issue's last solution wins");
}

/// The engine knows no problem at all, so that an evaluation looks at every entry and finds none.
void CheckEvaluation(unsigned int count, std::size_t solutions) {
    try {
        const int found = KURA::KURA_DiagResultManager::GetInstance()->GetInferenceResult();
        fuzz::Expect(found == 0, "nothing is present that the engine does not know");
        fuzz::Expect(count <= solutions, "a count beyond the list is refused");
    } catch (const std::out_of_range&) {
        fuzz::Expect(count > solutions, "only a count beyond the list is refused");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::WriteFile(kMapPath, fuzz::Begin(data, size));
    auto* storage = KURA::TCInformationStorage::Instance();
    storage->Initialize();
    try {
        ParseSolutionMap();
    } catch (const std::out_of_range&) {
        storage->Initialize();
    }
    KURA::TSCurrentKURAMap whole;
    storage->GetKURAMapInformation(whole);
    unsigned int count = 0;
    unsigned int version = 0;
    std::vector<KURA::KURA_Solution> solutions;
    storage->GetSolutionInformation(count, solutions);
    storage->GetSMVersion(version);
    fuzz::Expect(whole.count == count && whole.version == version, "summary and getters agree");
    fuzz::Expect(whole.solutions.size() == solutions.size(), "summary and list are as long");
    if (!solutions.empty()) {
        CheckIssue(solutions.front().issue_code, solutions);
        CheckIssue(solutions.back().issue_code, solutions);
    }
    CheckEvaluation(count, solutions.size());
    return 0;
}
