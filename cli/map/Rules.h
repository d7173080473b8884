// What the checker looks for. One table gives each rule its tag, its severity and the words that explain it;
// the documentation of the rules is written from it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kuramap {

/// Raised with every change of what is found or how it is called.
constexpr std::string_view kRuleSetVersion = "1.0";

enum class Severity { kOff, kInfo, kWarning, kError };

/// "error", "warning", "info", "off".
std::string_view NameOf(Severity severity);

struct Rule {
    std::string_view tag;
    Severity severity;
    std::string_view summary;  ///< what is wrong, without an end mark
    std::string_view effect;   ///< what a set makes of it
    std::string_view example;  ///< an extract that has it
    std::string_view mend;
};

/// Errors first, then warnings, then infos.
const std::vector<Rule>& Rules();

/// Null for an unknown tag.
const Rule* FindRule(std::string_view tag);

/// The tags of all rules.
std::vector<std::string_view> NamesOfTags();

/// One rule for people, plain text.
std::string Explain(const Rule& rule);

/// All rules as the Markdown page of the documentation.
std::string RulesPage();

}  // namespace kuramap
