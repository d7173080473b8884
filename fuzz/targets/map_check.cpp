// The knowledge-base tool on any document: checked, formatted, and compared with what the library reads of
// it.
#include "map/Check.h"

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "Fuzzing.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "map/Difference.h"
#include "map/Format.h"
#include "map/Meaning.h"
#include "map/Report.h"
#include "map/SolutionMap.h"
#include "map/XmlDocument.h"

namespace {

/// The library's reading, where it comes to an end without an exception.
bool ReadByLibrary(const std::string& text, KURA::KURA_SolutionMap& map, bool& isWellFormed) {
    try {
        isWellFormed = parseInterface(text, map);
        return true;
    } catch (const std::out_of_range&) {
        return false;
    }
}

void CompareWithLibrary(const std::string& text, const kuramap::XmlDocument& document,
                        const kuramap::SolutionMap& map) {
    KURA::KURA_SolutionMap read;
    bool isWellFormed = false;
    const bool isRead = ReadByLibrary(text, read, isWellFormed);
    fuzz::Expect(isRead == !map.EarlyValue().has_value(), "tool and library see the same misplaced value");
    if (!isRead) {
        return;
    }
    fuzz::Expect(isWellFormed == !document.Error().has_value(), "tool and library see the same error");
    fuzz::Expect(read.version == map.Version() && read.count == map.DeclaredCount(),
                 "tool and library read the same numbers");
    fuzz::Expect(read.solutions.size() == map.Solutions().size(), "tool and library read as many solutions");
    for (std::size_t i = 0; i < read.solutions.size(); ++i) {
        const kuramap::Solution& solution = map.Solutions()[i];
        fuzz::Expect(read.solutions[i].issue_code == map.Text(solution, kuramap::Field::kIssueCode),
                     "tool and library read the same issues");
        fuzz::Expect(read.solutions[i].sol_val.size() == solution.valueCount,
                     "tool and library read as many values");
    }
}

void CheckFormat(const kuramap::XmlDocument& document, const kuramap::Meaning& meaning) {
    if (document.Error() || document.Unfinished()) {
        return;
    }
    const std::string formatted = kuramap::Format(document);
    const kuramap::XmlDocument again = kuramap::XmlDocument::Parse(formatted, "formatted.xml");
    fuzz::Expect(kuramap::MeaningOf(kuramap::SolutionMap(again)) == meaning, "a formatted map says the same");
    fuzz::Expect(kuramap::Format(again) == formatted, "a formatted map formats to itself");
}

void CheckFindings(const kuramap::XmlDocument& document) {
    const kuramap::CheckResult result = kuramap::CheckMaps({}, {});
    fuzz::Expect(result.findings.empty(), "no documents have no findings");
    kuramap::CheckResult found;
    found.findings = kuramap::CheckMap(document, {});
    for (const kuramap::Finding& finding : found.findings) {
        fuzz::Expect(finding.rule != nullptr && finding.position.line >= 1 && finding.position.column >= 1,
                     "a finding has a rule and a place");
    }
    // Each report names all rules, whatever was found.
    if (document.Source().size() % 16 != 0) {
        return;
    }
    kuramap::ToText(found, [](kuramap::Severity severity) { return std::string(kuramap::NameOf(severity)); });
    kuramap::ToJunit(found, {"map.xml"}, {}, true);
    constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
    kuramap::ToJson(found, {"map.xml"}, {}).dump(-1, ' ', false, kReplace);
    kuramap::ToSarif(found, {}).dump(-1, ' ', false, kReplace);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    try {
        const kuramap::XmlDocument document = kuramap::XmlDocument::Parse(text, "map.xml");
        const kuramap::SolutionMap map(document);
        const kuramap::Meaning meaning = kuramap::MeaningOf(map);
        fuzz::Expect(kuramap::Compare(meaning, meaning).IsEmpty(), "a map does not differ from itself");
        CompareWithLibrary(text, document, map);
        CheckFindings(document);
        CheckFormat(document, meaning);
    } catch (const kuramap::Unreadable&) {
        // What the tool refuses, it refuses with a sentence.
    }
    return 0;
}
