// Records line by line what one side did in a step: log lines and calls in order, as the fakes write them.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace model {

/// Stands for a number that the rules leave open: any digits match it.
constexpr const char* kAny = "<any>";

/// The exception that a call may be told to throw.
enum class Thrown { Nothing, SystemError, RuntimeError, Number };

/// Throws what kind names.
void Throw(Thrown kind);

/// Whether a call is one that may be told to throw.
bool MayThrow(const std::string& call);

constexpr int kInfo = 4;
constexpr int kError = 6;
constexpr int kDebug = 3;

class Record {
public:
    /// "log 4 function: message".
    void Log(int priority, const char* function, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    /// Throws when the call is the one that was told to.
    void Call(const std::string& call);

    /// Forgets the lines; the throwAt-th call from now on throws kind, none for 0.
    void Begin(int throwAt, Thrown kind);

    const std::vector<std::string>& Events() const { return m_events; }

private:
    std::vector<std::string> m_events;
    int m_untilThrow = 0;
    Thrown m_kind = Thrown::Nothing;
};

/// Whether a line of the library is the one that the model expects.
bool Matches(const std::string& expected, const std::string& seen);

}  // namespace model
