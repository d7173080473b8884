// The tool's table of actions beside the library's own dispatch: every action of the table is carried out as
// the table says, and the library carries out no other.
#include "map/Actions.h"

#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <link.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_SO_Interface.h"
#include "watchman.h"

namespace fs = std::filesystem;

using fakes::Set;
using kuramap::ActionType;
using kuramap::ValueUse;

namespace {

constexpr const char* kLibrary = "/usr/lib/libkura_parser.so";
constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kCommandFile = "/tmp/vardo/runCmdNativeApps";

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Solution(const std::string& code, const std::string& type, const std::string& name,
                     const std::string& value) {
    return "<solution issue_code=\"" + code + "\" sol_type=\"" + type + "\" sol_name=\"" + name +
           "\"><sol_val param_value=\"" + value + "\"/></solution>\n";
}

void Install(const std::string& solutions) {
    fs::create_directories(fs::path(kMapPath).parent_path());
    std::ofstream(kMapPath, std::ios::trunc) << "<solutionmap>" << solutions << "</solutionmap>";
    Set().calls.clear();
    Set().log.clear();
    Set().events.clear();
    Set().recordedSolutions.clear();
}

/// What a repair with one solution did to the set: its calls without the engine's record, and the agent's
/// file.
struct Effect {
    std::vector<std::string> calls;
    std::string command;
    std::set<std::string> functions;  ///< those that logged

    bool operator==(const Effect& other) const { return calls == other.calls && command == other.command; }
};

void PrintTo(const Effect& effect, std::ostream* out) {
    *out << testing::PrintToString(effect.calls) << " and the command \"" << effect.command << '"';
}

Effect Apply(const std::string& type, const std::string& name, const std::string& value) {
    // There is no folder for requests, so no action waits for an agent.
    fs::create_directories(fs::path(kCommandFile).parent_path());
    fs::remove(kCommandFile);
    Install(Solution("100", type, name, value));
    RequestApplySolution("100");
    Effect effect;
    std::copy_if(Set().calls.begin(), Set().calls.end(), std::back_inserter(effect.calls),
                 [](const std::string& call) { return call.rfind("SetSolutionDB(", 0) != 0; });
    effect.command = ReadFile(kCommandFile);
    for (const fakes::LogLine& line : Set().log) {
        effect.functions.insert(line.function);
    }
    return effect;
}

/// Holds the use of the value against what the library makes of different ones.
void ExpectUse(ValueUse use, const std::string& type, const std::string& name) {
    const Effect one = Apply(type, name, "1");
    EXPECT_EQ(one == Apply(type, name, "0"), use == ValueUse::kNone) << type << ' ' << name;
    const bool readsNumber = use != ValueUse::kText;
    EXPECT_EQ(one == Apply(type, name, "1 or so"), readsNumber) << type << ' ' << name;
}

/// The texts in the library that a type or a name could be compared with: every end of a constant text that
/// consists of letters a name may have, since the linker keeps a text that ends another one only once.
std::set<std::string> TextsOfTheLibrary() {
    const std::string file = ReadFile(kLibrary);
    ElfW(Ehdr) header;
    std::memcpy(&header, file.data(), sizeof(header));
    std::vector<ElfW(Shdr)> sections(header.e_shnum);
    std::memcpy(sections.data(), file.data() + header.e_shoff, sections.size() * sizeof(ElfW(Shdr)));
    const std::size_t names = sections[header.e_shstrndx].sh_offset;
    std::set<std::string> texts;
    for (const ElfW(Shdr) & section : sections) {
        if (std::strncmp(file.data() + names + section.sh_name, ".rodata", 7) != 0) {
            continue;
        }
        std::string run;
        for (const char c : file.substr(section.sh_offset, section.sh_size)) {
            const auto letter = static_cast<unsigned char>(c);
            if (letter != 0) {
                run = std::isalnum(letter) != 0 || c == '_' || c == '-' ? run + c : "";
                continue;
            }
            for (std::size_t length = 2; length <= std::min<std::size_t>(run.size(), 30); ++length) {
                texts.insert(run.substr(run.size() - length));
            }
            run.clear();
        }
    }
    return texts;
}

/// Who logged, or what was called, without the words.
std::string ShapeOf(const std::string& event) {
    return event.substr(0, event.find(event.rfind("log ", 0) == 0 ? ':' : '(')) + ';';
}

/// Those of the texts that give a repair something else to do than a text that is certainly none. The
/// solutions are applied by the hundred; the last log line of each tells where the next one begins.
std::set<std::string> Carried(const std::set<std::string>& texts, const std::string& type) {
    const std::vector<std::string> all(texts.begin(), texts.end());
    const std::string unknown = "certainly none";
    std::set<std::string> carried;
    for (std::size_t from = 0; from < all.size(); from += 100) {
        std::vector<std::string> some = {unknown};
        some.insert(some.end(), all.begin() + static_cast<std::ptrdiff_t>(from),
                    all.begin() + static_cast<std::ptrdiff_t>(std::min(from + 100, all.size())));
        std::string solutions;
        for (const std::string& text : some) {
            solutions += type.empty() ? Solution("100", text, "name", "1") : Solution("100", type, text, "1");
        }
        Install(solutions);
        RequestApplySolution("100");
        std::vector<std::string> shapes(1);
        // Of each solution, what happens before its issue is removed from the unfixed ones.
        bool isAction = false;
        for (const std::string& event : Set().events) {
            isAction &= event.find(": RemoveSolvedProblemFromRemainingDB called") == std::string::npos;
            shapes.back() += isAction ? ShapeOf(event) : "";
            const bool isLast =
                event.find("RequestApplySolutionWrapper: Choose_Solution ") != std::string::npos;
            if (isLast) {
                shapes.emplace_back();
            }
            isAction |= isLast || event.find("RequestApplySolutionWrapper: Value is ") != std::string::npos;
        }
        EXPECT_EQ(shapes.size(), some.size() + 1);
        for (std::size_t i = 1; i < some.size() && i < shapes.size(); ++i) {
            if (shapes[i] != shapes.front()) {
                carried.insert(some[i]);
            }
        }
    }
    return carried;
}

/// Those of the texts that the engine has a number for.
std::set<std::string> Numbered(const std::set<std::string>& texts) {
    std::string solutions;
    for (const std::string& text : texts) {
        solutions += Solution(text, text, "name", "1");
    }
    Install(solutions);
    ParseSolutionMap();
    std::set<std::string> numbered;
    for (const std::string& text : texts) {
        WMSolutionParams params{};
        FillSolutionParams(text, "start", &params);
        if (params.solutionType != 0) {
            numbered.insert(text);
        }
    }
    return numbered;
}

std::set<std::string> AsSet(const std::vector<std::string>& names) {
    return {names.begin(), names.end()};
}

TEST(Actions, AreRecordedUnderTheirNumbers) {
    for (const ActionType& type : kuramap::ActionTypes()) {
        Apply(std::string(type.name), "name", "1");
        ASSERT_EQ(Set().recordedSolutions.size(), 1u) << type.name;
        EXPECT_EQ(Set().recordedSolutions.front().solutionType, type.engineNumber) << type.name;
    }
}

TEST(Actions, UseNameAndValueAsTheTableSays) {
    for (const ActionType& row : kuramap::ActionTypes()) {
        const std::string type(row.name);
        if (row.names != nullptr) {
            for (const kuramap::NamedAction& named : row.names->all) {
                ExpectUse(named.value, type, std::string(named.name));
            }
            continue;
        }
        EXPECT_EQ(Apply(type, "one", "1") == Apply(type, "other", "1"), row.target.empty()) << type;
        ExpectUse(row.value, type, "name");
    }
}

TEST(Actions, OfATypeWithCertainNamesDoSomethingForEachAndNothingForOthers) {
    for (const ActionType& row : kuramap::ActionTypes()) {
        if (row.names == nullptr) {
            continue;
        }
        const std::string type(row.name);
        const Effect none = Apply(type, "certainly none", "1");
        EXPECT_EQ(none, Effect());
        for (const kuramap::NamedAction& named : row.names->all) {
            const Effect effect = Apply(type, std::string(named.name), "1");
            // A clean-up calls nothing of the set: it writes a request, and its own function logs.
            EXPECT_TRUE(!effect.calls.empty() || effect.functions != none.functions) << named.name;
        }
    }
}

TEST(Actions, ThatOneRequestGoesToTheAgentForAreThoseThatWriteACommand) {
    for (const ActionType& row : kuramap::ActionTypes()) {
        const Effect effect = Apply(std::string(row.name), "name", "1");
        EXPECT_EQ(!effect.command.empty(), row.isForAgent) << row.name;
    }
}

TEST(Actions, OfTheLibraryAreAllInTheTable) {
    const std::set<std::string> texts = TextsOfTheLibrary();
    const std::set<std::string> types = AsSet(kuramap::NamesOf(kuramap::ActionTypes()));
    ASSERT_TRUE(std::includes(texts.begin(), texts.end(), types.begin(), types.end()));
    std::set<std::string> known = Carried(texts, "");
    known.merge(Numbered(texts));
    EXPECT_EQ(known, types);
    for (const ActionType& row : kuramap::ActionTypes()) {
        if (row.names != nullptr) {
            EXPECT_EQ(Carried(texts, std::string(row.name)), AsSet(kuramap::NamesOf(row.names->all)))
                << row.name;
        }
    }
}

}  // namespace
