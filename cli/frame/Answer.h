// The way out of a verb's answer. With --json nothing but the one document may reach standard output,
// whatever else the process or its children print; and an answer that does not reach its reader is a failure.
#pragma once

#include <functional>
#include <string>

#include "Outcome.h"

namespace cli {

/// The answer could not be delivered: nothing more is written to standard output.
class AnswerLost : public VerbError {
public:
    explicit AnswerLost(int error);

    /// The reader took what it wanted, as head does: that is nobody's mistake.
    bool ReaderLeft() const { return m_readerLeft; }

private:
    bool m_readerLeft;
};

/// Call it first thing in main: standard streams that the caller closed are opened on nothing, so that no
/// file of the set takes their numbers.
void OpenMissingStreams();

/// From here on standard output is for the document alone: what anything else prints goes to standard error.
void ReserveStandardOutput();

/// Runs print and delivers what it wrote to std::cout. Throws AnswerLost.
void DeliverText(const std::function<void()>& print);

/// Delivers the text as it is. Throws AnswerLost.
void Deliver(const std::string& text);

/// Where the answer goes: standard output, or what it was before it was reserved.
int AnswerDescriptor();

}  // namespace cli
