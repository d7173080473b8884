// Scenario files: any text as one, and what can be compared of it without a set.
#include "Scenario.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "Adopt.h"
#include "Compare.h"
#include "Document.h"
#include "Fuzzing.h"
#include "Observation.h"
#include "Record.h"
#include "ScenarioError.h"

namespace {

constexpr const char* kFile = "/tmp/s.json";

/// What is refused is refused in one sentence that begins with the file.
void CheckComplaint(const std::string& complaint) {
    fuzz::Expect(complaint.rfind(kFile, 0) == 0, "a complaint names the file first");
    fuzz::Expect(complaint.find('\n') == std::string::npos, "a complaint is one line");
}

void CheckLayout(const std::string& text) {
    const scenario::Json root = scenario::Document::Parse(text, kFile).Root();
    const std::string laidOut = scenario::ScenarioText(root);
    fuzz::Expect(scenario::Document::Parse(laidOut, kFile).Root() == root,
                 "a scenario laid out says the same");
}

/// Nothing happened in any step: each difference names its step, and what is adopted is a scenario again.
void CheckComparison(const scenario::Scenario& read, const std::string& text) {
    scenario::Observation observation;
    observation.steps.resize(read.steps.size());
    const auto differences = scenario::Differences(read, observation);
    for (const scenario::Difference& difference : differences) {
        fuzz::Expect(!difference.step.empty(), "a difference names its step");
    }
    const scenario::Json adopted =
        scenario::Adopted(scenario::Document::Parse(text, kFile).Root(), observation);
    const scenario::Scenario again = scenario::ParseScenario(scenario::ScenarioText(adopted), kFile);
    fuzz::Expect(scenario::Differences(again, observation).size() <= differences.size(),
                 "what is adopted differs no more");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    try {
        const scenario::Scenario read = scenario::ParseScenario(text, kFile);
        CheckLayout(text);
        CheckComparison(read, text);
    } catch (const scenario::ScenarioError& error) {
        CheckComplaint(error.what());
    }
    return 0;
}
