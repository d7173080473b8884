// Environment checks, by name.
#include <array>
#include <iostream>
#include <memory>

#include "CGetData.h"
#include "Verbs.h"
#include "host/HostSetUp.h"
#include "support/Joined.h"

namespace cli {

namespace {

struct CheckOptions {
    std::string name;
    std::string model;
};

struct NamedCheck {
    const char* name;
    const char* question;
    Json (*answer)(KURA::CGetData& data, const CheckOptions& options);
};

const std::array<NamedCheck, 5> kChecks = {{
    {"terms", "the stored consent to the content terms",
     [](KURA::CGetData& data, const CheckOptions&) { return Json(data.m_CheckTermsCond()); }},
    {"network", "whether the default gateway is reachable",
     [](KURA::CGetData& data, const CheckOptions&) { return Json(data.m_CheckNetwork()); }},
    {"request-support", "whether the service request is offered",
     [](KURA::CGetData& data, const CheckOptions&) { return Json(data.check_request_support_enable()); }},
    {"8k", "whether the panel is 7680 x 4320",
     [](KURA::CGetData& data, const CheckOptions&) { return Json(data.m_GetTypeOfTV()); }},
    {"model", "whether the software model begins with --model and holds it once",
     [](KURA::CGetData& data, const CheckOptions& options) {
         return Json(data.m_CheckForSwModel(options.model));
     }},
}};

Outcome RunCheck(const Session& session, const CheckOptions& options) {
    for (const NamedCheck& check : kChecks) {
        if (options.name != check.name) {
            continue;
        }
        SetUpHost(session.OpenSet());
        const Json document = {{"check", check.name},
                               {"result", check.answer(*KURA::CGetData::GetInstance(), options)}};
        return {document, [document] { std::cout << document.at("result").dump() << '\n'; }};
    }
    throw VerbError(ExitCode::kNoSuchItem, "no such check: " + options.name);
}

}  // namespace

void AddCheckVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* verb = app.add_subcommand("check", "An environment check");
    const auto help = [](const NamedCheck& check) { return std::string(check.name) + ": " + check.question; };
    verb->add_option("name", options->name, support::Joined(kChecks, "\n", help))
        ->type_name("{" + support::Joined(kChecks, ",", &NamedCheck::name) + "}")
        ->required();
    verb->add_option("--model", options->model, "Text for the check \"model\"");
    Declare(verb, selection, Place::kInside, [&session, options] { return RunCheck(session, *options); });
}

}  // namespace cli
