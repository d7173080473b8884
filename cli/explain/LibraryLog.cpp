#include "LibraryLog.h"
#include "support/TextAt.h"

#include <utility>

namespace cli {

namespace {

constexpr bool StandInOrder() {
    for (std::size_t i = 0; i < kLogLines.size(); ++i) {
        if (kLogLines[i].line != static_cast<Line>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(StandInOrder());

/// The texts before, between and behind the conversions of a format.
std::vector<std::string> LiteralsOf(const std::string& format) {
    std::vector<std::string> literals(1);
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            literals.back() += format[at];
            continue;
        }
        at = format.find_first_of("dus", at);
        literals.emplace_back();
    }
    return literals;
}

bool EndsWith(const std::string& text, const std::string& end, std::size_t from) {
    return text.size() >= from + end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Returns the values of the conversions when the message has the format. isCut: the journal keeps only the
/// start of a long message, so the end of the format may be missing.
std::optional<std::vector<std::string>> Match(const std::string& message, const std::string& format,
                                              bool isCut) {
    const std::vector<std::string> literals = LiteralsOf(format);
    std::size_t at = literals.front().size();
    if (message.compare(0, at, literals.front()) != 0 || (literals.size() == 1 && message.size() != at)) {
        return std::nullopt;
    }
    std::vector<std::string> values;
    for (std::size_t i = 1; i < literals.size(); ++i) {
        std::size_t end = message.find(literals[i], at);
        if (i + 1 == literals.size()) {
            end = EndsWith(message, literals[i], at) ? message.size() - literals[i].size()
                  : isCut                            ? message.size()
                                                     : std::string::npos;
        }
        if (end == std::string::npos) {
            return std::nullopt;
        }
        values.push_back(message.substr(at, end - at));
        at = end + literals[i].size();
    }
    return values;
}

}  // namespace

std::vector<nlohmann::json> JournalSince(const kuraset::SetDirectory& set, std::size_t before) {
    const auto entries = set.ReadJournal();
    return {entries.begin() + static_cast<std::ptrdiff_t>(before), entries.end()};
}

std::optional<std::vector<std::string>> ValuesOf(const nlohmann::json& entry, Line line) {
    const LogLine& wanted = kLogLines[static_cast<std::size_t>(line)];
    if (support::TextAt(entry, "kind") != "log" || support::TextAt(entry, "function") != wanted.function) {
        return std::nullopt;
    }
    return Match(support::TextAt(entry, "message"), wanted.format, entry.value("cut", false));
}

bool Says(const nlohmann::json& entry, Line line) {
    return ValuesOf(entry, line).has_value();
}

}  // namespace cli
