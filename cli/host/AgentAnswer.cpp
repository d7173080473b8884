#include "AgentAnswer.h"

#include <chrono>
#include <thread>

namespace cli {

namespace {

constexpr std::chrono::seconds kAnswerPatience{5};
constexpr std::chrono::milliseconds kAnswerStep{20};

/// The agent's answer to the request; null when there is none yet.
nlohmann::json FindAnswer(const kuraset::SetDirectory& set, std::size_t before, const std::string& request) {
    const auto entries = set.ReadJournal();
    for (std::size_t i = before; i < entries.size(); ++i) {
        if (entries[i].value("kind", std::string()) == "agent" &&
            entries[i].value("op", std::string()) == request) {
            return entries[i];
        }
    }
    return nullptr;
}

}  // namespace

Json AwaitAgent(const kuraset::SetDirectory& set, std::size_t before, const std::string& request) {
    const auto end = std::chrono::steady_clock::now() + kAnswerPatience;
    auto answer = FindAnswer(set, before, request);
    while (answer.is_null() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kAnswerStep);
        answer = FindAnswer(set, before, request);
    }
    if (answer.is_null()) {
        throw VerbError(ExitCode::kNoAnswer, "the agent did not take up " + request);
    }
    if (answer.value("outcome", std::string()) != "done") {
        throw VerbError(ExitCode::kFailed, "the agent refused " + request + ": " +
                                               answer.value("reason", std::string("no reason given")));
    }
    return ToDocument(answer);
}

}  // namespace cli
