// The local page of a set: an HTTP server on the loopback interface, for as long as the command runs.
#pragma once

#include <memory>
#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli::serve {

class Server {
public:
    /// Listens on the port; 0 chooses a free one. Throws VerbError when it cannot. It blocks the signals that
    /// end the command, and Serve waits for them: call both on the main thread, before there are other
    /// threads.
    Server(const kuraset::SetDirectory& set, const std::string& language, int port);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server();

    int Port() const;
    /// The address to open, with the token in it.
    std::string Url() const;

    /// Answers requests until the command is told to end (Ctrl-C, SIGTERM, the terminal's end).
    ExitCode Serve();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace cli::serve
