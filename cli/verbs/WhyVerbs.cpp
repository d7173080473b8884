// The verb that tells why an issue is on a list or not.
#include <iostream>
#include <memory>
#include <string>

#include "Verbs.h"
#include "explain/SetCopy.h"
#include "explain/Why.h"
#include "frame/Look.h"
#include "frame/TableVerbs.h"
#include "host/HostSetUp.h"
#include "scenario/Process.h"
#include "set/KuraSet.h"

namespace cli {

namespace {

const Table::Columns kVerdictColumns = {
    {"ISSUE", Table::Align::kRight}, {"LISTED"}, {"DECIDED BY"}, {"WHAT WAS SEEN"}};

struct WhyOptions {
    std::string code;
    std::string list = "start";
};

void PrintVerdict(const Json& verdict, const std::string& list) {
    std::cout << "issue " << verdict.at("issue_code").get<std::string>() << " is "
              << (verdict.at("listed").get<bool>() ? "" : "not ") << "on the " << list << " list\n";
    for (const Json& test : verdict.at("tests")) {
        const std::string name = test.at("test").get<std::string>();
        const bool passed = test.at("passed").get<bool>();
        std::cout << "  "
                  << (passed ? Painted("yes", Tone::kGood) + "  " : Painted("no", Tone::kWarning) + "   ")
                  << name << std::string(name.size() < 16 ? 16 - name.size() : 1, ' ')
                  << test.at("saw").get<std::string>() << '\n';
    }
}

void PrintAll(const Json& verdicts) {
    Table table(kVerdictColumns);
    for (const Json& verdict : verdicts) {
        table.AddRow({verdict.at("issue_code").get<std::string>(),
                      verdict.at("listed").get<bool>() ? Table::Cell("yes", Tone::kWarning) : "no",
                      verdict.at("decided_by").get<std::string>(),
                      verdict.at("tests").back().at("saw").get<std::string>()});
    }
    table.Print();
}

/// Makes the copy on which the library is asked, so that the set keeps no trace of it. The copy drops a
/// planned power cut, which would end the question.
class Questioned {
public:
    kuraset::SetDirectory Prepare(const kuraset::SetDirectory& set) {
        try {
            scenario::EndInGoodOrder();
            m_copy = std::make_unique<SetCopy>(set);
        } catch (const scenario::Interrupted&) {
            throw VerbError(ExitCode::kFailed, "interrupted; the set is as it was");
        }
        const auto copy = m_copy->Set();
        auto description = copy.Description();
        if (description.contains("faults") && description.at("faults").erase("kill_at") > 0) {
            copy.Describe(description);
        }
        return copy;
    }

private:
    std::unique_ptr<SetCopy> m_copy;
};

Outcome Why(const Session& session, const WhyOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const ProblemList list = options.list == "home" ? ProblemList::kHome : ProblemList::kStart;
    const Json document = {{"list", options.list}, {"issues", ToJson(Explain(set, list, options.code))}};
    const bool isOne = !options.code.empty();
    return {document, [document, isOne] {
                const Json& verdicts = document.at("issues");
                if (!isOne) {
                    PrintAll(verdicts);
                    return;
                }
                for (std::size_t i = 0; i < verdicts.size(); ++i) {
                    std::cout << (i > 0 ? "\n" : "");
                    PrintVerdict(verdicts[i], document.at("list").get<std::string>());
                }
            }};
}

}  // namespace

void AddWhyVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<WhyOptions>();
    CLI::App* verb = app.add_subcommand(
        "why", "Why an issue is on a list or not: each test, what it saw, and the last decides");
    verb->add_option("code", options->code, "Issue code; every issue without it")->type_name("ISSUE");
    verb->add_option("--list", options->list, "start: after a diagnosis; home: what remains unfixed")
        ->check(CLI::IsMember({"start", "home"}))
        ->capture_default_str();
    PrintsTable(verb, kVerdictColumns);
    Declare(
        verb, selection, Place::kInside, [&session, options] { return Why(session, *options); }, {},
        [&session, questioned = std::make_shared<Questioned>()] {
            return questioned->Prepare(session.OpenSet());
        });
}

}  // namespace cli
