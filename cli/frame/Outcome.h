// What a verb answers: one JSON document, the same for people, and the exit code.
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

/// No verb that needs the library can run on this machine. The document's "kind" is then kNoSandboxKind.
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
    /// What goes on once the answer is printed, as a server does; its code then counts. Must not throw, since
    /// there is one document at most.
    std::function<ExitCode()> afterwards = nullptr;
};

/// The same value in the document's type; bytes that are not UTF-8 become the replacement character.
Json ToDocument(const nlohmann::json& value);

/// A value for people: a text as it is, anything else as JSON writes it.
std::string Shown(const Json& value);

/// Prints one document on standard output; bytes that are not UTF-8 become the replacement character. Throws
/// AnswerLost.
void PrintDocument(const Json& document);

}  // namespace cli
