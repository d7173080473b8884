// The rules that compare a map with the host's texts and the engine's codes.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

#include "Checker.h"
#include "support/Joined.h"

namespace kuramap {

namespace {

std::size_t CountCharacters(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// The places that the host fills in, such as "%d", "%1$s", "{0}", "{name}". Sorted, because their order
/// differs between languages.
std::vector<std::string> PlaceholdersOf(std::string_view text) {
    std::vector<std::string> found;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '%' && at + 1 < text.size()) {
            std::size_t end = at + 1;
            while (end < text.size() &&
                   std::string_view("0123456789$.-+#lhz").find(text[end]) != std::string_view::npos) {
                ++end;
            }
            if (end < text.size() && std::isalpha(static_cast<unsigned char>(text[end])) != 0) {
                found.emplace_back(text.substr(at, end - at + 1));
            }
            at = end;
        } else if (text[at] == '{') {
            const std::size_t end = text.find('}', at);
            if (end != std::string_view::npos) {
                found.emplace_back(text.substr(at, end - at + 1));
                at = end;
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string Shown(const std::vector<std::string>& placeholders) {
    return placeholders.empty() ? "none" : support::Joined(placeholders, " ");
}

}  // namespace

void Checker::CheckTexts() {
    if (m_options.texts.empty()) {
        return;
    }
    // Each id is checked once, at its first use.
    std::unordered_set<std::string_view> seen;
    for (const Solution& solution : m_map.Solutions()) {
        for (const Field field : kTextFields) {
            const std::string_view id = m_map.Text(solution, field);
            if (!id.empty() && seen.insert(id).second) {
                CheckText(id, At(solution, field));
            }
        }
    }
}

void Checker::CheckText(std::string_view id, const Subject& subject) {
    const std::string* reference = nullptr;
    std::string referenceLanguage;
    std::vector<std::string> missing;
    for (const TextTable& table : m_options.texts) {
        const auto text = table.texts.find(id);
        if (text == table.texts.end()) {
            missing.push_back(table.language);
            continue;
        }
        const std::size_t length = CountCharacters(text->second);
        if (m_options.width && length > *m_options.width) {
            Report(RuleId::kTextTooLong, subject,
                   "the text of " + Quoted(id) + " in " + table.language + " has " + std::to_string(length) +
                       " characters, more than " + std::to_string(*m_options.width) + ": shorten it");
        }
        if (reference == nullptr) {
            reference = &text->second;
            referenceLanguage = table.language;
            continue;
        }
        const std::vector<std::string> expected = PlaceholdersOf(*reference);
        const std::vector<std::string> found = PlaceholdersOf(text->second);
        if (expected != found) {
            Report(RuleId::kPlaceholdersDiffer, subject,
                   "the texts of " + Quoted(id) + " have different placeholders: " + Shown(expected) +
                       " in " + referenceLanguage + ", " + Shown(found) + " in " + table.language);
        }
    }
    if (reference == nullptr) {
        Report(RuleId::kTextMissing, subject,
               "no text file has the id " + Quoted(id) + ": add the text, or correct the id");
    } else if (!missing.empty()) {
        Report(RuleId::kTranslationMissing, subject,
               "the text of " + Quoted(id) + " is missing in " + support::Joined(missing, " "));
    }
}

void Checker::CheckCodes() {
    if (!m_options.codes) {
        return;
    }
    std::unordered_set<std::string_view> known;
    for (const CodeList::Entry& entry : m_options.codes->entries) {
        known.insert(entry.code);
    }
    for (const Solution& solution : m_map.Solutions()) {
        const std::string_view code = m_map.Text(solution, Field::kIssueCode);
        if (known.count(code) == 0) {
            Report(RuleId::kSolutionWithoutCode, At(solution, Field::kIssueCode),
                   "the engine knows no issue " + Quoted(code) +
                       ": correct the code, remove the solution, or add the code to " +
                       m_options.codes->file);
        }
    }
}

}  // namespace kuramap
