// The tool as an author runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command/Kura.h"
#include "map/Meaning.h"
#include "map/Rules.h"
#include "map/SolutionMap.h"
#include "map/XmlDocument.h"

namespace fs = std::filesystem;

using command::Answer;
using command::ReadFile;
using command::WriteFile;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const fs::path kSource = KURA_SOURCE;
const std::string kExample = kSource / "examples/SolutionMap.xml";

class MapCommand : public testing::Test {
protected:
    std::string Path(const std::string& name) const { return m_kura.Set().parent_path() / name; }

    std::string Write(const std::string& name, const std::string& text) const {
        WriteFile(Path(name), text);
        return Path(name);
    }

    Answer Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "map");
        return m_kura.Run(arguments);
    }

private:
    command::Kura m_kura;
};

std::string Entry(const std::string& code, const std::string& more = "") {
    return "<solution issue_code=\"" + code + "\" sol_code=\"1\" sol_type=\"INFO\" source=\"ALL\" " + more +
           (more.find("view_authority") == std::string::npos ? " view_authority=\"USER\"" : "") + "/>\n";
}

std::string Map(const std::string& body, int count) {
    return "<solutionmap>\n<sminfo version=\"1\"/><sm cnt=\"" + std::to_string(count) + "\"/>\n" + body +
           "</solutionmap>\n";
}

TEST_F(MapCommand, FindsTheExampleCleanEvenWhenStrict) {
    const Answer answer = Run({"check", kExample, "--strict", "--texts", kSource / "examples/texts/en.json",
                               kSource / "examples/texts/de.json"});
    EXPECT_EQ(answer.status, 0) << answer.out;
    EXPECT_THAT(answer.out, HasSubstr("0 errors, 0 warnings, "));
    EXPECT_EQ(answer.err, "");
}

TEST_F(MapCommand, PrintsPlaceSeverityIssueMessageTagAndCounts) {
    const std::string file = Write("map.xml", Map(Entry("1001", "is_fg_bg=\"BG\""), 2));
    const Answer answer = Run({"check", file});
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.out, file +
                              ":2:26: error: the declared count is 2, but the map has 1 solution; a "
                              "diagnosis breaks off with an "
                              "error and shows nothing: write <sm cnt=\"1\"/> [count-too-large]\n" +
                              file +
                              ":3:71: warning: issue 1001: is_fg_bg is \"BG\", which the set takes for the "
                              "foreground: write fg or "
                              "bg [ground-unknown]\n1 error, 1 warning, 0 infos\n");
}

TEST_F(MapCommand, ExitsByTheWorstFinding) {
    const std::string clean = Write("clean.xml", Map(Entry("1001"), 1));
    const std::string warning = Write("warning.xml", Map(Entry("1001", "is_fg_bg=\"BG\""), 1));
    const std::string error = Write("error.xml", Map(Entry("1001"), 2));
    const std::string missing = Path("missing.xml");
    EXPECT_EQ(Run({"check", clean}).status, 0);
    EXPECT_EQ(Run({"check", warning}).status, 0);
    EXPECT_EQ(Run({"check", warning, "--strict"}).status, 2);
    EXPECT_EQ(Run({"check", clean, error}).status, 2);
    EXPECT_EQ(Run({"check", error, missing}).status, 1);
    EXPECT_EQ(Run({"check"}).status, 64);
}

TEST_F(MapCommand, SaysInOneLineWhyAFileCannotBeRead) {
    fs::create_directory(Path("folder"));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    Write("empty.xml", "");
    Write("binary.xml", std::string("\x7f"
                                    "ELF\x02\x01\0\0",
                                    8));
    Write("latin.xml", "<?xml version='1.0' encoding='windows-1252'?><solutionmap/>");
    Write("huge.xml", "");
    fs::resize_file(Path("huge.xml"), std::uintmax_t{1} << 30);
    Write("beyond.xml", "");
    fs::resize_file(Path("beyond.xml"), std::uintmax_t{1} << 31);
    const std::vector<std::pair<std::string, std::string>> reasons = {
        {"missing.xml", "No such file or directory"},
        {"folder", "is a folder, not a solution map"},
        {"pipe", "is not a regular file; use - to read standard input"},
        {"empty.xml", "is empty"},
        {"binary.xml", "is not an XML document: "},
        {"latin.xml", "has an encoding that a set does not read; write UTF-8"},
        {"huge.xml", "is not an XML document: "},
        {"beyond.xml", "has 2 GiB or more, which a set does not read"},
    };
    for (const auto& [name, reason] : reasons) {
        const Answer answer = Run({"check", Path(name)});
        EXPECT_EQ(answer.status, 1) << name;
        EXPECT_EQ(answer.out, "") << name;
        EXPECT_THAT(answer.err, StartsWith("kura: " + Path(name) + ": " + reason));
        EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
    }
}

TEST_F(MapCommand, GivesOneDocumentAlsoForWhatCannotBeRead) {
    const std::string clean = Write("clean.xml", Map(Entry("1001", "view_authority=\"SERVICE\""), 1));
    const Answer answer = Run({"check", clean, Path("missing.xml"), "--json"});
    EXPECT_EQ(answer.status, 1);
    const nlohmann::json document = answer.Document();
    EXPECT_EQ(document.at("files"), nlohmann::json({clean}));
    EXPECT_EQ(document.at("unreadable").at(0).at("file"), Path("missing.xml"));
    EXPECT_EQ(document.at("rules"), kuramap::kRuleSetVersion);
    EXPECT_EQ(document.at("infos"), 1);
    const nlohmann::json& finding = document.at("findings").at(0);
    EXPECT_EQ(finding.at("tag"), "never-shown");
    EXPECT_EQ(finding.at("severity"), "info");
    EXPECT_EQ(finding.at("issue"), "1001");
    EXPECT_EQ(finding.at("line"), 3);
    EXPECT_EQ(Run({"check", clean, "--format", "json"}).Document().at("infos"), 1);
}

TEST_F(MapCommand, ReportsInSarif) {
    const std::string file = Write("map.xml", Map(Entry("1001"), 2));
    const Answer answer = Run({"check", file, "--format", "sarif"});
    EXPECT_EQ(answer.status, 2);
    const nlohmann::json document = answer.Document();
    EXPECT_EQ(document.at("version"), "2.1.0");
    ASSERT_EQ(document.at("runs").size(), 1u);
    const nlohmann::json& run = document.at("runs")[0];
    const nlohmann::json& driver = run.at("tool").at("driver");
    EXPECT_EQ(driver.at("version"), kuramap::kRuleSetVersion);
    EXPECT_EQ(run.at("columnKind"), "unicodeCodePoints");
    EXPECT_EQ(run.at("invocations")[0].at("executionSuccessful"), true);
    ASSERT_EQ(run.at("results").size(), 1u);
    const nlohmann::json& result = run.at("results")[0];
    EXPECT_EQ(result.at("level"), "error");
    EXPECT_THAT(result.at("message").at("text").get<std::string>(), HasSubstr("declared count is 2"));
    const nlohmann::json& place = result.at("locations")[0].at("physicalLocation");
    EXPECT_EQ(place.at("artifactLocation").at("uri"), file);
    EXPECT_EQ(place.at("region"), nlohmann::json({{"startLine", 2}, {"startColumn", 26}}));
    const auto isRule = [&](const nlohmann::json& rule) { return rule.at("id") == result.at("ruleId"); };
    EXPECT_EQ(std::count_if(driver.at("rules").begin(), driver.at("rules").end(), isRule), 1);
}

TEST_F(MapCommand, ReportsInJunitWhatFails) {
    const std::string warning = Write("a&b.xml", Map(Entry("1001", "is_fg_bg=\"&lt;\""), 1));
    const std::string clean = Write("clean.xml", Map(Entry("1001"), 1));
    const auto failures = [&](const std::vector<std::string>& arguments) {
        const kuramap::XmlDocument document = kuramap::XmlDocument::Parse(Run(arguments).out, "junit");
        EXPECT_FALSE(document.Error());
        return std::count_if(document.Elements().begin(), document.Elements().end(),
                             [](const kuramap::Element& element) { return element.name->text == "failure"; });
    };
    EXPECT_EQ(failures({"check", warning, clean, "--format", "junit"}), 0);
    EXPECT_EQ(failures({"check", warning, clean, "--format", "junit", "--strict"}), 1);
    EXPECT_THAT(Run({"check", warning, clean, Path("missing"), "--format", "junit"}).out,
                testing::AllOf(HasSubstr("name=\"no findings\""), HasSubstr("<error message="),
                               HasSubstr("a&amp;b.xml")));
}

TEST_F(MapCommand, TakesOtherSeverities) {
    const std::string file = Write("map.xml", Map(Entry("1001", "is_fg_bg=\"BG\""), 1));
    EXPECT_EQ(Run({"check", file, "--severity", "ground-unknown=error"}).status, 2);
    EXPECT_EQ(Run({"check", file, "--strict", "--severity", "ground-unknown=off"}).out,
              "0 errors, 0 warnings, 0 infos\n");
    const Answer unknown = Run({"check", file, "--severity", "ground-unkown=off"});
    EXPECT_EQ(unknown.status, 3);
    EXPECT_THAT(unknown.err, HasSubstr("did you mean \"ground-unknown\"?"));
    EXPECT_EQ(Run({"check", file, "--severity", "ground-unknown=loud"}).status, 64);
}

TEST_F(MapCommand, AcceptsWhatTheAllowFileNames) {
    const std::string file =
        Write("map.xml", Map(Entry("1001", "is_fg_bg=\"BG\"") + Entry("1002", "is_fg_bg=\"BG\""), 2));
    const std::string one = Write("one.txt", "# known\nground-unknown 1001: the host writes it so\n");
    const Answer answer = Run({"check", file, "--strict", "--allow", one});
    EXPECT_EQ(answer.status, 2);
    EXPECT_THAT(answer.out, HasSubstr("issue 1002: "));
    EXPECT_THAT(answer.out, testing::Not(HasSubstr("issue 1001: ")));
    EXPECT_THAT(answer.out, HasSubstr("0 errors, 1 warning, 0 infos, 1 allowed\n"));
    const std::string all = Write("all.txt", "ground-unknown: the host writes it so\n");
    EXPECT_EQ(Run({"check", file, "--strict", "--allow", all}).status, 0);
    for (const char* line :
         {"ground-unknown", "ground-unknown 1001:", "ground-unkown: typing error", ": no tag"}) {
        const Answer refused =
            Run({"check", file, "--allow", Write("bad.txt", std::string("\n") + line + "\n")});
        EXPECT_EQ(refused.status, 1) << line;
        EXPECT_THAT(refused.err, HasSubstr("bad.txt:2: ")) << line;
    }
}

TEST_F(MapCommand, RefusesTextAndCodeFilesThatAreNone) {
    const std::string file = Write("map.xml", Map(Entry("1001"), 1));
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "{\"A\": 1}")}).status, 1);
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "[]")}).status, 1);
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "{")}).err,
              "kura: " + Path("en.json") + ": the JSON ends too early: a bracket or quote is not closed\n");
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "")}).status, 1);
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "{\n\"A\": \"a\",\n\"B\" \"b\"}")}).err,
              "kura: " + Path("en.json") + ":3: is not JSON from here on; write {\"ID\": \"text\", ...}\n");
    EXPECT_EQ(Run({"check", file, "--texts", Write("en.json", "{\"A\": \"\xff\"}")}).err,
              "kura: " + Path("en.json") + ":1: is not JSON from here on; write {\"ID\": \"text\", ...}\n");
    EXPECT_EQ(Run({"check", file, "--codes", Write("codes.txt", "1\ntwo\n")}).status, 1);
    EXPECT_THAT(Run({"check", file, "--codes", Path("codes.txt")}).err, HasSubstr("codes.txt:2: "));
}

TEST_F(MapCommand, ReadsStandardInput) {
    const std::string file = Write("map.xml", Map(Entry("1001"), 2));
    const std::string out = Path("out");
    const std::string line = std::string(KURA_COMMAND) + " map check - < " + file + " > " + out;
    EXPECT_NE(std::system(line.c_str()), 0);
    EXPECT_THAT(ReadFile(out), StartsWith("standard input:2:26: error: "));
}

TEST_F(MapCommand, ExplainsRules) {
    EXPECT_THAT(Run({"explain", "value-missing"}).out, StartsWith("value-missing (error): "));
    EXPECT_EQ(Run({"explain", "value-missing", "--json"}).Document().at("severity"), "error");
    EXPECT_THAT(Run({"explain"}).out, HasSubstr("toast-like-a-number"));
    const Answer unknown = Run({"explain", "value-mising"});
    EXPECT_EQ(unknown.status, 3);
    EXPECT_THAT(unknown.err, HasSubstr("did you mean \"value-missing\"?"));
}

TEST_F(MapCommand, ShowsTheMapAndOneIssue) {
    EXPECT_EQ(Run({"show", kExample, "--json"}).Document().at("solutions").size(), 63u);
    const nlohmann::json one = Run({"show", kExample, "1001", "--json"}).Document();
    EXPECT_EQ(one.at("solutions")[0].at("effect"),
              "writes 35 to the settings key \"db/menu/picture/backlight\" as a number");
    EXPECT_EQ(one.at("solutions")[0].at("values")[0].at("param_value"), "35");
    EXPECT_THAT(Run({"show", kExample, "1001", "--texts", kSource / "examples/texts/en.json"}).out,
                HasSubstr("applying it writes 35 to the settings key"));
    EXPECT_EQ(Run({"show", kExample, "4711"}).status, 3);
    EXPECT_EQ(Run({"show", Write("broken.xml", "<solutionmap><a></b>")}).status, 1);
}

TEST_F(MapCommand, ComparesByMeaning) {
    const std::string old =
        Write("old.xml", Map(Entry("1001") + Entry("1002") + Entry("1003", "sid_sol=\"A\""), 3));
    EXPECT_EQ(Run({"diff", old, old, "--exit-code"}).status, 0);
    EXPECT_EQ(Run({"diff", old, old}).out, "The maps say the same.\n");
    const std::string layout = Write("layout.xml", Run({"format", old}).out);
    EXPECT_EQ(Run({"diff", old, layout, "--exit-code"}).status, 0);

    const std::string now =
        Write("new.xml", Map(Entry("1003", "sid_sol=\"B\"") + Entry("1001") + Entry("1004"), 3));
    EXPECT_EQ(Run({"diff", old, now}).status, 0);
    const Answer answer = Run({"diff", old, now, "--exit-code", "--json"});
    EXPECT_EQ(answer.status, 2);
    const nlohmann::json difference = answer.Document();
    EXPECT_EQ(difference.at("removed")[0].at("issue_code"), "1002");
    EXPECT_EQ(difference.at("added")[0].at("issue_code"), "1004");
    EXPECT_EQ(difference.at("changed")[0].at("changes"),
              nlohmann::json::array({{{"name", "sid_sol"}, {"before", "A"}, {"after", "B"}}}));
    EXPECT_EQ(difference.at("listed_in_another_order"), true);
    EXPECT_EQ(Run({"diff", old, now}).out,
              "- issue 1002: does nothing to the set; the user is told\n"
              "+ issue 1004: does nothing to the set; the user is told\n"
              "~ issue 1003\n    sid_sol: \"A\" -> \"B\"\n"
              "~ the issues are listed in another order\n");
}

TEST_F(MapCommand, TellsWhenTheSolutionsOfAnIssueChangePlaces) {
    const std::string first = Entry("1001", "sid_sol=\"first\"");
    const std::string second = Entry("1001", "sid_sol=\"second\"");
    const std::string old = Write("old.xml", Map(first + second, 2));
    const nlohmann::json difference =
        Run({"diff", old, Write("new.xml", Map(second + first, 2)), "--json"}).Document();
    EXPECT_EQ(difference.at("applied_in_another_order"), nlohmann::json({"1001"}));
    EXPECT_EQ(
        difference.at("changed").size() + difference.at("added").size() + difference.at("removed").size(),
        0u);
    const nlohmann::json shorter = Run({"diff", old, Write("one.xml", Map(second, 2)), "--json"}).Document();
    EXPECT_EQ(shorter.at("removed")[0].at("solution"), 1);
    EXPECT_EQ(shorter.at("changed").size(), 0u);
}

TEST_F(MapCommand, CountsAMap) {
    const nlohmann::json stats = Run({"stats", kExample, "--json"}).Document();
    EXPECT_EQ(stats.at("solutions"), 63);
    EXPECT_EQ(stats.at("issues"), 62);
    EXPECT_EQ(stats.at("on_demand"), 8);
    EXPECT_EQ(stats.at("actions").at("VCONFSET_INT"), 5);
}

TEST_F(MapCommand, FormatsWithoutChangingTheMeaningAndOnlyOnce) {
    EXPECT_EQ(Run({"format", kExample, "--check"}).status, 0);
    for (const fs::directory_entry& entry : fs::directory_iterator(kSource / "tests/map/rules")) {
        for (const char* name : {"pass.xml", "fail.xml"}) {
            const kuramap::XmlDocument source = kuramap::XmlDocument::Read(entry.path() / name);
            const Answer once = Run({"format", entry.path() / name});
            if (source.Error() || source.Unfinished()) {
                EXPECT_EQ(once.status, 1) << entry.path();
                continue;
            }
            ASSERT_EQ(once.status, 0) << entry.path() << once.err;
            const kuramap::XmlDocument again = kuramap::XmlDocument::Parse(once.out, "again");
            EXPECT_TRUE(kuramap::MeaningOf(kuramap::SolutionMap(source)) ==
                        kuramap::MeaningOf(kuramap::SolutionMap(again)))
                << entry.path();
            EXPECT_EQ(Run({"format", Write("once.xml", once.out)}).out, once.out) << entry.path();
        }
    }
}

TEST_F(MapCommand, FormatsInPlaceAndKeepsCommentsAndOddities) {
    const std::string file =
        Write("map.xml",
              "<!-- top --><solutionmap><SM CNT='1'/><!-- why -->\n<Solution ISSUE_CODE='0' sol_type='CMD' "
              "issue_code='1' mine='2' sol_name='a&#10;b &quot;c&quot; "
              "&lt;d'>loose<other/></Solution></solutionmap>");
    EXPECT_EQ(Run({"format", file, "--check"}).status, 2);
    EXPECT_EQ(Run({"format", file, "--in-place"}).status, 0);
    EXPECT_EQ(ReadFile(file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!-- top -->\n"
              "<solutionmap>\n"
              "    <sm cnt=\"1\"/>\n"
              "    <!-- why -->\n"
              "    <solution issue_code=\"1\" sol_type=\"CMD\" sol_name=\"a&#10;b &quot;c&quot; &lt;d\" "
              "mine=\"2\">\n"
              "        loose\n"
              "        <other/>\n"
              "    </solution>\n"
              "</solutionmap>\n");
    EXPECT_EQ(Run({"format", file, "--check"}).status, 0);
    EXPECT_EQ(Run({"format", "-", "--in-place"}).status == 0, false);
}

/// The example, broken in one way each, and what the author is told.
TEST_F(MapCommand, TellsAnAuthorWhatIsWrongInOneSentence) {
    const nlohmann::json breakages = nlohmann::json::parse(ReadFile(kSource / "tests/map/breakages.json"));
    ASSERT_GE(breakages.size(), 30u);
    const std::string example = ReadFile(kExample);
    for (const nlohmann::json& breakage : breakages) {
        std::string text = example;
        const std::string find = breakage.at("find").get<std::string>();
        const std::size_t at = text.find(find);
        ASSERT_NE(at, std::string::npos) << breakage.at("breakage");
        text.replace(at, find.size(), breakage.at("replace").get<std::string>());
        const std::string file = Write("map.xml", text);
        const Answer answer = Run(
            {"check", file, "--severity", "never-shown=off", "--texts", kSource / "examples/texts/en.json"});
        std::string expected;
        for (const nlohmann::json& line : breakage.at("reports")) {
            expected += file + ":" + line.get<std::string>() + "\n";
        }
        EXPECT_THAT(answer.out, StartsWith(expected)) << breakage.at("breakage");
    }
}

/// What editors reject must not pass the tool in silence.
TEST_F(MapCommand, ReportsWhateverTheSchemaRejects) {
    const std::string schema = kSource / "schema/solution-map.xsd";
    const auto isValid = [&](const std::string& file) {
        const std::string line = "xmllint --noout --schema '" + schema + "' '" + file + "' 2>/dev/null";
        return std::system(line.c_str()) == 0;
    };
    ASSERT_TRUE(isValid(kExample));
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(kSource / "tests/map/rules")) {
        files.push_back(entry.path() / "pass.xml");
        files.push_back(entry.path() / "fail.xml");
    }
    int rejected = 0;
    for (const nlohmann::json& breakage :
         nlohmann::json::parse(ReadFile(kSource / "tests/map/breakages.json"))) {
        std::string text = ReadFile(kExample);
        const std::string find = breakage.at("find").get<std::string>();
        text.replace(text.find(find), find.size(), breakage.at("replace").get<std::string>());
        files.push_back(Write("broken-" + std::to_string(files.size()) + ".xml", text));
    }
    for (const std::string& file : files) {
        if (isValid(file)) {
            continue;
        }
        ++rejected;
        const nlohmann::json document =
            Run({"check", file, "--severity", "never-shown=off", "--json"}).Document();
        EXPECT_GT(document.at("findings").size(), 0u) << file;
    }
    EXPECT_GT(rejected, 25);
}

}  // namespace
