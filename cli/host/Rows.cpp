#include "Rows.h"

#include <iostream>
#include <set>
#include <system_error>

#include "frame/MakeSet.h"
#include "support/Joined.h"

namespace cli {

namespace {

/// "; it has de, en", or nothing when it has no texts at all.
std::string LanguagesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().extension() == ".json") {
            names.insert(entry.path().stem().string());
        }
    }
    return names.empty() ? "" : "; it has " + support::Joined(names, ", ");
}

}  // namespace

Texts Texts::Load(const std::filesystem::path& folder, const std::string& language) {
    Texts texts;
    const auto path = folder / (language + ".json");
    if (!std::filesystem::exists(path)) {
        std::cerr << "kura: the set has no texts in \"" << language << "\", so ids are shown"
                  << LanguagesIn(folder) << '\n';
        return texts;
    }
    try {
        texts.m_texts = ReadJsonFile(path).get<std::map<std::string, std::string>>();
    } catch (const nlohmann::json::exception& error) {
        throw VerbError(ExitCode::kFailed, path.string() + ": " + error.what());
    }
    return texts;
}

std::string Texts::Resolve(const std::string& id) const {
    const auto found = m_texts.find(id);
    return found == m_texts.end() ? id : found->second;
}

Json RowToJson(const KURA::MapToDBTable& row, const Texts& texts) {
    return {{"index", row.index},
            {"issue_code", row.issue_code},
            {"is_fix", row.is_fix},
            {"last_time", row.last_time},
            {"sol_type", row.sol_type},
            {"sol_name", row.sol_name},
            {"sid_issue", row.sid_issue},
            {"sid_sol", row.sid_sol},
            {"sid_button1", row.sid_button1},
            {"sid_button2", row.sid_button2},
            {"action", row.action},
            {"toast1", row.toast1},
            {"toast2", row.toast2},
            {"source", row.source},
            {"view_authority", row.view_authority},
            {"texts",
             {{"issue", texts.Resolve(row.sid_issue)},
              {"solution", texts.Resolve(row.sid_sol)},
              {"button1", texts.Resolve(row.sid_button1)},
              {"button2", texts.Resolve(row.sid_button2)},
              {"toast1", texts.Resolve(row.toast1)},
              {"toast2", texts.Resolve(row.toast2)}}}};
}

Json RowsToJson(const std::vector<KURA::MapToDBTable>& rows, const Texts& texts) {
    Json list = Json::array();
    for (const auto& row : rows) {
        list.push_back(RowToJson(row, texts));
    }
    return list;
}

const Table::Columns& RowColumns() {
    static const Table::Columns columns = {
        {"CODE", Table::Align::kRight}, {"SINCE"}, {"PROBLEM"}, {"SOLUTION"}, {"ACTION"}, {"SOURCE"}};
    return columns;
}

void PrintRows(const Json& rows, const std::string& none) {
    if (rows.empty()) {
        std::cout << none << '\n';
        return;
    }
    Table table(RowColumns());
    for (const Json& row : rows) {
        const Json& texts = row.at("texts");
        table.AddRow({row.at("issue_code"), row.at("last_time"), texts.at("issue"), texts.at("solution"),
                      row.at("sol_type"), row.at("source")});
    }
    table.Print();
}

}  // namespace cli
