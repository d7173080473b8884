// Each rule has a folder with a map that it finds something in, the same map mended, and what is expected of
// the first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "map/Check.h"
#include "map/Rules.h"
#include "map/TextFiles.h"
#include "map/XmlDocument.h"

namespace fs = std::filesystem;

namespace {

const fs::path kFixtures = fs::path(KURA_SOURCE) / "tests/map/rules";

nlohmann::json ExpectedOf(const fs::path& folder) {
    return nlohmann::json::parse(std::ifstream(folder / "expected.json"));
}

kuramap::CheckOptions OptionsOf(const fs::path& folder) {
    const nlohmann::json expected = ExpectedOf(folder);
    kuramap::CheckOptions options;
    for (const auto& file : expected.value("texts", nlohmann::json::array())) {
        options.texts.push_back(kuramap::TextTable::Read(folder / file.get<std::string>()));
    }
    if (expected.contains("codes")) {
        options.codes = kuramap::CodeList::Read(folder / expected.at("codes").get<std::string>());
    }
    if (expected.contains("allow")) {
        options.allowed = kuramap::AllowList::Read(folder / expected.at("allow").get<std::string>());
    }
    if (expected.contains("width")) {
        options.width = expected.at("width").get<std::size_t>();
    }
    return options;
}

std::vector<kuramap::Finding> FindingsOf(const fs::path& folder, const std::string& map,
                                         std::string_view tag) {
    std::vector<kuramap::XmlDocument> documents;
    documents.push_back(kuramap::XmlDocument::Read(folder / map));
    std::vector<kuramap::Finding> found;
    for (kuramap::Finding& finding : kuramap::CheckMaps(documents, OptionsOf(folder)).findings) {
        if (finding.rule->tag == tag) {
            found.push_back(std::move(finding));
        }
    }
    return found;
}

/// By the rule's tag.
class RuleFixture : public testing::TestWithParam<std::string> {
protected:
    fs::path Folder() const { return kFixtures / GetParam(); }
    const kuramap::Rule& Rule() const { return *kuramap::FindRule(GetParam()); }
};

TEST_P(RuleFixture, IsFoundAtItsPlaceWithItsSeverity) {
    const nlohmann::json expected = ExpectedOf(Folder());
    const std::vector<kuramap::Finding> found = FindingsOf(Folder(), "fail.xml", GetParam());
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].position.line, expected.at("line").get<std::size_t>());
    EXPECT_EQ(found[0].position.column, expected.at("column").get<std::size_t>());
    EXPECT_EQ(found[0].severity, Rule().severity);
    EXPECT_EQ(found[0].issue, expected.value("issue", ""));
    EXPECT_EQ(fs::path(found[0].file).filename(), expected.value("file", "fail.xml"));
    EXPECT_GT(found[0].message.size(), 20u);
}

TEST_P(RuleFixture, IsSilentOnTheMendedMap) {
    EXPECT_THAT(FindingsOf(Folder(), "pass.xml", GetParam()), testing::IsEmpty());
}

TEST_P(RuleFixture, MayBeTurnedOffAndRaised) {
    std::vector<kuramap::XmlDocument> documents;
    documents.push_back(kuramap::XmlDocument::Read(Folder() / "fail.xml"));
    kuramap::CheckOptions options = OptionsOf(Folder());
    const auto count = [&](kuramap::Severity severity) {
        const std::vector<kuramap::Finding> findings = kuramap::CheckMaps(documents, options).findings;
        return std::count_if(findings.begin(), findings.end(), [&](const kuramap::Finding& finding) {
            return finding.rule->tag == GetParam() && finding.severity == severity;
        });
    };
    const std::string& tag = GetParam();
    for (const kuramap::Severity severity :
         {kuramap::Severity::kError, kuramap::Severity::kWarning, kuramap::Severity::kInfo}) {
        options.severities = {{tag, severity}};
        EXPECT_EQ(count(severity), 1) << kuramap::NameOf(severity);
    }
    options.severities = {{tag, kuramap::Severity::kOff}};
    EXPECT_EQ(count(kuramap::Severity::kOff) + count(Rule().severity), 0);
}

std::string TestName(const testing::TestParamInfo<std::string>& rule) {
    std::string name = rule.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Rules, RuleFixture, testing::ValuesIn(kuramap::Tags()), TestName);

TEST(Rules, EachHasAFolderAndEachFolderARule) {
    std::set<std::string> folders;
    for (const fs::directory_entry& entry : fs::directory_iterator(kFixtures)) {
        folders.insert(entry.path().filename());
    }
    std::set<std::string> tags;
    for (const kuramap::Rule& rule : kuramap::Rules()) {
        tags.emplace(rule.tag);
    }
    EXPECT_EQ(folders, tags);
    EXPECT_EQ(tags.size(), kuramap::Rules().size());
}

TEST(Rules, AreExplainedOnTheirPage) {
    std::ifstream page(fs::path(KURA_SOURCE) / "docs/map-rules.md");
    std::istringstream rules(kuramap::RulesPage());
    std::string written;
    std::string wanted;
    while (static_cast<bool>(std::getline(rules, wanted))) {
        std::getline(page, written);
        ASSERT_EQ(written, wanted) << "write it again: kura map explain --markdown > docs/map-rules.md";
    }
    EXPECT_FALSE(static_cast<bool>(std::getline(page, written))) << "a line too many: " << written;
}

/// Whether the rule finds something in a map of these solutions.
bool IsFound(kuramap::RuleId rule, const std::string& solutions) {
    const kuramap::XmlDocument document =
        kuramap::XmlDocument::Parse("<solutionmap>" + solutions + "</solutionmap>", "map.xml");
    const std::vector<kuramap::Finding> findings = kuramap::CheckMap(document, {});
    return std::any_of(findings.begin(), findings.end(),
                       [&](const kuramap::Finding& finding) { return finding.rule->id == rule; });
}

TEST(FilterNearMiss, OfThreeLettersIsOneMoreOrLessButNoOther) {
    const auto isFound = [](const std::string& source) {
        return IsFound(kuramap::RuleId::kFilterNearMiss,
                       "<solution source=\"" + source + "\" view_authority=\"USER\"/>");
    };
    for (const char* const near :
         {"TV", "DV", "dtv", "DTV ", " DTV ", "DTVS", "HDM", "HDMO", "HMDI", "HDMI1"}) {
        EXPECT_TRUE(isFound(near)) << near;
    }
    for (const char* const other : {"", "DTV", "HDMI", "ALL", "ATV", "USB", "V", "CABLE"}) {
        EXPECT_FALSE(isFound(other)) << other;
    }
}

TEST(KeyNearMiss, IsOneLetterLetterCaseOrABlankButNoDigit) {
    const auto isFound = [](const std::string& one, const std::string& other) {
        const std::string type = "<solution sol_type=\"VCONFSET_INT\" sol_name=\"";
        return IsFound(kuramap::RuleId::kKeyNearMiss, type + one + "\"/>" + type + other + "\"/>");
    };
    const std::string key = "db/menu/mode1";
    for (const char* const near : {"db/menu/mod1", "db/menu/moode1", "db/menu/mpde1", "db/menu/omde1",
                                   "db/menu/Mode1", "db/menu/mode1 "}) {
        EXPECT_TRUE(isFound(key, near)) << near;
        EXPECT_TRUE(isFound(near, key)) << near;
    }
    for (const char* const other : {"db/menu/mode1", "db/menu/mode2", "db/menu/mode", "db/menu/mode12",
                                    "db/menu/node", "db/menu/sound1"}) {
        EXPECT_FALSE(isFound(key, other)) << other;
    }
    EXPECT_FALSE(isFound("db/mode", "db/node"));
}

TEST(KeyNearMiss, IsReportedAtTheRarerKey) {
    const std::string type = "<solution sol_type=\"VCONFSET_INT\" sol_name=\"";
    const kuramap::XmlDocument document =
        kuramap::XmlDocument::Parse("<solutionmap>\n" + type + "db/menu/mod\"/>\n" + type +
                                        "db/menu/mode\"/>\n" + type + "db/menu/mode\"/></solutionmap>",
                                    "map.xml");
    for (const kuramap::Finding& finding : kuramap::CheckMap(document, {})) {
        if (finding.rule->id == kuramap::RuleId::kKeyNearMiss) {
            EXPECT_EQ(finding.position.line, 2u);
        }
    }
    EXPECT_TRUE(IsFound(kuramap::RuleId::kKeyNearMiss, document.Source()));
}

/// The part of a message that quotes a misspelt action type.
std::string QuotedInMessage(const std::string& type) {
    const kuramap::XmlDocument document = kuramap::XmlDocument::Parse(
        "<solutionmap><solution issue_code=\"1\" sol_type=\"" + type + "\"/></solutionmap>", "map.xml");
    for (const kuramap::Finding& finding : kuramap::CheckMap(document, {})) {
        if (finding.rule->id == kuramap::RuleId::kUnknownAction) {
            const std::size_t first = finding.message.find('"');
            return finding.message.substr(first, finding.message.find("\"; ", first) + 1 - first);
        }
    }
    return "";
}

TEST(Message, CutsAValueOfMoreThan60BytesInFrontOfACharacter) {
    const std::string letters(58, 'a');
    EXPECT_EQ(QuotedInMessage(letters + "bc"), "\"" + letters + "bc\"");
    EXPECT_EQ(QuotedInMessage(letters + "bcd"), "\"" + letters + "bc...\"");
    EXPECT_EQ(QuotedInMessage(letters + "b\xc3\xa9"), "\"" + letters + "b...\"");
    EXPECT_EQ(QuotedInMessage(letters + "\xe2\x82\xac"), "\"" + letters + "...\"");
}

TEST(Message, CutsAValueWithLineBreaksAndTabsAtTheSamePlace) {
    const std::string letters(58, 'a');
    EXPECT_EQ(QuotedInMessage("&#10;" + letters + "\xc3\xa9"), "\"\\n" + letters + "...\"");
    EXPECT_EQ(QuotedInMessage("&#9;&#13;" + letters + "\xc3\xa9"), "\"\\t\\r" + letters + "...\"");
    EXPECT_EQ(QuotedInMessage("&#9;" + letters + "bc"), "\"\\t" + letters + "b...\"");
    std::string breaks;
    for (int i = 0; i < 61; ++i) {
        breaks += "&#10;";
    }
    EXPECT_EQ(QuotedInMessage(breaks).size(), 60 * 2 + 5U);
}

TEST(Rules, ExplainGivesEveryPart) {
    for (const kuramap::Rule& rule : kuramap::Rules()) {
        const std::string text = kuramap::Explain(rule);
        for (const std::string_view part : {rule.tag, rule.summary, rule.effect, rule.example, rule.mend}) {
            EXPECT_THAT(text, testing::HasSubstr(std::string(part))) << rule.tag;
            EXPECT_FALSE(part.empty()) << rule.tag;
        }
    }
}

}  // namespace
