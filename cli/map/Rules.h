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

/// Every rule by name, in the order of the table.
enum class RuleId {
    kNotWellFormed,
    kRootNotClosed,
    kValueBeforeSolution,
    kNoSolutions,
    kCountMissing,
    kCountTooLarge,
    kCountTooSmall,
    kCodeNotANumber,
    kCodeLeadingZero,
    kCodeOutOfRange,
    kUnknownAction,
    kNameMissing,
    kUnknownOperation,
    kUnknownScreen,
    kValueMissing,
    kCommandLineBreak,
    kQuoteInKeptText,
    kTextEqualsAuthority,
    kUnknownElement,
    kUnknownAttribute,
    kTextContent,
    kDuplicateAttribute,
    kMisplacedElement,
    kRepeatedCount,
    kRepeatedVersion,
    kVersionNotANumber,
    kCountNotANumber,
    kValueNotANumber,
    kValueNotABoolean,
    kValueUnused,
    kSolutionCodeNotANumber,
    kCommandOverwritten,
    kToastLikeANumber,
    kGroundUnknown,
    kFilterNearMiss,
    kTextMissing,
    kTranslationMissing,
    kPlaceholdersDiffer,
    kTextTooLong,
    kCodeWithoutSolution,
    kSolutionWithoutCode,
    kAllowUnused,
    kEncodingNotUtf8,
    kRootUnusual,
    kNameNotLowerCase,
    kSeveralSolutions,
    kNeverShown,
    kAlwaysShown,
};

struct Rule {
    RuleId id;
    std::string_view tag;
    Severity severity;
    std::string_view summary;  ///< what is wrong, without an end mark
    std::string_view effect;   ///< what a set makes of it
    std::string_view example;  ///< an extract that has it
    std::string_view mend;
};

/// Errors first, then warnings, then infos.
const std::vector<Rule>& Rules();

const Rule& RuleOf(RuleId id);

/// Null for an unknown tag.
const Rule* FindRule(std::string_view tag);

/// The tags of all rules.
std::vector<std::string> Tags();

/// One rule for people, plain text.
std::string Explain(const Rule& rule);

/// All rules as the Markdown page of the documentation.
std::string RulesPage();

}  // namespace kuramap
