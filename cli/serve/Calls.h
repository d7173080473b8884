// The calls that the page may make: the verbs of this program behind its buttons. A call has the name of its
// verb, or tells it.
#pragma once

#include <array>
#include <chrono>
#include <string_view>

namespace cli::serve {

struct Call {
    std::string_view verb;       ///< in the address
    std::string_view argument;   ///< the verb's argument, a key of the request's body; empty for none
    std::string_view screen;     ///< the screen that shows the answer; empty for none
    std::chrono::seconds usual;  ///< the library's own limit, for the page's progress bar; 0 for none
    std::chrono::seconds limit;  ///< the call is ended when it takes longer
    bool changes;                ///< the other screens show an older set after it
    /// It waits for the engine or measures. The viewer may give it up: the program is then ended, as by
    /// Ctrl-C.
    bool mayBeLeft;
    bool frees;                  ///< it makes room on the set; the storage before and after it is compared
    std::string_view runs = {};  ///< the program's verb where it has another name
    std::string_view option = {};
};

using std::chrono_literals::operator""s;

constexpr std::array<Call, 17> kCalls = {{
    {"diagnose", "", "start", 30s, 60s, true, true, false},
    {"problems", "", "home", 30s, 60s, false, true, false},
    {"guide", "", "guide", 30s, 60s, false, true, false},
    {"history", "", "history", 0s, 60s, false, true, false},
    {"fix", "code", "", 0s, 60s, true, false, false},
    {"preview", "code", "", 0s, 60s, false, true, false, "fix", "--preview"},
    {"why", "code", "", 0s, 60s, false, true, false},
    {"why-home", "code", "", 0s, 60s, false, true, false, "why", "--list=home"},
    {"storage", "", "storage", 0s, 60s, false, true, false},
    {"apps", "", "apps", 0s, 300s, false, true, false},
    {"app", "id", "", 0s, 60s, false, true, false},
    {"clean", "", "", 10s, 60s, true, false, true},
    {"boost", "", "", 5s, 60s, true, false, false},
    {"optimize", "", "", 15s, 60s, true, false, true},
    {"kill", "id", "", 5s, 60s, true, false, false},
    {"clear-cache", "id", "", 5s, 60s, true, false, true},
    {"clear-data", "id", "", 0s, 60s, true, false, true},
}};

constexpr const Call* FindCall(std::string_view verb) {
    for (const Call& call : kCalls) {
        if (call.verb == verb) {
            return &call;
        }
    }
    return nullptr;
}

}  // namespace cli::serve
