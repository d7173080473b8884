// Converts the engine's records to and from JSON as people write it.
#include <string>

#include "KuraSet.h"

namespace kuraset {

using Json = nlohmann::ordered_json;

void to_json(Json& document, const InferenceRecord& record) {
    document = {{"issue_code", record.issueCode},
                {"transition", record.present},
                {"solution_code", record.solutionCode},
                {"register_time", record.registerTime},
                {"last_update_time", record.lastUpdateTime}};
}

void to_json(Json& document, const SolutionRecord& record) {
    document = {{"issue_code", record.issueCode},
                {"solution_code", record.solutionCode},
                {"type", record.type},
                {"is_apply", record.applied},
                {"register_time", record.registerTime}};
}

void SetDirectory::AddRecords(const Json& records) const {
    for (const Json& record : records.value("inferences", Json::array())) {
        ReportInference(record.at("issue_code").get<int>(), record.at("transition").get<bool>(),
                        record.value("solution_code", 0), record.value("register_time", std::string()),
                        record.value("last_update_time", std::string()));
    }
    for (const Json& record : records.value("solutions", Json::array())) {
        ReportSolution(record.at("issue_code").get<int>(), record.value("solution_code", 0),
                       record.value("type", 0), record.value("is_apply", true),
                       record.value("register_time", std::string()));
    }
}

}  // namespace kuraset
