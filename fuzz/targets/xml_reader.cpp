// Whole documents through the library's reader, as XMLParse hands them over. Expat by itself says which of
// them are refused, and how many solutions there are.
#include <expat.h>
#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "Fuzzing.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"

namespace {

enum class Outcome { kRead, kRefused, kMisplacedValue };

Outcome Read(const std::string& text, KURA::KURA_SolutionMap& map) {
    try {
        return parseInterface(text, map) ? Outcome::kRead : Outcome::kRefused;
    } catch (const std::out_of_range&) {
        return Outcome::kMisplacedValue;
    }
}

bool IsCText(const std::string& text) {
    return std::strlen(text.c_str()) == text.size();
}

bool IsSame(const KURA::KURA_Solution& left, const KURA::KURA_Solution& right) {
    return left.issue_code == right.issue_code && left.sol_name == right.sol_name &&
           left.view_authority == right.view_authority && left.sol_val.size() == right.sol_val.size();
}

void CheckSecondReading(const std::string& text, Outcome outcome, const KURA::KURA_SolutionMap& map) {
    KURA::KURA_SolutionMap again;
    fuzz::Expect(Read(text, again) == outcome, "a second reading ends like the first");
    fuzz::Expect(again.version == map.version && again.count == map.count,
                 "a second reading finds the same numbers");
    fuzz::Expect(again.solutions.size() == map.solutions.size(), "a second reading finds as many solutions");
    for (std::size_t i = 0; i < map.solutions.size(); ++i) {
        fuzz::Expect(IsSame(map.solutions[i], again.solutions[i]),
                     "a second reading finds the same solutions");
    }
}

void XMLCALL CountSolution(void* count, const XML_Char* name, const XML_Char**) {
    *static_cast<std::size_t*>(count) += strcasecmp(name, "solution") == 0 ? 1 : 0;
}

void CheckAgainstExpat(const std::string& text, Outcome outcome, const KURA::KURA_SolutionMap& map) {
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
        XML_ParserCreate(nullptr), XML_ParserFree);
    std::size_t solutions = 0;
    XML_SetUserData(parser.get(), &solutions);
    XML_SetElementHandler(parser.get(), CountSolution, nullptr);
    const XML_Status status = XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), 0);
    fuzz::Expect((outcome == Outcome::kRead) == (status == XML_STATUS_OK), "what Expat reads is read");
    fuzz::Expect(map.solutions.size() == solutions, "there are as many solutions as Expat finds");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    KURA::KURA_SolutionMap map;
    const Outcome outcome = Read(text, map);
    for (const KURA::KURA_Solution& solution : map.solutions) {
        fuzz::Expect(IsCText(solution.issue_code) && IsCText(solution.sol_name), "no text holds a zero byte");
    }
    if (outcome == Outcome::kMisplacedValue) {
        fuzz::Expect(map.solutions.empty(), "a value is misplaced only before the first solution");
    } else if (fuzz::IsOneOf(2, text)) {
        CheckAgainstExpat(text, outcome, map);
    }

    if (fuzz::IsOneOf(8, text)) {
        CheckSecondReading(text, outcome, map);
    }
    return 0;
}
