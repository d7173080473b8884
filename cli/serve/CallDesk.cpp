#include "CallDesk.h"

#include <sys/eventfd.h>

#include <exception>
#include <utility>

#include "HttpError.h"
#include "LimitedRun.h"
#include "explain/RepairSteps.h"

namespace cli::serve {

namespace {

/// The kind of failure of a call that was given up.
constexpr const char* kLeft = "left";

CallAnswer Failure(int status, const std::string& kind, const std::string& message) {
    return {status, HttpErrorDocument(kind, message)};
}

int HttpStatusOf(int exitCode) {
    switch (static_cast<ExitCode>(exitCode)) {
        case ExitCode::kDone:
        case ExitCode::kFindings:
            return 200;
        case ExitCode::kNoSuchItem:
            return 404;
        case ExitCode::kNoAnswer:
            return 504;
        case ExitCode::kUsage:
            return 400;
        default:
            return 500;
    }
}

/// The last line that the program wrote, which tells of a failure for which there is no document.
std::string LastLine(const std::string& text) {
    const auto end = text.find_last_not_of('\n');
    if (end == std::string::npos) {
        return "it gave no reason";
    }
    const auto before = text.find_last_of('\n', end);
    const auto start = before == std::string::npos ? 0 : before + 1;
    return text.substr(start, end + 1 - start);
}

/// Adds a sentence to each step of a repair, as the command prints it for people.
void AddWords(Json& document) {
    if (document.contains("steps")) {
        for (Json& step : document.at("steps")) {
            step["text"] = StepText(step);
        }
    }
}

CallAnswer AnswerOf(const RunEnd& end) {
    if (end.child.signal != 0) {
        return Failure(500, "failed", "the command was ended by signal " + std::to_string(end.child.signal));
    }
    Json document = Json::parse(end.out, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        return Failure(500, "failed", "the command gave no answer: " + LastLine(end.err));
    }
    const int status = HttpStatusOf(end.child.status);
    if ((status == 200) == document.contains("error")) {
        return Failure(500, "failed",
                       "the command's answer and its exit code " + std::to_string(end.child.status) +
                           " contradict each other");
    }
    return {status, std::move(document)};
}

}  // namespace

CallDesk::CallDesk(std::vector<std::string> command, int stop, Screens& screens, SetWatch& watch)
    : m_command(std::move(command)), m_stop(stop), m_screens(screens), m_watch(watch) {}

CallAnswer CallDesk::Run(const Call& call, const std::string& argument) {
    const unsigned long number = m_screens.Begin(call, argument);
    if (number == 0) {
        return Failure(409, "busy", "another call is running; try again when it has ended");
    }
    {
        const std::lock_guard lock(m_mutex);
        m_leave = support::Descriptor(eventfd(0, EFD_CLOEXEC));
        m_running = &call;
        m_number = number;
    }
    m_watch.CallBegins();
    CallAnswer answer;
    try {
        answer = Carry(call, argument, m_leave.Number());
    } catch (const std::exception& error) {
        answer = Failure(500, "failed", error.what());
    }
    {
        const std::lock_guard lock(m_mutex);
        m_running = nullptr;
    }
    Stale stale = m_watch.CallEnds(call);
    // The viewer who gave it up does not want it again at once.
    stale.own = stale.own && answer.document.value("/error/kind"_json_pointer, "") != kLeft;
    m_screens.End(call, argument, answer.document, stale);
    return answer;
}

CallAnswer CallDesk::Leave(unsigned long number) {
    const std::lock_guard lock(m_mutex);
    if (m_running == nullptr || m_number != number) {
        return Failure(404, "no-such-item", "call " + std::to_string(number) + " does not run");
    }
    if (!m_running->mayBeLeft) {
        return Failure(409, "busy", "this call changes the set and is not given up half-way");
    }
    if (eventfd_write(m_leave.Number(), 1) != 0) {
        return Failure(500, "failed", "the call cannot be given up");
    }
    return {200, {{"number", number}}};
}

CallAnswer CallDesk::Carry(const Call& call, const std::string& argument, int leave) const {
    std::vector<std::string> command = m_command;
    command.emplace_back(call.runs.empty() ? call.verb : call.runs);
    if (!call.option.empty()) {
        command.emplace_back(call.option);
    }
    if (!call.argument.empty()) {
        command.insert(command.end(), {"--", argument});
    }
    const RunEnd end = RunLimited(command, call.limit, m_stop, leave);
    switch (end.how) {
        case RunEnd::How::kByItself: {
            CallAnswer answer = AnswerOf(end);
            AddWords(answer.document);
            return answer;
        }
        case RunEnd::How::kTooLate:
            return Failure(504, "no-answer",
                           "the call did not end within " + std::to_string(call.limit.count()) + " s");
        case RunEnd::How::kTooMuch:
            return Failure(500, "failed", "the command's answer is too long");
        case RunEnd::How::kLeft:
            return Failure(504, kLeft, "the wait was given up");
        case RunEnd::How::kStopped:
            return Failure(503, "failed", "the server ends");
    }
    return Failure(500, "failed", "the call ended in an unknown way");
}

}  // namespace cli::serve
