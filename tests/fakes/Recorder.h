// Records the calls of the fakes: Enter("vconf_set_int", key, 5) writes "vconf_set_int(key, 5)". A fake reads
// its answer and changes its state under AnswerLock, so that worker threads may call at any time.
#pragma once

#include <mutex>
#include <string>
#include <type_traits>

#include "Fakes.h"

namespace fakes {

inline std::string Shown(const char* text) {
    return text == nullptr ? "(null)" : text;
}
inline std::string Shown(const std::string& text) {
    return text;
}
template <typename Number,
          typename = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
std::string Shown(Number number) {
    return std::to_string(static_cast<long long>(number));
}

template <typename... Values>
void Enter(const char* name, const Values&... values) {
    FakeSet& set = Set();
    if (!set.keepRecords && !set.onCall) {
        ++set.callCount;
        return;
    }
    std::string call = std::string(name) + "(";
    [[maybe_unused]] const char* separator = "";
    ((call += separator + Shown(values), separator = ", "), ...);
    set.Record(call + ")");
}

/// Holds the lock of the answers and of what the fakes keep beside the records.
class AnswerLock {
public:
    AnswerLock();

private:
    std::lock_guard<std::mutex> m_guard;
};

}  // namespace fakes
