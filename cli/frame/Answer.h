// Delivers a verb's answer. With --json only the one document may reach standard output, whatever the process
// or its children print. An answer that does not reach its reader is a failure.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Outcome.h"

namespace cli {

/// Thrown when the answer could not be delivered. Nothing more is then written to standard output.
class AnswerLost : public VerbError {
public:
    explicit AnswerLost(int error);

    /// True when the reader closed the pipe early, as head does. No message is then printed.
    bool ReaderLeft() const { return m_readerLeft; }

private:
    bool m_readerLeft;
};

/// Opens standard streams that the caller closed on /dev/null, so that no file of the set gets their
/// descriptors. Call it first in main.
void OpenMissingStreams();

/// Reserves standard output for the document: from now on everything else that is printed goes to standard
/// error.
void ReserveStandardOutput();

/// Runs print and delivers what it wrote to std::cout, as DeliverForPeople does. Throws AnswerLost.
void DeliverText(const std::function<void()>& print);

/// Delivers the text, through the pager where it is long and goes to a terminal. Throws AnswerLost.
void DeliverForPeople(const std::string& text);

/// Delivers the text as it is. Throws AnswerLost.
void Deliver(const std::string& text);

/// Waits so long. Throws AnswerLost as soon as nobody can read the answer any more.
void WaitWhileRead(std::chrono::milliseconds time);

/// The descriptor that the answer is written to: standard output as it was before it was reserved.
int AnswerDescriptor();

}  // namespace cli
