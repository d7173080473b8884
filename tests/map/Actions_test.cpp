// The documents, the schema and the fuzz dictionary name exactly the actions of the table.
#include "map/Actions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "map/XmlDocument.h"

namespace fs = std::filesystem;

using kuramap::ActionType;
using kuramap::ValueUse;

namespace {

const fs::path kProject = KURA_SOURCE;

std::string ReadFile(const std::string& name) {
    std::ifstream file(kProject / name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

using Row = std::vector<std::string>;

/// The cells of the first table below a heading of docs/solution-map.md, without its head and the row for
/// what is not known.
std::vector<Row> TableBelow(const std::string& heading) {
    const std::string page = ReadFile("docs/solution-map.md");
    const std::size_t at = page.find(heading + "\n");
    EXPECT_NE(at, std::string::npos) << heading;
    std::istringstream lines(page.substr(at));
    std::vector<Row> rows;
    std::string line;
    while (std::getline(lines, line) && (rows.empty() || line.rfind("| ", 0) == 0)) {
        if (line.rfind("| `", 0) != 0 || line.rfind("| `sol_", 0) == 0) {
            continue;
        }
        std::istringstream cells(line.substr(2));
        Row row;
        for (std::string cell; std::getline(cells, cell, '|');) {
            const std::size_t last = cell.find_last_not_of(' ');
            row.push_back(
                last == std::string::npos ? "" : cell.substr(cell[0] == ' ', last + 1 - (cell[0] == ' ')));
        }
        rows.push_back(row);
    }
    return rows;
}

std::string AsCode(std::string_view name) {
    return "`" + std::string(name) + "`";
}

/// How the document writes the use of a value.
std::string InWords(ValueUse use) {
    switch (use) {
        case ValueUse::kBoolean:
            return "`1` or `0`";
        case ValueUse::kNumber:
            return "number";
        case ValueUse::kText:
            return "any text";
        case ValueUse::kNone:
            break;
    }
    return "not used";
}

bool HasUseByName(const ActionType& type) {
    return type.names != nullptr &&
           std::any_of(type.names->all.begin(), type.names->all.end(),
                       [](const kuramap::NamedAction& named) { return named.value != ValueUse::kNone; });
}

TEST(Actions, AreDescribedInTheirDocument) {
    const std::vector<Row> rows = TableBelow("## Action types");
    ASSERT_EQ(rows.size(), kuramap::ActionTypes().size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const ActionType& type = kuramap::ActionTypes()[i];
        EXPECT_EQ(rows[i][0], AsCode(type.name));
        EXPECT_EQ(rows[i][1], std::to_string(type.engineNumber)) << type.name;
        EXPECT_THAT(rows[i][2], testing::HasSubstr(type.target.empty() ? "a note" : std::string(type.target)))
            << type.name;
        EXPECT_THAT(rows[i][3], testing::HasSubstr(HasUseByName(type) ? "see below" : InWords(type.value)))
            << type.name;
    }
}

TEST(Actions, WithCertainNamesAreDescribedInTheirDocument) {
    for (const auto& [type, heading] : std::vector<std::pair<std::string, std::string>>{
             {"API", "### Operations of `API`"}, {"MSGPORT", "### Screens of `MSGPORT`"}}) {
        const std::vector<Row> rows = TableBelow(heading);
        const auto& names = kuramap::FindActionType(type)->names->all;
        ASSERT_EQ(rows.size(), names.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(rows[i][0], AsCode(names[i].name));
            if (rows[i].size() > 2) {
                EXPECT_THAT(rows[i][1], testing::HasSubstr(InWords(names[i].value))) << names[i].name;
            }
        }
    }
}

TEST(Actions, AreThoseOfTheSchema) {
    const kuramap::XmlDocument schema =
        kuramap::XmlDocument::Parse(ReadFile("schema/solution-map.xsd"), "solution-map.xsd");
    std::vector<std::string> types;
    bool isAmongTypes = false;
    for (const kuramap::Element& element : schema.Elements()) {
        if (element.attributeCount == 0) {
            continue;
        }
        const std::string_view value = schema.Attributes()[element.firstAttribute].value;
        if (element.name->text == "xs:simpleType") {
            isAmongTypes = value == "ActionType";
        } else if (isAmongTypes && element.name->text == "xs:enumeration") {
            types.emplace_back(value);
        }
    }
    EXPECT_EQ(types, kuramap::NamesOf(kuramap::ActionTypes()));
}

TEST(Actions, AreInTheFuzzDictionary) {
    const std::string dictionary = ReadFile("fuzz/dict/solution_map.dict");
    for (const ActionType& type : kuramap::ActionTypes()) {
        EXPECT_THAT(dictionary, testing::HasSubstr("\n\"" + std::string(type.name) + "\"\n"));
    }
}

TEST(Actions, TellWhatTheyDo) {
    EXPECT_EQ(kuramap::EffectOfAction("VCONFSET_INT", "db/{value}", "-5 or so"),
              "writes -5 to the settings key \"db/{value}\" as a number");
    EXPECT_EQ(kuramap::EffectOfAction("SettingsAPI", "item", "on"),
              "sets the settings item \"item\" to \"on\"");
    EXPECT_EQ(kuramap::EffectOfAction("API", "pixo_reset_picture", "3"),
              "resets the settings of picture mode 3");
    EXPECT_EQ(kuramap::EffectOfAction("API", "fly", ""), "does nothing: there is no operation \"fly\"");
    EXPECT_EQ(kuramap::EffectOfAction("MSGPORT", "fly", ""), "does nothing: there is no screen \"fly\"");
    EXPECT_EQ(kuramap::EffectOfAction("launch", "app", ""),
              "does nothing: there is no action type \"launch\"");
}

}  // namespace
