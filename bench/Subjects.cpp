#include "Subjects.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "IdealParser.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"
#include "NaiveParser.h"

namespace bench {

namespace {

using KURA::KURA_Solution;
using KURA::KURA_SolutionMap;

/// The parser stands ready before anything is measured, for it serves the document and is no part of the
/// parse.
bool ParseWithLibrary(const std::string& text, KURA_SolutionMap& map) {
    static const KURA::TCXMLParser parser;
    return parser.Parse(text, map);
}

bool ParseForNothing(const std::string& text, KURA_SolutionMap&) {
    return ParseWithoutHandler(text);
}

auto Texts(const KURA_Solution& s) {
    return std::tie(s.issue_code, s.sol_code, s.sol_type, s.sol_name, s.sid_issue, s.sid_sol, s.sid_button1,
                    s.sid_button2, s.reboot, s.is_fg_bg, s.action, s.toast1, s.toast2, s.source,
                    s.view_authority);
}

bool AreEqual(const KURA_Solution& left, const KURA_Solution& right) {
    return Texts(left) == Texts(right) &&
           std::equal(left.sol_val.begin(), left.sol_val.end(), right.sol_val.begin(), right.sol_val.end(),
                      [](const auto& a, const auto& b) {
                          return a.param_value == b.param_value && a.param_type == b.param_type;
                      });
}

}  // namespace

const std::vector<Subject>& Subjects() {
    static const std::vector<Subject> subjects = [] {
        std::vector<Subject> all = {{"library", ParseWithLibrary, true},
                                    {"ideal", ParseIdeally, true},
                                    {"growing", ParseGrowing, true},
                                    {"naive", ParseNaively, true},
                                    {"expat", ParseForNothing, false}};
        for (const Subject& peer : PeerSubjects()) {
            all.push_back(peer);
        }
        return all;
    }();
    return subjects;
}

const Subject* FindSubject(const std::string& name) {
    const auto found = std::find_if(Subjects().begin(), Subjects().end(),
                                    [&name](const Subject& subject) { return subject.name == name; });
    return found == Subjects().end() ? nullptr : &*found;
}

bool AgreesWithLibrary(const Subject& subject, const std::string& text) {
    KURA_SolutionMap expected;
    KURA_SolutionMap made;
    const bool parsed = ParseWithLibrary(text, expected) && subject.parse(text, made);
    if (parsed && !subject.fillsRecords) {
        return true;
    }
    const std::size_t count = expected.solutions.size();
    if (!parsed || made.version != expected.version || made.count != expected.count ||
        made.solutions.size() != count) {
        std::fprintf(stderr, "%s: %zu solutions, version %d, count %u instead of %zu, %d, %u\n",
                     subject.name.c_str(), made.solutions.size(), made.version, made.count, count,
                     expected.version, expected.count);
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!AreEqual(made.solutions[i], expected.solutions[i])) {
            std::fprintf(stderr, "%s: solution %zu differs\n", subject.name.c_str(), i);
            return false;
        }
    }
    return true;
}

}  // namespace bench
