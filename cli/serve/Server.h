// The local page of a set: an HTTP server on the loopback interface, for as long as the command runs.
#pragma once

#include <memory>
#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli::serve {

class Server {
public:
    /// Listens. port: 0 for one that is free. Throws VerbError when that is not possible. From then on the
    /// signals that end the command are kept for Serve; call both on the main thread, before it has others.
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
