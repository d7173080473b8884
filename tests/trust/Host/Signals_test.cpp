// Signals that interrupt the library at up to 20 kHz, without SA_RESTART: logs, calls, store and files are
// the same as without.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

#include "Host.h"
#include "trust/Trust.h"

using fakes::Set;

namespace {

volatile std::sig_atomic_t g_signals = 0;

/// Interrupts the process so often a second while it lives.
class Interruptions {
public:
    explicit Interruptions(int perSecond) {
        struct sigaction action {};
        action.sa_handler = [](int) { g_signals = g_signals + 1; };
        EXPECT_EQ(sigaction(SIGALRM, &action, nullptr), 0);
        Every(1000000 / perSecond);
    }
    ~Interruptions() { Every(0); }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

private:
    static void Every(int microseconds) {
        const itimerval interval{{0, microseconds}, {0, microseconds}};
        EXPECT_EQ(setitimer(ITIMER_REAL, &interval, nullptr), 0);
    }
};

/// What the set saw of a diagnosis, the remaining list, the guide and a repair, and what they left behind.
std::vector<std::string> Work() {
    setup::ForgetRecords();
    for (const std::vector<host::Entry>& entries : {host::Diagnoses(), host::Repairs()}) {
        for (const host::Entry& entry : entries) {
            entry.call();
        }
    }
    std::vector<std::string> seen;
    // A usage report carries the time.
    std::copy_if(Set().events.begin(), Set().events.end(), std::back_inserter(seen),
                 [](const std::string& event) { return event.find("user_time=") == std::string::npos; });
    seen.push_back(files::Read(setup::kGuideFile));
    seen.push_back(agent::Read("/tmp/vardo/runCmdNativeApps"));
    return seen;
}

}  // namespace

TEST(Signals, ChangeNothing) {
    host::Install();
    Work();
    const std::vector<std::string> quiet = Work();
    const std::size_t rounds = trust::Count(3, 1000);
    for (const int perSecond : {1000, 5000, 20000}) {
        const Interruptions interruptions(perSecond);
        for (std::size_t round = 0; round < rounds; ++round) {
            const std::vector<std::string> seen = Work();
            ASSERT_EQ(seen.size(), quiet.size());
            for (std::size_t i = 0; i < seen.size(); ++i) {
                ASSERT_EQ(seen[i], quiet[i]) << perSecond << " signals a second, round " << round;
            }
        }
    }
    EXPECT_GT(g_signals, 0);
    trust::Report("Signals at 1, 5 and 20 kHz, without SA_RESTART",
                  "diagnoses, lists and repairs; " + std::to_string(g_signals) + " signals", 3 * rounds);
}
