// What goes into the library and what comes out of it, name by name.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tools.h"

namespace {

using contract::DynamicNames;
using contract::ListIn;
using contract::Shell;

const std::string kLibrary = KURA_LIBRARY;
const std::string kSource = KURA_SOURCE;

std::set<std::string> AsSet(const std::vector<std::string>& list) {
    return {list.begin(), list.end()};
}

/// The files that the loader takes for what the library needs.
std::vector<std::string> NeededFiles() {
    // The loader stands there without an arrow.
    static const std::regex kFound(R"(^\s*(?:lib\S+ => )?(/\S*/([^/\s]+)))");
    const std::vector<std::string> needed = contract::NeededBy(kLibrary);
    std::vector<std::string> files;
    for (const std::string& line : contract::Lines(Shell("ldd '" + kLibrary + "'").output)) {
        std::smatch match;
        if (std::regex_search(line, match, kFound) &&
            std::find(needed.begin(), needed.end(), match[2]) != needed.end()) {
            files.push_back(match[1]);
        }
    }
    return files;
}

std::set<std::string> NamesOfNeededLibraries() {
    std::set<std::string> names;
    for (const std::string& file : NeededFiles()) {
        names.merge(DynamicNames(file, "--defined-only"));
    }
    return names;
}

TEST(Names, ExportsExactlyTheListedNames) {
    const std::vector<std::string> listed = ListIn(kSource + "/src/exported_names.txt");
    EXPECT_GT(listed.size(), 100u);
    EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end()));
    EXPECT_EQ(DynamicNames(kLibrary, "--defined-only"), AsSet(listed));
}

TEST(Names, ExportsThePlainEntryPointsUnmangled) {
    const std::set<std::string> exported = DynamicNames(kLibrary, "--defined-only");
    for (const char* name :
         {"ParseSolutionMap", "XMLParse", "parseInterface", "SaveResultToSolutionDB",
          "RemoveSolvedProblemFromRemainingDB", "SendSelfDiagnosisResult", "RequestApplySolution",
          "RequestApplySolution_BG", "ProcessVconf_STR", "ProcessVconf_BOOL", "ProcessVconf_INT",
          "ProcessCMD", "ProcessLaunchApp", "ProcessSettingAPI", "ProcessAPI", "loop"}) {
        EXPECT_EQ(exported.count(name), 1u) << name;
    }
}

TEST(Names, ImportsExactlyTheListedNamesOfTheSetAndTheHost) {
    std::set<std::string> imported;
    const std::set<std::string> ofLibraries = NamesOfNeededLibraries();
    ASSERT_EQ(ofLibraries.count("sqlite3_prepare_v2"), 1u);
    for (const std::string& name : DynamicNames(kLibrary, "--undefined-only")) {
        // The linker's own; weak, and the loader does without.
        const bool linkers = name == "__gmon_start__" || name.rfind("_ITM_", 0) == 0;
        if (!linkers && ofLibraries.count(name) == 0) {
            imported.insert(name);
        }
    }
    const std::vector<std::string> listed = ListIn(kSource + "/tests/contract/imported_names.txt");
    EXPECT_TRUE(std::is_sorted(listed.begin(), listed.end()));
    EXPECT_EQ(imported, AsSet(listed));
}

TEST(Names, NeedsNothingThatOlderExpatsLack) {
    static const std::set<std::string> kOldNames = {"XML_ErrorString",
                                                    "XML_GetCurrentColumnNumber",
                                                    "XML_GetCurrentLineNumber",
                                                    "XML_GetErrorCode",
                                                    "XML_Parse",
                                                    "XML_ParserCreate",
                                                    "XML_ParserFree",
                                                    "XML_SetCharacterDataHandler",
                                                    "XML_SetElementHandler",
                                                    "XML_SetUserData",
                                                    "XML_StopParser"};
    std::size_t seen = 0;
    for (const std::string& name : DynamicNames(kLibrary, "--undefined-only")) {
        if (name.rfind("XML_", 0) == 0) {
            ++seen;
            EXPECT_EQ(kOldNames.count(name), 1u) << name;
        }
    }
    EXPECT_GT(seen, 5u);
}

TEST(Names, NeedsOnlyTheNamedLibraries) {
    static const std::regex kNamed(
        R"((libexpat\.so\.1|libsqlite3\.so\.0|libboost_(thread|system)\.so\.\S+|lib(glib|gio|gobject)-2\.0\.so\.0)"
        R"(|libstdc\+\+\.so\.6|libgcc_s\.so\.1|lib[cm]\.so\.6|ld-linux\S*))");
    const std::vector<std::string> needed = contract::NeededBy(kLibrary);
    EXPECT_THAT(needed, testing::Contains("libexpat.so.1"));
    for (const std::string& library : needed) {
        EXPECT_TRUE(std::regex_match(library, kNamed)) << library;
    }
    EXPECT_EQ(NeededFiles().size(), needed.size());
}

}  // namespace

// A 32-bit set gives the library files of any size and times beyond 2038, a host need not: what they share
// must be the same for both.
TEST(Names, OfSizesThatDifferOnA32BitMachineStandInNoHeader) {
    static const std::regex kComment(R"(//[^\n]*)");
    static const std::regex kDiffers(
        R"(\b(off_t|ino_t|time_t|suseconds_t|blkcnt_t|fsblkcnt_t|fsfilcnt_t|rlim_t|fpos_t|stat|statvfs|statfs|dirent|)"
        R"(rlimit|flock|timespec|timeval|itimerval|timex|utimbuf|rusage|fstream|ifstream|ofstream|streamoff|streampos)\b)");
    std::size_t headers = 0;
    for (const char* folder : {"include", "platform"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(kSource + "/" + folder)) {
            if (entry.path().extension() != ".h") {
                continue;
            }
            ++headers;
            std::ifstream file(entry.path());
            const std::string text(std::istreambuf_iterator<char>(file), {});
            const std::string code = std::regex_replace(text, kComment, "");
            std::smatch found;
            EXPECT_FALSE(std::regex_search(code, found, kDiffers)) << entry.path() << ": " << found.str();
        }
    }
    EXPECT_GT(headers, 20U);
    EXPECT_TRUE(std::regex_search("int Since(std::time_t when);", kDiffers));
}
