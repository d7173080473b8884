// Lines of the engine's tables, and the issue codes in them: cut into columns, evaluated, written to the
// guide application's file and turned into the engine's record.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Fakes.h"
#include "Fuzzing.h"
#include "KURA_DiagResultManager.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "watchman.h"

namespace {

constexpr const char* kGuideFile = "/tmp/tutorlink/inference_result";
constexpr std::size_t kColumns = 5;
constexpr std::size_t kMostTokens = 1 << 16;

/// The columns of a line: what stands between commas; nothing behind a last one.
std::vector<std::string> Columns(const std::string& line) {
    std::vector<std::string> tokens = fuzz::Split(line, ',', kMostTokens);
    if (tokens.back().empty()) {
        tokens.pop_back();
    }
    tokens.resize(std::min(tokens.size(), kColumns));
    return tokens;
}

void CheckColumn(const std::vector<std::string>& tokens, std::size_t k,
                 const std::vector<std::string>& column) {
    fuzz::Expect(column.size() == (k < tokens.size() ? 1u : 0u), "a column gets the text that is there");
    fuzz::Expect(column.empty() || column.front() == tokens[k], "a column gets its own text");
}

void CheckTokens(std::string line) {
    const std::vector<std::string> tokens = Columns(line);
    KURA::KURA_DiagResultManager& manager = *KURA::KURA_DiagResultManager::GetInstance();
    KURA::KURA_SolutionDB solutions;
    manager.TokenString(line, solutions);
    KURA::KURA_InferenceDB inferences;
    manager.TokenString(line, inferences);
    const std::vector<std::string>* columns[][kColumns] = {
        {&solutions.registerTime, &solutions.issueCode, &solutions.solutionCode, &solutions.type,
         &solutions.isApply},
        {&inferences.registerTime, &inferences.lastUpdatedTime, &inferences.issueCode, &inferences.TR,
         &inferences.solutionCode}};
    for (const auto& table : columns) {
        for (std::size_t k = 0; k < kColumns; ++k) {
            CheckColumn(tokens, k, *table[k]);
        }
    }
}

KURA::KURA_Solution SolutionOf(const std::string& code) {
    return {code, code, "INFO", "", "", "", "", "", "", "fg", "", "", "", "", "USER"};
}

/// Every code is present; each of them must stand in the guide's file and in the engine's record.
void CheckCodes(const std::vector<std::string>& codes) {
    std::vector<KURA::KURA_Solution> solutions;
    std::string expected;
    fakes::Set().inferences.clear();
    for (const std::string& text : codes) {
        const std::string code = text.c_str();
        const int number = fuzz::Signed32(code.c_str());
        fakes::Set().inferences[{number, WM_TRANSITION_TYPE_TRUE}] = {
            {number, WM_TRANSITION_TYPE_TRUE, 1, "2026-03-04T05:06:07", "2026-03-04T05:06:07"}};
        solutions.push_back(SolutionOf(code));
        expected += code + "\n";
    }
    auto* storage = KURA::TCInformationStorage::Instance();
    storage->Initialize();
    storage->SetSolutionInformation(static_cast<unsigned int>(solutions.size()), solutions);

    KURA::KURA_DiagResultManager& manager = *KURA::KURA_DiagResultManager::GetInstance();
    manager.CleanDiagResult();
    manager.CreateTutorErrList();
    fuzz::Expect(fuzz::ReadFile(kGuideFile) == expected, "the guide gets every code as the map writes it");
    for (const KURA::KURA_Solution& solution : solutions) {
        WMSolutionParams params{};
        FillSolutionParams(solution.issue_code, "start", &params);
        fuzz::Expect(params.issueCode == fuzz::Signed32(solution.issue_code.c_str()),
                     "the engine's record has the code's number");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string line = fuzz::Begin(data, size);
    CheckTokens(line);
    // Files, store and engine take far longer than the cutting: for one input in eight.
    if (fuzz::IsOneOf(8, line)) {
        fuzz::WriteFile(kGuideFile, "");
        CheckCodes(Columns(line));
    }
    return 0;
}
