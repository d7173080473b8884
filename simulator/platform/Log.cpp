// The set's log. The library's lines begin with file, function and line, which the journal keeps apart from
// the message. A message may be a whole document, so only its first part is formatted; its full length is
// journalled beside it.
#include "dlog.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "CurrentSet.h"

namespace {

constexpr std::size_t kLongestMessage = 4096;
constexpr std::size_t kLongestPrefix = 1024;

struct Parts {
    std::string file;
    std::string function;
    std::size_t prefix = 0;  ///< bytes before the message; 0: a line of another shape
};

/// "FILE: FUNCTION(LINE) > [FUNCTION:LINE] " with the same function and line twice.
Parts Dissect(const std::string& text) {
    const std::size_t fileEnd = text.find(": ");
    const std::size_t close = text.find(") > [");
    if (fileEnd == std::string::npos || close == std::string::npos || close < fileEnd) {
        return {};
    }
    const std::size_t open = text.rfind('(', close);
    if (open == std::string::npos || open < fileEnd + 2) {
        return {};
    }
    Parts parts;
    parts.file = text.substr(0, fileEnd);
    parts.function = text.substr(fileEnd + 2, open - fileEnd - 2);
    const std::string line = text.substr(open + 1, close - open - 1);
    std::string prefix = parts.file;
    prefix.append(": ").append(parts.function).append("(").append(line).append(") > [");
    prefix.append(parts.function).append(":").append(line).append("] ");
    if (text.compare(0, prefix.size(), prefix) != 0) {
        return {};
    }
    parts.prefix = prefix.size();
    return parts;
}

void Journal(int priority, const char* tag, const std::string& text, std::size_t fullLength) {
    const Parts parts = Dissect(text);
    const std::string message = kuraset::CutAt(text.substr(parts.prefix), kLongestMessage);
    const std::size_t messageLength = fullLength - parts.prefix;
    kuraset::Entry entry{{"kind", "log"}, {"priority", priority}, {"tag", kuraset::TextOrEmpty(tag)}};
    entry["file"] = parts.file;
    entry["function"] = parts.function;
    entry["message"] = kuraset::Legible(message);
    if (messageLength > message.size()) {
        entry["cut"] = true;
        entry["length"] = messageLength;
    }
    kuraset::CurrentSet::Get().NoteAndMaybeDie("log:" + message, entry);
}

}  // namespace

extern "C" int dlog_print(int priority, const char* tag, const char* format, ...) {
    if (format == nullptr) {
        return -1;
    }
    try {
        std::string text(kLongestMessage + kLongestPrefix, '\0');
        va_list values;
        va_start(values, format);
        const int length = std::vsnprintf(text.data(), text.size(), format, values);
        va_end(values);
        if (length < 0) {
            return -1;
        }
        const auto fullLength = static_cast<std::size_t>(length);
        text.resize(std::min(fullLength, text.size() - 1));
        Journal(priority, tag, text, fullLength);
        return length;
    } catch (...) {
        return -1;
    }
}
