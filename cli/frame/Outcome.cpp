#include "Outcome.h"

#include <unistd.h>

#include <iostream>

#include "Answer.h"
#include "support/Joined.h"

namespace cli {

namespace {

const char* NameOf(ExitCode code) {
    switch (code) {
        case ExitCode::kNoSuchItem:
            return "no-such-item";
        case ExitCode::kNoAnswer:
            return "no-answer";
        case ExitCode::kUsage:
            return "usage";
        case ExitCode::kFindings:
            return "findings";
        default:
            return "failed";
    }
}

}  // namespace

Json ErrorDocument(ExitCode code, const std::string& message) {
    return {{"error", {{"kind", NameOf(code)}, {"message", message}}}};
}

Outcome FailedOutcome(const Outcome& shown, ExitCode code, const std::string& message) {
    std::cerr << "kura: " << message << '\n';
    Json document = ErrorDocument(code, message);
    document.update(shown.document);
    return {document, shown.printText, code};
}

Json ToDocument(const nlohmann::json& value) {
    return Json::parse(value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

std::string Shown(const Json& value) {
    return value.is_string() ? value.get<std::string>()
                             : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string ShownMembers(const Json& object) {
    return support::Joined(object.items(), "  ",
                           [](const auto& member) { return member.key() + "=" + Shown(member.value()); });
}

void PrintDocument(const Json& document) {
    const int indent = isatty(AnswerDescriptor()) != 0 ? 2 : -1;
    Deliver(document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace cli
