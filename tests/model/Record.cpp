#include "Record.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace model {

void Throw(Thrown kind) {
    switch (kind) {
        case Thrown::Nothing:
            return;
        case Thrown::SystemError:
            throw std::system_error(EACCES, std::generic_category(), "told to");
        case Thrown::RuntimeError:
            throw std::runtime_error("told to");
        case Thrown::Number:
            throw 42;
    }
}

bool MayThrow(const std::string& call) {
    // The filters run while the store is open; what a save leaves behind when one throws is not settled.
    return call.rfind("CUtils::Get", 0) != 0 && call != "app_control_destroy()";
}

void Record::Log(int priority, const char* function, const char* format, ...) {
    std::va_list values;
    va_start(values, format);
    std::va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, values);
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(values);
    m_events.push_back("log " + std::to_string(priority) + " " + function + ": " + text);
}

void Record::Call(const std::string& call) {
    m_events.push_back(call);
    if (m_untilThrow > 0 && MayThrow(call) && --m_untilThrow == 0) {
        Throw(m_kind);
    }
}

void Record::Begin(int throwAt, Thrown kind) {
    m_events.clear();
    m_untilThrow = throwAt;
    m_kind = kind;
}

bool Matches(const std::string& expected, const std::string& seen) {
    const std::size_t open = expected.find(kAny);
    if (open == std::string::npos) {
        return expected == seen;
    }
    if (seen.compare(0, open, expected, 0, open) != 0) {
        return false;
    }
    std::size_t end = open;
    while (end < seen.size() && (std::isxdigit(static_cast<unsigned char>(seen[end])) || seen[end] == 'x')) {
        ++end;
    }
    return end > open && seen.substr(end) == expected.substr(open + std::strlen(kAny));
}

}  // namespace model
