#include "Rules.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <iterator>

#include "Actions.h"
#include "support/Joined.h"

namespace kuramap {

namespace {

constexpr Rule kRules[] = {
    // --- The document ---
    {RuleId::kNotWellFormed, "not-well-formed", Severity::kError, "the document is not well-formed XML",
     "The set reads up to the place and stops: the solutions before it are used, the rest is lost, and the "
     "declared count is then too large, so that a diagnosis breaks off.",
     "<solution issue_code=\"1\" issue_code=\"2\"/>", "Mend the XML at the place that the message names."},
    {RuleId::kRootNotClosed, "root-not-closed", Severity::kError,
     "the document ends before its root element does",
     "The set does not notice: it uses what it has read. The rest of the file was probably lost on the way.",
     "<solutionmap><sm cnt=\"1\"/><solution issue_code=\"1\" sol_type=\"INFO\"/>",
     "Restore the missing end of the file."},
    {RuleId::kValueBeforeSolution, "value-before-solution", Severity::kError,
     "a value stands before the first solution",
     "The whole map cannot be loaded: the load fails with an error, and nothing is diagnosed or repaired.",
     "<sm cnt=\"1\"/><sol_val param_value=\"1\"/><solution issue_code=\"1\"/>",
     "Move the value into the solution that it belongs to."},
    {RuleId::kNoSolutions, "no-solutions", Severity::kError, "the map has no solution",
     "The set looks healthy whatever is wrong with it.", "<solutionmap><sm cnt=\"0\"/></solutionmap>",
     "Add the solutions."},
    {RuleId::kCountMissing, "count-missing", Severity::kError, "no count is declared, or it is 0",
     "A diagnosis evaluates nothing: the set looks healthy whatever is wrong with it.",
     "<solutionmap><solution issue_code=\"1\" sol_type=\"INFO\"/></solutionmap>",
     "Write <sm cnt=\"N\"/> with the number of solutions."},
    {RuleId::kCountTooLarge, "count-too-large", Severity::kError,
     "the declared count is larger than the number of solutions",
     "A diagnosis breaks off with an error once it runs out of solutions, and no list reaches the screen.",
     "<sm cnt=\"2\"/><solution issue_code=\"1\" sol_type=\"INFO\"/>", "Set cnt to the number of solutions."},
    {RuleId::kCountTooSmall, "count-too-small", Severity::kError,
     "the declared count is smaller than the number of solutions",
     "A diagnosis evaluates only so many solutions from the top; the issues after them are never found.",
     "<sm cnt=\"1\"/><solution issue_code=\"1\" sol_type=\"INFO\"/><solution issue_code=\"2\" "
     "sol_type=\"INFO\"/>",
     "Set cnt to the number of solutions."},

    // --- Issue codes ---
    {RuleId::kCodeNotANumber, "code-not-a-number", Severity::kError, "an issue code is not a plain number",
     "The engine is asked for another number (text without digits asks for the code 0, what follows the "
     "digits is dropped), while repairs look for the exact text.",
     "<solution issue_code=\"12a\" sol_type=\"INFO\"/>",
     "Write the engine's code in digits alone, without blank or sign."},
    {RuleId::kCodeLeadingZero, "code-leading-zero", Severity::kError, "an issue code begins with a zero",
     "The engine reports the issue without the zero, and a repair asked for by that text finds nothing.",
     "<solution issue_code=\"0123\" sol_type=\"INFO\"/>", "Leave the leading zeros out."},
    {RuleId::kCodeOutOfRange, "code-out-of-range", Severity::kError, "an issue code is beyond 2147483647",
     "The set reads it as 2147483647: all such issues are one and the same to the engine.",
     "<solution issue_code=\"3000000000\" sol_type=\"INFO\"/>", "Use the code that the engine reports."},

    // --- Actions ---
    {RuleId::kUnknownAction, "unknown-action", Severity::kError, "the action type is not known",
     "The repair does nothing, and the issue is taken for solved all the same. Types are compared exactly.",
     "<solution issue_code=\"1\" sol_type=\"launch\" sol_name=\"org.vesta.menu\"/>",
     "Write one of {action types}."},
    {RuleId::kNameMissing, "name-missing", Severity::kError, "sol_name is empty where the action needs it",
     "The action has nothing to work on: the repair does nothing, and the issue is taken for solved all the "
     "same.",
     "<solution issue_code=\"1\" sol_type=\"LAUNCH\"/>",
     "Name the settings key, operation, command, application, screen or item."},
    {RuleId::kUnknownOperation, "unknown-operation", Severity::kError,
     "the operation of an API action is not known",
     "The repair does nothing, yet the log says that it succeeded. Operations are compared exactly.",
     "<solution issue_code=\"1\" sol_type=\"API\" sol_name=\"resetPictureSize\"/>", "Write one of {API}."},
    {RuleId::kUnknownScreen, "unknown-screen", Severity::kError,
     "the screen of a MSGPORT action is not known",
     "The repair does nothing, and the issue is taken for solved all the same. Screens are compared exactly.",
     "<solution issue_code=\"1\" sol_type=\"MSGPORT\" sol_name=\"ShowStorage\"/>", "Write one of {MSGPORT}."},
    {RuleId::kValueMissing, "value-missing", Severity::kError,
     "a value is missing where the action needs one",
     "An empty text is used: 0 for a number, false for a boolean, an empty setting for a text.",
     "<solution issue_code=\"1\" sol_type=\"VCONFSET_INT\" sol_name=\"db/key\"/>",
     "Add <sol_val param_value=\"...\"/> inside the solution."},
    {RuleId::kCommandLineBreak, "command-line-break", Severity::kError, "a command holds a line break",
     "The agent reads one line a request: it runs the first line only, or refuses the command.",
     "<solution issue_code=\"1\" sol_type=\"CMD\" sol_name=\"first&#10;second\"/>",
     "Write one line; put several steps into one command of the agent."},

    // --- The store of unfixed problems ---
    {RuleId::kQuoteInKeptText, "quote-in-kept-text", Severity::kError,
     "a text that is kept with an unfixed problem holds a double quote",
     "The issue is listed after the diagnosis but not kept: the store refuses its row, and after a restart "
     "the problem is forgotten.",
     "<solution issue_code=\"1\" sol_type=\"INFO\" sid_issue=\"a &quot;b&quot;\" view_authority=\"USER\"/>",
     "Write the text without double quotes."},
    {RuleId::kTextEqualsAuthority, "text-equals-authority", Severity::kError,
     "a text that is kept equals view_authority",
     "The store ends the row at the first text that equals its last one and refuses it: the issue is listed "
     "after the diagnosis but not kept.",
     "<solution issue_code=\"1\" sol_type=\"INFO\" action=\"USER\" view_authority=\"USER\"/>",
     "Give the text another value."},

    // --- Names ---
    {RuleId::kUnknownElement, "unknown-element", Severity::kWarning, "an element is not known",
     "The set skips it.", "<solutoin issue_code=\"1\"/>", "Correct the name, or make it a comment."},
    {RuleId::kUnknownAttribute, "unknown-attribute", Severity::kWarning, "an attribute is not known",
     "The set ignores it.", "<solution issue_code=\"1\" sol_nam=\"db/key\"/>",
     "Correct the name, or leave the attribute out."},
    {RuleId::kTextContent, "text-content", Severity::kWarning, "text stands between tags",
     "The set ignores it: all data is in attributes.", "<sol_val>35</sol_val>",
     "Write the text as an attribute, such as param_value, or as a comment."},
    {RuleId::kDuplicateAttribute, "duplicate-attribute", Severity::kWarning,
     "an attribute is written twice, in different letter case",
     "To the set both are one attribute, and the one written later counts.",
     "<solution issue_code=\"1\" ISSUE_CODE=\"2\"/>", "Leave one of them."},
    {RuleId::kMisplacedElement, "misplaced-element", Severity::kWarning,
     "an element stands where it is not expected",
     "The set does not look at nesting: a value belongs to the solution that was opened last, and a solution "
     "inside another is one of its own.",
     "<solution issue_code=\"1\"/><sol_val param_value=\"1\"/>",
     "Write solutions side by side, and each value inside its solution."},
    {RuleId::kRepeatedCount, "repeated-count", Severity::kWarning, "the count is declared more than once",
     "The last one counts.", "<sm cnt=\"1\"/><sm cnt=\"2\"/>", "Leave one sm element."},
    {RuleId::kRepeatedVersion, "repeated-version", Severity::kWarning, "the version is given more than once",
     "The last one counts.", "<sminfo version=\"1\"/><sminfo version=\"2\"/>", "Leave one sminfo element."},
    {RuleId::kVersionNotANumber, "version-not-a-number", Severity::kWarning,
     "the version is not a plain number",
     "The set drops what follows the digits, takes 0 without digits, and stops at 2147483647.",
     "<sminfo version=\"2.1\"/>", "Write digits alone, 2147483647 at most."},

    // --- Values ---
    {RuleId::kCountNotANumber, "count-not-a-number", Severity::kWarning,
     "the declared count is not a plain number",
     "The set drops what follows the digits, and a minus sign makes it a very large number.",
     "<sm cnt=\"1 entry\"/>", "Write digits alone."},
    {RuleId::kValueNotANumber, "value-not-a-number", Severity::kWarning,
     "a value is not a number where the action reads one",
     "The set reads the digits at its beginning and drops the rest: without digits it writes 0, so \"true\" "
     "writes false. What does not fit becomes the nearest number that does.",
     "<solution sol_type=\"VCONFSET_BOOL\" sol_name=\"db/key\"><sol_val param_value=\"true\"/></solution>",
     "Write a whole number from -2147483648 to 2147483647."},
    {RuleId::kValueNotABoolean, "value-not-a-boolean", Severity::kWarning, "a boolean is neither 0 nor 1",
     "The number is passed on as it is, and what the settings service makes of it is not certain.",
     "<solution sol_type=\"VCONFSET_BOOL\" sol_name=\"db/key\"><sol_val param_value=\"25\"/></solution>",
     "Write 0 for off, 1 for on."},
    {RuleId::kValueUnused, "value-unused", Severity::kWarning, "a value is never used",
     "Only the first value of a solution is used, and only by an action that needs one.",
     "<solution sol_type=\"LAUNCH\" sol_name=\"org.vesta.menu\"><sol_val param_value=\"3\"/></solution>",
     "Leave the value out, or write it empty."},
    {RuleId::kSolutionCodeNotANumber, "solution-code-not-a-number", Severity::kWarning,
     "a solution code is not a plain number",
     "The engine records the digits at its beginning, 0 without digits, 2147483647 for what is larger.",
     "<solution issue_code=\"1\" sol_code=\"A1\"/>", "Write digits alone, 2147483647 at most."},
    {RuleId::kKeyNearMiss, "key-near-miss", Severity::kWarning,
     "a settings key is nearly, but not exactly, another one of the map",
     "A set writes whatever key it is given: of two keys that differ in one letter, in letter case or in "
     "blanks, one is most likely misspelt, and nothing reads what is written there. Keys that differ in "
     "digits are taken for different ones.",
     "sol_name=\"db/menu/picture/mode\" and sol_name=\"db/menu/pictur/mode\"",
     "Write the key that the set reads; accept the finding where both are meant."},
    {RuleId::kCommandOverwritten, "command-overwritten", Severity::kWarning,
     "an issue has more than one command",
     "There is one request file for commands: the later command overwrites the earlier one before the agent "
     "has read it.",
     "<solution issue_code=\"1\" sol_type=\"CMD\" sol_name=\"a\"/><solution issue_code=\"1\" "
     "sol_type=\"CMD\" sol_name=\"b\"/>",
     "Put both steps into one command."},
    {RuleId::kToastLikeANumber, "toast-like-a-number", Severity::kWarning, "toast1 looks like a number",
     "The store keeps it as a number: \"0012\" comes back as \"12\", \"1e3\" as \"1000\", \"1.5\" as "
     "nothing.",
     "<solution issue_code=\"1\" toast1=\"0012\"/>", "Begin the string id with a letter."},

    // --- Filters ---
    {RuleId::kGroundUnknown, "ground-unknown", Severity::kWarning, "is_fg_bg is neither fg nor bg",
     "Exactly \"bg\" keeps an issue off the lists; everything else is foreground.",
     "<solution issue_code=\"1\" is_fg_bg=\"BG\"/>", "Write fg or bg."},
    {RuleId::kFilterNearMiss, "filter-near-miss", Severity::kWarning,
     "a filter word is nearly, but not exactly, one that means something",
     "Filter words are compared exactly, with letter case and blanks: a source that is not DTV or HDMI is "
     "shown on every input, an authority that is not USER is never shown.",
     "<solution issue_code=\"1\" source=\"hdmi\" view_authority=\"User\"/>",
     "Write DTV, HDMI or USER exactly."},

    {RuleId::kRebootUnknown, "reboot-unknown", Severity::kWarning, "reboot is neither no, yes nor ask",
     "The library hands the word on, and the host acts on it; of another word nobody can say what it makes.",
     "<solution issue_code=\"1\" reboot=\"maybe\"/>", "Write no, yes or ask."},
    {RuleId::kScreenActionUnknown, "screen-action-unknown", Severity::kWarning,
     "action is neither APPLY, CONFIRM, OPEN nor NONE",
     "The library hands the word on, and the host's screens act on it; of another word nobody can say what "
     "they "
     "make.",
     "<solution issue_code=\"1\" action=\"OPN\"/>", "Write APPLY, CONFIRM, OPEN or NONE."},

    // --- Texts and codes from other files ---
    {RuleId::kTextMissing, "text-missing", Severity::kWarning, "a string id is in none of the text files",
     "The screen has no text to show.", "<solution issue_code=\"1\" sid_issue=\"NO_SUCH_ID\"/>",
     "Add the text to every language, or correct the id."},
    {RuleId::kTranslationMissing, "translation-missing", Severity::kWarning,
     "a string id is missing in a language", "The screen has no text to show in that language.",
     "en.json has the id, de.json has not", "Add the text to that language."},
    {RuleId::kPlaceholdersDiffer, "placeholders-differ", Severity::kWarning,
     "the languages' texts have different placeholders",
     "The host fills in something else than the text expects, or fails to.",
     "\"%d files\" and \"%s Dateien\"", "Use the same placeholders in every language."},
    {RuleId::kTextTooLong, "text-too-long", Severity::kWarning, "a text is longer than the given width",
     "The screen cuts the text off or breaks it over lines.", "--width 20 and a text of 25 characters",
     "Shorten the text, or raise the width."},
    {RuleId::kCodeWithoutSolution, "code-without-solution", Severity::kWarning,
     "the engine has a code that no solution names",
     "The engine may report the issue, and nobody hears of it.", "1003 in the file of codes, not in the map",
     "Add a solution, or take the code out of the file."},
    {RuleId::kSolutionWithoutCode, "solution-without-code", Severity::kWarning,
     "no code of the engine reaches a solution", "The engine never reports the issue.",
     "<solution issue_code=\"9999\"/> and no 9999 in the file of codes",
     "Correct the code, or remove the solution."},
    {RuleId::kAllowUnused, "allow-unused", Severity::kWarning, "an entry of the allow file allows nothing",
     "What it allowed is mended, or the entry is misspelt.", "value-unused 1001: kept for older hosts",
     "Remove the entry."},

    // --- Worth knowing ---
    {RuleId::kEncodingNotUtf8, "encoding-not-utf-8", Severity::kInfo, "the document is not in UTF-8",
     "The set reads UTF-16, ISO-8859-1 and US-ASCII too, but its log shows such a document garbled or cut.",
     "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", "Save the document as UTF-8."},
    {RuleId::kRootUnusual, "root-unusual", Severity::kInfo, "the root element is not solutionmap",
     "The set does not mind; editors that check against the schema do.", "<map><sm cnt=\"1\"/>...</map>",
     "Call it solutionmap."},
    {RuleId::kNameNotLowerCase, "name-not-lower-case", Severity::kInfo, "a name is not written in lower case",
     "The set reads names in any letter case; editors that check against the schema do not.",
     "<Solution Issue_Code=\"1\"/>", "Write names in lower case."},
    {RuleId::kSeveralSolutions, "several-solutions", Severity::kInfo, "an issue has several solutions",
     "The issue is listed once for each, one repair applies all of them in their order, and the engine hears "
     "of the last one.",
     "<solution issue_code=\"1\" sol_type=\"INFO\"/><solution issue_code=\"1\" sol_type=\"INFO\"/>",
     "Nothing, if it is meant so."},
    {RuleId::kNeverShown, "never-shown", Severity::kInfo, "an issue is never shown",
     "Only view_authority=\"USER\" is shown; the issue is evaluated and counted all the same.",
     "<solution issue_code=\"1\" view_authority=\"SERVICE\"/>", "Nothing, if it is meant so."},
    {RuleId::kAlwaysShown, "always-shown", Severity::kInfo, "an issue is shown whatever the input source",
     "Only DTV and HDMI limit an issue to an input; every other word shows it always. ALL and an empty text "
     "say so by convention.",
     "<solution issue_code=\"1\" source=\"USB\"/>", "Write ALL if it is meant so."},
};

constexpr bool AreInOrder() {
    for (std::size_t i = 0; i < std::size(kRules); ++i) {
        if (kRules[i].id != static_cast<RuleId>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(AreInOrder(), "the rows stand in the order of RuleId");

/// Fills the names that a set knows into the advice: {action types} stands for all types, {TYPE} for the
/// names that actions of that type may have.
std::string_view WithNames(std::string_view mend) {
    static std::deque<std::string> kept;
    const auto replace = [&mend](const std::string& mark, const std::vector<std::string>& names) {
        const std::size_t at = mend.find(mark);
        if (at != std::string_view::npos) {
            mend =
                kept.emplace_back(std::string(mend).replace(at, mark.size(), support::Joined(names, ", ")));
        }
    };
    replace("{action types}", NamesOf(ActionTypes()));
    for (const ActionType& type : ActionTypes()) {
        if (type.names != nullptr) {
            replace("{" + std::string(type.name) + "}", NamesOf(type.names->all));
        }
    }
    return mend;
}

}  // namespace

std::string_view NameOf(Severity severity) {
    switch (severity) {
        case Severity::kError:
            return "error";
        case Severity::kWarning:
            return "warning";
        case Severity::kInfo:
            return "info";
        case Severity::kOff:
            break;
    }
    return "off";
}

const std::vector<Rule>& Rules() {
    static const std::vector<Rule> kAll = [] {
        std::vector<Rule> rules(std::begin(kRules), std::end(kRules));
        for (Rule& rule : rules) {
            rule.mend = WithNames(rule.mend);
        }
        return rules;
    }();
    return kAll;
}

const Rule& RuleOf(RuleId id) {
    return Rules()[static_cast<std::size_t>(id)];
}

const Rule* FindRule(std::string_view tag) {
    const auto rule =
        std::find_if(Rules().begin(), Rules().end(), [&](const Rule& r) { return r.tag == tag; });
    return rule == Rules().end() ? nullptr : &*rule;
}

std::vector<std::string> Tags() {
    std::vector<std::string> tags;
    for (const Rule& rule : Rules()) {
        tags.emplace_back(rule.tag);
    }
    return tags;
}

std::string Explain(const Rule& rule) {
    std::string text;
    text.append(rule.tag)
        .append(" (")
        .append(NameOf(rule.severity))
        .append("): ")
        .append(rule.summary)
        .append(".\n\n");
    text.append(rule.effect)
        .append("\n\nExample:\n    ")
        .append(rule.example)
        .append("\n\nMend: ")
        .append(rule.mend);
    return text + "\n";
}

std::string RulesPage() {
    std::string page =
        "# The rules of `kura map check`\n\n<!-- Written by \"kura map explain --markdown\"; do not edit. "
        "-->\n\nRule set " +
        std::string(kRuleSetVersion) +
        ". An error breaks something on a set; a warning is most likely a mistake; an info is\nworth "
        "knowing. `--severity TAG=LEVEL` changes a level, an allow file accepts single findings "
        "([map-tool.md](map-tool.md)).\n";
    Severity heading = Severity::kOff;
    for (const Rule& rule : Rules()) {
        if (rule.severity != heading) {
            heading = rule.severity;
            page += heading == Severity::kError     ? "\n## Errors\n"
                    : heading == Severity::kWarning ? "\n## Warnings\n"
                                                    : "\n## Infos\n";
        }
        page.append("\n### ").append(rule.tag).append("\n\nWhat: ").append(rule.summary).append(".\n\n");
        page.append(rule.effect).append("\n\n```xml\n").append(rule.example).append("\n```\n\n");
        page.append("Mend: ").append(rule.mend).append("\n");
    }
    return page;
}

}  // namespace kuramap
