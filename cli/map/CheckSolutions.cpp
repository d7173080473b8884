// The rules about single solutions, and about several for one issue.
#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <unordered_map>

#include "Actions.h"
#include "Characters.h"
#include "Checker.h"
#include "Number32.h"
#include "support/NearestName.h"

namespace kuramap {

namespace {

/// Whether SQLite would store the text as a number in the column of toast1: sign, digits, fraction, exponent.
bool LooksLikeNumber(std::string_view text) {
    std::string_view rest = Trimmed(text);
    const auto digits = [&rest] {
        std::size_t count = 0;
        while (count < rest.size() && rest[count] >= '0' && rest[count] <= '9') {
            ++count;
        }
        rest.remove_prefix(count);
        return count;
    };
    const auto skip = [&rest](std::string_view any) {
        const bool isThere = !rest.empty() && any.find(rest.front()) != std::string_view::npos;
        rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    };
    skip("+-");
    std::size_t count = digits();
    if (skip(".")) {
        count += digits();
    }
    if (count == 0) {
        return false;
    }
    if (skip("eE")) {
        skip("+-");
        if (digits() == 0) {
            return false;
        }
    }
    return rest.empty();
}

/// Whether text is word with a mistake: another letter case, blanks around it, one letter too many or too
/// few, or one letter changed. In a word of three letters a changed letter counts as another word.
bool IsNear(std::string_view text, std::string_view word) {
    const std::string_view letters = Trimmed(text);
    const std::size_t most = word.size() > 3 || letters.size() != word.size() ? 1 : 0;
    return text != word && letters.size() <= word.size() + 1 && support::EditDistance(letters, word) <= most;
}

/// The first of words that text is near to; empty when there is none.
std::string_view NearlyOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
    const auto* const near =
        std::find_if(words.begin(), words.end(), [&](std::string_view word) { return IsNear(text, word); });
    return near == words.end() ? std::string_view() : *near;
}

}  // namespace

void Checker::CheckSolution(const Solution& solution) {
    CheckIssueCode(solution);
    CheckSolutionCode(solution);
    CheckAction(solution);
    CheckValues(solution);
    CheckKeptTexts(solution);
    CheckFilters(solution);
    CheckHostWords(solution);
}

void Checker::CheckIssueCode(const Solution& solution) {
    const std::string_view code = m_map.Text(solution, Field::kIssueCode);
    const Number32 number = Number32::Read(code);
    const Subject subject = At(solution, Field::kIssueCode);
    if (!number.IsPlain() || number.hasSign) {
        Report(RuleId::kCodeNotANumber, subject,
               (code.empty() ? "the issue code is missing"
                             : "the issue code " + Quoted(code) + " is not a plain number") +
                   "; the engine is asked for " + std::to_string(number.Signed()) +
                   ", while a repair looks for the exact text: write the code in digits alone");
    } else if (number.hasLeadingZero) {
        Report(RuleId::kCodeLeadingZero, subject,
               "the issue code " + Quoted(code) + " begins with a zero; the engine reports " +
                   std::to_string(number.Signed()) + ", which a repair does not find: leave the zeros out");
    } else if (!number.FitsSigned()) {
        Report(RuleId::kCodeOutOfRange, subject,
               "the issue code " + Quoted(code) +
                   " is beyond 2147483647, and the engine is asked for 2147483647 "
                   "instead: use the code that the engine reports");
    }
}

void Checker::CheckSolutionCode(const Solution& solution) {
    const std::string_view code = m_map.Text(solution, Field::kSolutionCode);
    const Number32 number = Number32::Read(code);
    if (!number.IsPlain() || number.hasSign || !number.FitsSigned()) {
        Report(
            RuleId::kSolutionCodeNotANumber, At(solution, Field::kSolutionCode),
            (code.empty() ? "the solution code is missing"
                          : "the solution code " + Quoted(code) + " is not a plain number up to 2147483647") +
                "; the engine records " + std::to_string(number.Signed()) + ": write digits alone");
    }
}

void Checker::CheckAction(const Solution& solution) {
    const std::string_view name = m_map.Text(solution, Field::kActionType);
    const ActionType* const type = FindActionType(name);
    if (type == nullptr) {
        Report(RuleId::kUnknownAction, At(solution, Field::kActionType),
               (name.empty() ? "sol_type is missing" : "there is no action type " + Quoted(name)) +
                   "; the repair does nothing, and the issue is taken for solved" +
                   support::Suggestion(std::string(name), NamesOf(ActionTypes())));
        return;
    }
    CheckTarget(solution, *type);
}

void Checker::CheckTarget(const Solution& solution, const ActionType& type) {
    const std::string_view name = m_map.Text(solution, Field::kActionName);
    const Subject subject = At(solution, Field::kActionName);
    if (!type.target.empty() && Trimmed(name).empty()) {
        Report(RuleId::kNameMissing, subject,
               "sol_name is empty, but " + std::string(type.name) + " needs the " + std::string(type.target) +
                   " there");
        return;
    }
    if (type.names != nullptr && FindNamedAction(type, name) == nullptr) {
        Report(type.names->unknown, subject,
               "there is no " + std::string(type.target) + " " + Quoted(name) + "; " +
                   std::string(type.names->consequence) +
                   support::Suggestion(std::string(name), NamesOf(type.names->all)));
    }
    if (type.isForAgent && name.find_first_of("\r\n") != std::string_view::npos) {
        Report(RuleId::kCommandLineBreak, subject,
               "the command " + Quoted(name) +
                   " has a line break; the agent reads one line a request: write one line");
    }
}

void Checker::CheckValues(const Solution& solution) {
    const std::string_view type = m_map.Text(solution, Field::kActionType);
    const ValueUse use = UseOfValue(type, m_map.Text(solution, Field::kActionName));
    const Value* const first = m_map.FirstValue(solution);
    if (use != ValueUse::kNone) {
        const bool needsDigits = use != ValueUse::kText;
        if (first == nullptr || first->value == kNoAttribute ||
            (needsDigits && Trimmed(m_map.TextOf(first->value)).empty())) {
            Subject subject = At(solution);
            subject.offset = first == nullptr ? subject.offset : m_document.Elements()[first->element].offset;
            Report(RuleId::kValueMissing, subject,
                   std::string(type) + " needs a value, and none is given; the set uses " +
                       (!needsDigits                ? "an empty text"
                        : use == ValueUse::kBoolean ? "false"
                                                    : "0") +
                       ": write <sol_val param_value=\"...\"/> inside the solution");
        } else if (needsDigits) {
            CheckNumber(solution, *first, use);
        }
    }
    // Nobody knows what an unknown action would use.
    const ActionType* const known = FindActionType(type);
    const std::string_view name = m_map.Text(solution, Field::kActionName);
    if (known == nullptr || (known->names != nullptr && FindNamedAction(*known, name) == nullptr)) {
        return;
    }
    for (std::uint32_t i = use == ValueUse::kNone ? 0 : 1; i < solution.valueCount; ++i) {
        const Value& value = m_map.Values()[solution.firstValue + i];
        if (i > 0 || !m_map.TextOf(value.value).empty()) {
            Subject subject = At(solution);
            subject.offset = AtAttribute(m_document.Elements()[value.element], value.value).offset;
            Report(RuleId::kValueUnused, subject,
                   i > 0
                       ? "only the first value of a solution is used, and this is a further one: leave it out"
                       : "the value " + Quoted(m_map.TextOf(value.value)) + " is not used by " +
                             std::string(type) + " " + Quoted(name) + ": leave it out or empty");
        }
    }
}

void Checker::CheckNumber(const Solution& solution, const Value& value, ValueUse use) {
    const std::string_view text = m_map.TextOf(value.value);
    const Number32 number = Number32::Read(text);
    Subject subject = At(solution);
    subject.offset = AtAttribute(m_document.Elements()[value.element], value.value).offset;
    if (!number.hasDigits || number.hasRest || !number.FitsSigned()) {
        const std::string result =
            use == ValueUse::kBoolean && number.Signed() == 0 ? "false" : std::to_string(number.Signed());
        Report(RuleId::kValueNotANumber, subject,
               "the value " + Quoted(text) + " is not a whole number of 32 bits; the set writes " + result +
                   (use == ValueUse::kBoolean ? ": write 0 for off, 1 for on" : ": write digits alone"));
    } else if (use == ValueUse::kBoolean && (number.isNegative || number.magnitude > 1)) {
        Report(RuleId::kValueNotABoolean, subject,
               "the boolean value " + Quoted(text) + " is neither 0 nor 1: write 0 for off, 1 for on");
    }
}

void Checker::CheckKeptTexts(const Solution& solution) {
    const std::string_view authority = m_map.Text(solution, Field::kAuthority);
    const bool isKept = authority == "USER" && m_map.Text(solution, Field::kGround) != "bg";
    for (const Field field : kKeptFields) {
        const std::string_view text = m_map.Text(solution, field);
        if (text.find('"') != std::string_view::npos) {
            Report(RuleId::kQuoteInKeptText, At(solution, field),
                   std::string(NameOf(field)) +
                       " holds a double quote, so the store of unfixed problems refuses the "
                       "issue: write it without");
        }
        if (isKept && field != Field::kAuthority && text == authority) {
            Report(RuleId::kTextEqualsAuthority, At(solution, field),
                   std::string(NameOf(field)) + " equals view_authority (" + Quoted(text) +
                       "), so the store of unfixed problems refuses the issue: write something else");
        }
    }
    const std::string_view toast = m_map.Text(solution, Field::kToast1);
    if (LooksLikeNumber(toast)) {
        Report(RuleId::kToastLikeANumber, At(solution, Field::kToast1),
               "toast1 " + Quoted(toast) +
                   " looks like a number, and the store changes how it is written: begin the "
                   "string id with a letter");
    }
}

void Checker::CheckFilters(const Solution& solution) {
    const std::string_view ground = m_map.Text(solution, Field::kGround);
    if (SolutionMap::Attribute(solution, Field::kGround) != kNoAttribute && ground != "fg" &&
        ground != "bg") {
        Report(RuleId::kGroundUnknown, At(solution, Field::kGround),
               "is_fg_bg is " + Quoted(ground) + ", which the set takes for the foreground: write fg or bg");
    }
    const std::string_view source = m_map.Text(solution, Field::kSource);
    const std::string_view authority = m_map.Text(solution, Field::kAuthority);
    if (const std::string_view word = NearlyOneOf(source, {"DTV", "HDMI"}); !word.empty()) {
        Report(RuleId::kFilterNearMiss, At(solution, Field::kSource),
               "source " + Quoted(source) + " is not \"" + std::string(word) +
                   "\": the issue is shown on every input; write the word exactly");
    } else if (source != "DTV" && source != "HDMI" && source != "ALL" && !source.empty() && ground != "bg") {
        Report(RuleId::kAlwaysShown, At(solution, Field::kSource),
               "source " + Quoted(source) + " limits the issue to no input: it is always shown");
    }
    if (const std::string_view word = NearlyOneOf(authority, {"USER"}); !word.empty()) {
        Report(RuleId::kFilterNearMiss, At(solution, Field::kAuthority),
               "view_authority " + Quoted(authority) + " is not \"" + std::string(word) +
                   "\": the issue is never shown; write the word exactly");
    } else if (authority != "USER" && ground != "bg") {
        Report(RuleId::kNeverShown, At(solution, Field::kAuthority),
               (authority.empty() ? "view_authority is empty" : "view_authority is " + Quoted(authority)) +
                   ": the issue is evaluated but never shown");
    }
}

/// The library hands these words on unchecked; screens act only on the documented ones.
void Checker::CheckHostWords(const Solution& solution) {
    static const std::vector<std::string> kReboots = {"no", "yes", "ask"};
    static const std::vector<std::string> kScreenActions = {"APPLY", "CONFIRM", "OPEN", "NONE"};
    CheckHostWord(solution, Field::kReboot, RuleId::kRebootUnknown, kReboots);
    CheckHostWord(solution, Field::kAction, RuleId::kScreenActionUnknown, kScreenActions);
}

void Checker::CheckHostWord(const Solution& solution, Field field, RuleId rule,
                            const std::vector<std::string>& known) {
    const std::string_view word = m_map.Text(solution, field);
    if (word.empty() || std::find(known.begin(), known.end(), word) != known.end()) {
        return;
    }
    std::string all;
    for (const std::string& candidate : known) {
        all += (all.empty() ? "" : candidate == known.back() ? " or " : ", ") + candidate;
    }
    Report(rule, At(solution, field),
           std::string(NameOf(field)) + " is " + Quoted(word) +
               ", and no screen is known to act on that: write " + all +
               support::Suggestion(std::string(word), known));
}

void Checker::CheckRepeatedIssues() {
    struct Seen {
        std::size_t solutions = 0;
        std::size_t commands = 0;
    };
    std::unordered_map<std::string_view, Seen> issues;
    issues.reserve(m_map.Solutions().size());
    for (const Solution& solution : m_map.Solutions()) {
        Seen& seen = issues[m_map.Text(solution, Field::kIssueCode)];
        ++seen.solutions;
        if (seen.solutions > 1) {
            Report(RuleId::kSeveralSolutions, At(solution, Field::kIssueCode),
                   "this is solution " + std::to_string(seen.solutions) +
                       " of the issue: it is listed once for each, and one repair applies all of them");
        }
        const ActionType* const type = FindActionType(m_map.Text(solution, Field::kActionType));
        if (type != nullptr && type->isForAgent && ++seen.commands > 1) {
            Report(RuleId::kCommandOverwritten, At(solution, Field::kActionType),
                   "the issue has a command before this one, which this one overwrites before the agent has "
                   "read it: "
                   "put both into one command");
        }
    }
}

}  // namespace kuramap
