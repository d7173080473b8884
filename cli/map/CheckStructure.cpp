// The rules about the document as a whole: its form, its names, its declared count.
#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "Characters.h"
#include "Checker.h"
#include "Number32.h"
#include "support/NearestName.h"

namespace kuramap {

namespace {

constexpr std::string_view kRoot = "solutionmap";

std::string Plural(std::size_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

/// Whether the attribute is one of XML itself or names the schema.
bool IsForTools(const std::string& name) {
    return name.rfind("xmlns:", 0) == 0 || name.rfind("xsi:", 0) == 0 || name.rfind("xml:", 0) == 0;
}

}  // namespace

void Checker::CheckReading() {
    if (const auto& error = m_document.Error()) {
        Report(RuleId::kNotWellFormed, {error->offset, ""},
               "the XML is broken here: " + error->reason + "; the set uses the " +
                   Plural(m_map.Solutions().size(), "solution") + " before this place and loses the rest");
    }
    if (const auto& unfinished = m_document.Unfinished()) {
        Report(RuleId::kRootNotClosed, {unfinished->offset, ""},
               "the document ends before its root element does (" + unfinished->reason +
                   "); the set does not notice, but something is probably lost: restore the end of the file");
    }
    if (const auto early = m_map.EarlyValue()) {
        Report(RuleId::kValueBeforeSolution, At(m_document.Elements()[*early]),
               "a value stands before the first solution; the set cannot load the whole map: move it into "
               "its solution");
    }
    if (ToLower(m_document.Encoding()) != "utf-8") {
        Report(RuleId::kEncodingNotUtf8, {},
               "the document is in " + m_document.Encoding() +
                   "; the set reads it, but its log shows it garbled or cut: save it as UTF-8");
    }
}

void Checker::CheckRoot() {
    const Element& root = m_document.Elements().front();
    if (root.name->lower != kRoot) {
        Report(RuleId::kRootUnusual, At(root),
               "the root element is called " + Quoted(root.name->text) + "; editors expect \"solutionmap\"");
    }
    if (m_map.KindOf(root) != ElementKind::kUnknown) {
        return;
    }
    for (std::uint32_t i = 0; i < root.attributeCount; ++i) {
        const std::uint32_t attribute = root.firstAttribute + i;
        const Name& name = *m_document.Attributes()[attribute].name;
        if (!IsForTools(name.text)) {
            Report(RuleId::kUnknownAttribute, AtAttribute(root, attribute),
                   "the root element knows no attribute " + Quoted(name.text) + "; the set ignores it");
        }
    }
}

void Checker::CheckCount() {
    // A broken document does not show how many solutions it was meant to have.
    if (m_document.Error()) {
        return;
    }
    const std::size_t solutions = m_map.Solutions().size();
    const std::string wanted = "write <sm cnt=\"" + std::to_string(solutions) + "\"/>";
    if (solutions == 0) {
        Report(RuleId::kNoSolutions, At(m_document.Elements().front()),
               "the map has no solution; the set looks healthy whatever is wrong with it");
    }
    if (m_map.CountElements().empty()) {
        Report(RuleId::kCountMissing, At(m_document.Elements().front()),
               "no count is declared, so a diagnosis evaluates nothing: " + wanted);
        return;
    }
    for (std::size_t i = 0; i + 1 < m_map.CountElements().size(); ++i) {
        Report(RuleId::kRepeatedCount, At(m_document.Elements()[m_map.CountElements()[i]]),
               "the count is declared again further down, and the last one counts: leave one sm element");
    }
    const Element& element = m_document.Elements()[m_map.CountElements().back()];
    const std::uint32_t attribute = m_map.Find(element, "cnt");
    const std::string_view text = m_map.TextOf(attribute);
    const std::uint32_t count = m_map.DeclaredCount();
    const Subject subject = AtAttribute(element, attribute);
    const Number32 number = Number32::Read(text);
    if (number.hasDigits && (!number.IsPlain() || number.hasSign || number.hasLeadingZero)) {
        Report(RuleId::kCountNotANumber, subject,
               "the declared count " + Quoted(text) + " is not a plain number; the set reads " +
                   std::to_string(count) + ": " + wanted);
    }
    if (count == 0) {
        Report(RuleId::kCountMissing, subject,
               "the declared count " +
                   (attribute == kNoAttribute ? "is missing" : Quoted(text) + " is read as 0") +
                   ", so a diagnosis evaluates nothing: " + wanted);
    } else if (count > solutions) {
        Report(RuleId::kCountTooLarge, subject,
               "the declared count is " + std::to_string(count) + ", but the map has " +
                   Plural(solutions, "solution") +
                   "; a diagnosis breaks off with an error and shows nothing: " + wanted);
    } else if (count < solutions) {
        Report(RuleId::kCountTooSmall, subject,
               "the declared count is " + std::to_string(count) + ", but the map has " +
                   Plural(solutions, "solution") + "; those after number " + std::to_string(count) +
                   " are never found: " + wanted);
    }
}

void Checker::CheckVersion() {
    for (std::size_t i = 0; i < m_map.VersionElements().size(); ++i) {
        const Element& element = m_document.Elements()[m_map.VersionElements()[i]];
        if (i + 1 < m_map.VersionElements().size()) {
            Report(
                RuleId::kRepeatedVersion, At(element),
                "the version is given again further down, and the last one counts: leave one sminfo element");
        }
        const std::uint32_t attribute = m_map.Find(element, "version");
        const std::string_view text = m_map.TextOf(attribute);
        const Number32 number = Number32::Read(text);
        if (!number.IsPlain() || number.hasSign || !number.FitsSigned()) {
            Report(RuleId::kVersionNotANumber, AtAttribute(element, attribute),
                   "the version " + Quoted(text) + " is not a plain number; the set reads " +
                       std::to_string(number.Signed()) + ": write digits alone, 2147483647 at most");
        }
    }
}

void Checker::CheckElements() {
    m_spellingsSeen.assign(m_document.Names().size(), false);
    bool isRoot = true;
    for (const Element& element : m_document.Elements()) {
        const ElementKind kind = m_map.KindOf(element);
        if (kind == ElementKind::kUnknown) {
            if (!isRoot) {
                Report(RuleId::kUnknownElement, At(element),
                       "there is no element " + Quoted(element.name->text) + "; the set skips it" +
                           support::Suggestion(element.name->text, ElementNames()));
            } else {
                CheckSpelling(*element.name, element.offset, "element");
            }
        } else {
            CheckSpelling(*element.name, element.offset, "element");
            CheckNesting(element, kind);
            CheckAttributes(element, kind);
        }
        isRoot = false;
    }
}

void Checker::CheckNesting(const Element& element, ElementKind kind) {
    if (element.parent == kNoElement) {
        return;
    }
    const Element& parent = m_document.Elements()[element.parent];
    const ElementKind around = m_map.KindOf(parent);
    const bool isValue = kind == ElementKind::kValue;
    // An element that is not closed encloses all that follow; only the first of them is reported.
    if (!isValue && around != ElementKind::kUnknown && m_lastMisplacedIn != element.parent) {
        m_lastMisplacedIn = element.parent;
        Report(RuleId::kMisplacedElement, At(element),
               Quoted(element.name->text) + " stands inside " + Quoted(parent.name->text) +
                   ", while to the set it stands on its own: close the outer element before it");
    }
    const bool isEarly =
        m_map.Solutions().empty() || ElementOf(m_map.Solutions().front()).offset > element.offset;
    if (isValue && around != ElementKind::kSolution && !isEarly) {
        Report(RuleId::kMisplacedElement, At(element),
               Quoted(element.name->text) +
                   " stands outside of a solution; to the set it belongs to the solution "
                   "that was opened last: write it inside its solution");
    }
}

void Checker::CheckAttributes(const Element& element, ElementKind kind) {
    const std::vector<std::string>& known = AttributeNames(kind);
    std::array<std::uint32_t, kFieldCount> seen{};
    seen.fill(kNoAttribute);
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
        const std::uint32_t attribute = element.firstAttribute + i;
        const Name& name = *m_document.Attributes()[attribute].name;
        const auto found = std::find(known.begin(), known.end(), name.lower);
        if (found == known.end()) {
            Report(RuleId::kUnknownAttribute, AtAttribute(element, attribute),
                   Quoted(element.name->text) + " knows no attribute " + Quoted(name.text) +
                       "; the set ignores it" + support::Suggestion(name.text, known));
            continue;
        }
        std::uint32_t& earlier = seen[static_cast<std::size_t>(found - known.begin())];
        if (earlier != kNoAttribute) {
            Report(RuleId::kDuplicateAttribute, AtAttribute(element, attribute),
                   Quoted(m_document.Attributes()[earlier].name->text) + " and " + Quoted(name.text) +
                       " are one attribute to the set, and this one counts: leave one of them");
        }
        earlier = attribute;
        if (!m_spellingsSeen[name.id] && name.text != name.lower) {
            CheckSpelling(name, m_document.AttributeOffset(element, attribute), "attribute");
        }
    }
}

void Checker::CheckSpelling(const Name& name, std::size_t offset, const char* what) {
    if (name.text == name.lower || m_spellingsSeen[name.id]) {
        return;
    }
    m_spellingsSeen[name.id] = true;
    Report(RuleId::kNameNotLowerCase, {offset, ""},
           std::string("the set reads the ") + what + " " + Quoted(name.text) + " as " + Quoted(name.lower) +
               ", which editors that check against the schema do not");
}

void Checker::CheckTextContent() {
    for (const CharacterData& text : m_document.Texts()) {
        Report(
            RuleId::kTextContent, {text.offset, ""},
            "text between tags is ignored: write it as an attribute, such as param_value, or as a comment");
    }
}

}  // namespace kuramap
