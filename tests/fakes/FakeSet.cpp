// The records of the fake set, and the log: a line is taken apart again, so that tests can ask for the
// function, the priority and the message of each.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Fakes.h"
#include "Recorder.h"
#include "dlog.h"

namespace fakes {

namespace {

std::mutex& AnswerMutex() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format, std::va_list values) {
    std::va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, values);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

/// Cuts "file: function(line) > [function:line] message"; the whole text is the message when it starts
/// otherwise.
void CutPrefix(LogLine& line) {
    line.message = line.text;
    const std::size_t fileEnd = line.text.find(": ");
    if (line.format.rfind("%s: %s(%d) > [%s:%d] ", 0) != 0 || fileEnd == std::string::npos) {
        return;
    }
    const std::size_t functionStart = fileEnd + 2;
    const std::size_t functionEnd = line.text.find('(', functionStart);
    if (functionEnd == std::string::npos) {
        return;
    }
    line.file = line.text.substr(0, fileEnd);
    line.function = line.text.substr(functionStart, functionEnd - functionStart);
    line.line = std::atoi(line.text.c_str() + functionEnd + 1);
    const std::string number = std::to_string(line.line);
    const std::string agreed =
        line.file + ": " + line.function + "(" + number + ") > [" + line.function + ":" + number + "] ";
    if (line.text.compare(0, agreed.size(), agreed) == 0) {
        line.message = line.text.substr(agreed.size());
        return;
    }
    line.line = 0;
    const std::size_t prefixEnd = line.text.find("] ", functionEnd);
    if (prefixEnd != std::string::npos) {
        line.message = line.text.substr(prefixEnd + 2);
    }
}

}  // namespace

AnswerLock::AnswerLock() : m_guard(AnswerMutex()) {}

FakeSet& Set() {
    static auto* set = new FakeSet;
    return *set;
}

std::vector<std::string> FakeSet::Messages() const {
    std::vector<std::string> messages;
    for (const LogLine& line : log) {
        messages.push_back(line.message);
    }
    return messages;
}

std::vector<std::string> FakeSet::Messages(const std::string& function) const {
    std::vector<std::string> messages;
    for (const LogLine& line : log) {
        if (line.function == function) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

bool FakeSet::Logged(int priority, const std::string& message) const {
    return std::any_of(log.begin(), log.end(), [&](const LogLine& line) {
        return line.priority == priority && line.message == message;
    });
}

bool FakeSet::Called(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

std::size_t FakeSet::CountCalls(const std::string& prefix) const {
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&](const std::string& call) { return call.rfind(prefix, 0) == 0; }));
}

void FakeSet::Record(const std::string& call) {
    ++callCount;
    if (keepRecords) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        calls.push_back(call);
        events.push_back(call);
    }
    if (onCall) {
        onCall(call);
    }
}

void FakeSet::RecordLog(LogLine line) {
    ++logCount;
    if (!keepRecords) {
        return;
    }
    const std::lock_guard<std::mutex> guard(m_mutex);
    events.push_back("log " + std::to_string(line.priority) + " " + line.function + ": " + line.message);
    log.push_back(std::move(line));
}

}  // namespace fakes

extern "C" int dlog_print(int priority, const char* tag, const char* format, ...) {
    if (fakes::Set().onLog) {
        fakes::Set().onLog();
    }
    if (!fakes::Set().keepRecords) {
        ++fakes::Set().logCount;
        return 0;
    }
    fakes::LogLine line;
    line.priority = priority;
    line.tag = tag;
    line.format = format;
    std::va_list values;
    va_start(values, format);
    line.text = fakes::FormatText(format, values);
    va_end(values);
    fakes::CutPrefix(line);
    fakes::Set().RecordLog(std::move(line));
    return 0;
}
