#include <iostream>
#include <memory>

#include "Verbs.h"
#include "frame/TableVerbs.h"

namespace cli {

namespace {

const Table::Columns kInferenceColumns = {
    {"CODE", Table::Align::kRight}, {"PROBLEM"}, {"SOLUTION", Table::Align::kRight}, {"UPDATED"}};
const Table::Columns kRecordedColumns = {{"CODE", Table::Align::kRight},
                                         {"SOLUTION", Table::Align::kRight},
                                         {"TYPE", Table::Align::kRight},
                                         {"APPLIED"},
                                         {"RECORDED"}};

struct ReportOptions {
    int code = 0;
    bool gone = false;
    bool repaired = false;
    bool notApplied = false;
    int solutionCode = 0;
    int type = 0;
    std::string time;
};

void PrintRecords(const Json& document) {
    Table inferences(kInferenceColumns);
    for (const Json& record : document.at("inferences")) {
        inferences.AddRow({record.at("issue_code").dump(),
                           record.at("transition").get<bool>() ? Table::Cell("appeared", Tone::kWarning)
                                                               : Table::Cell("gone", Tone::kGood),
                           record.at("solution_code").dump(), record.at("last_update_time")});
    }
    const bool isSecond = inferences.Print("Inference records\n");
    Table solutions(kRecordedColumns);
    for (const Json& record : document.at("solutions")) {
        solutions.AddRow({record.at("issue_code").dump(), record.at("solution_code").dump(),
                          record.at("type").dump(),
                          record.at("is_apply").get<bool>() ? Table::Cell("yes", Tone::kGood) : "no",
                          record.at("register_time")});
    }
    solutions.Print(std::string(isSecond ? "\n" : "") + "Solution records\n");
}

Outcome ListRecords(const Session& session) {
    const auto set = session.OpenSet();
    const Json document = {{"inferences", set.ListInferences()}, {"solutions", set.ListSolutions()}};
    return {document, [document] { PrintRecords(document); }};
}

Outcome Report(const Session& session, const ReportOptions& options) {
    const auto set = session.OpenSet();
    const std::string time = options.time.empty() ? set.TimeNow() : options.time;
    if (options.repaired) {
        set.ReportSolution(options.code, options.solutionCode, options.type, !options.notApplied, time);
        const kuraset::SolutionRecord record{options.code, options.solutionCode, options.type,
                                             !options.notApplied, time};
        const Json document = {{"solution", record}};
        return {document, [options] { std::cout << "Recorded a repair of issue " << options.code << '\n'; }};
    }
    set.ReportInference(options.code, !options.gone, options.solutionCode, time, time);
    const kuraset::InferenceRecord record{options.code, !options.gone, options.solutionCode, time, time};
    const Json document = {{"inference", record}};
    return {document, [options] {
                std::cout << "Issue " << options.code << (options.gone ? " is gone\n" : " has appeared\n");
            }};
}

}  // namespace

void AddEngineVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb = app.add_subcommand("engine", "The diagnosis engine's records");
    verb->require_subcommand(1);

    CLI::App* list = verb->add_subcommand("list", "All records, newest first");
    PrintsTable(list, kInferenceColumns);
    PrintsTable(list, kRecordedColumns);
    Declare(list, selection, Place::kOutside, [&session] { return ListRecords(session); });

    CLI::App* report = verb->add_subcommand("report", "Add a record: the issue has appeared");
    auto options = std::make_shared<ReportOptions>();
    report->add_option("code", options->code, "Issue code")->type_name("ISSUE")->required();
    CLI::Option* gone = report->add_flag("--gone", options->gone, "The issue has gone away");
    CLI::Option* repaired =
        report->add_flag("--repaired", options->repaired, "A solution was recorded for it");
    gone->excludes(repaired);
    report->add_flag("--not-applied", options->notApplied, "The recorded solution was never applied")
        ->needs(repaired);
    report->add_option("--solution", options->solutionCode, "Solution code");
    report->add_option("--type", options->type, "Solution type code")->needs(repaired);
    report->add_option("--time", options->time, "Local time, 2026-01-31T23:59:59; the set's now when absent")
        ->check([](const std::string& text) {
            return kuraset::IsEngineTime(text) ? std::string() : "must look like 2026-01-31T23:59:59";
        });
    Declare(report, selection, Place::kOutside, [&session, options] { return Report(session, *options); });
}

}  // namespace cli
