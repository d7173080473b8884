// A verb's answer: one JSON document, the same as text for people, and the exit code.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace cli {

using Json = nlohmann::ordered_json;

enum class ExitCode {
    kDone = 0,
    kFailed = 1,
    kFindings = 2,
    kNoSuchItem = 3,
    kNoAnswer = 4,  ///< a service, the agent or the engine did not answer
    kUsage = 64,
};

/// Ends a verb. Printed as {"error": {...}} with --json, as one line on standard error otherwise.
class VerbError : public std::runtime_error {
public:
    VerbError(ExitCode code, const std::string& message) : std::runtime_error(message), m_code(code) {}
    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};

/// Thrown when no sandbox can be made on this machine, so that no verb that needs the library can run. The
/// document's "kind" is then kNoSandboxKind.
class NoSandbox : public VerbError {
public:
    using VerbError::VerbError;
};
constexpr const char* kNoSandboxKind = "no-sandbox";

/// The document of a failure.
Json ErrorDocument(ExitCode code, const std::string& message);

struct Outcome {
    Json document;
    std::function<void()> printText;  ///< prints the same for people on standard output
    ExitCode code = ExitCode::kDone;
    /// Runs after the answer is printed, for example a server; its exit code then counts. It must not throw,
    /// because there is at most one document.
    std::function<ExitCode()> afterwards = nullptr;
};

/// The answer of a verb that failed and still has something to show: the error stands in front in its
/// document and goes to standard error.
Outcome FailedOutcome(const Outcome& shown, ExitCode code, const std::string& message);

/// Copies the value into the document's type. Bytes that are not UTF-8 become the replacement character.
Json ToDocument(const nlohmann::json& value);

/// A value for people: a text as it is, any other value in JSON.
std::string Shown(const Json& value);

/// The members of an object for people: "code=1001  type=2".
std::string ShownMembers(const Json& object);

/// Prints one document on standard output; bytes that are not UTF-8 become the replacement character. Throws
/// AnswerLost.
void PrintDocument(const Json& document);

}  // namespace cli
