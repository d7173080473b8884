// Carries out the page's calls. Each call runs the library in a process and sandbox of its own, because its
// singletons live as long as the process. One call runs at a time, because a set has one care application.
#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "Calls.h"
#include "Screens.h"
#include "SetWatch.h"
#include "frame/Outcome.h"
#include "support/Descriptor.h"

namespace cli::serve {

struct CallAnswer {
    int status = 200;  ///< of HTTP
    Json document;     ///< the verb's document, or {"error": {...}}
};

class CallDesk {
public:
    /// command: this program with the options that every verb gets. stop becomes readable when the server
    /// ends. screens and watch outlive the desk.
    CallDesk(std::vector<std::string> command, int stop, Screens& screens, SetWatch& watch);

    /// Runs the verb and shows the answer on its screen. Answers 409 while another call runs. Blocks until
    /// the call ends. Thread-safe.
    CallAnswer Run(const Call& call, const std::string& argument);

    /// Gives up the running call: its program is ended, and Run answers at once. The library cannot call a
    /// diagnosis back; the simulated engine ends with the program that hosts it. Answers 404 when the call of
    /// that number does not run, 409 when it may not be left. Thread-safe.
    CallAnswer Leave(unsigned long number);

private:
    CallAnswer Carry(const Call& call, const std::string& argument, int leave) const;

    const std::vector<std::string> m_command;
    const int m_stop;
    Screens& m_screens;
    SetWatch& m_watch;
    std::mutex m_mutex;  // guards the members below
    const Call* m_running = nullptr;
    unsigned long m_number = 0;   ///< of the running call
    support::Descriptor m_leave;  ///< an event; readable once the running call is given up
};

}  // namespace cli::serve
