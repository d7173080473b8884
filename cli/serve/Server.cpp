#include "Server.h"

#include <httplib.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <thread>
#include <utility>
#include <vector>

#include "BoundedServer.h"
#include "CallDesk.h"
#include "Guard.h"
#include "Page.h"
#include "Routes.h"
#include "Screens.h"
#include "SetWatch.h"

namespace cli::serve {

namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr std::chrono::milliseconds kStartStep{2};

sigset_t EndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

class StopFile {
public:
    StopFile() : m_number(eventfd(0, EFD_CLOEXEC)) {
        if (m_number < 0) {
            throw VerbError(ExitCode::kFailed, std::string("cannot make an event: ") + std::strerror(errno));
        }
    }
    StopFile(const StopFile&) = delete;
    StopFile& operator=(const StopFile&) = delete;
    ~StopFile() { close(m_number); }
    int Number() const { return m_number; }
    void Raise() const { eventfd_write(m_number, 1); }

private:
    const int m_number;
};

/// Leaves out the HTTP library's default SO_REUSEPORT, with which a second server on the port would take half
/// of the requests.
void SetSocketOptions(socket_t socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

/// The port that the server listens on.
int Bind(httplib::Server& server, int port) {
    server.set_socket_options(&SetSocketOptions);
    errno = 0;
    const int bound = port == 0                              ? server.bind_to_any_port(kLoopback)
                      : server.bind_to_port(kLoopback, port) ? port
                                                             : -1;
    if (bound > 0) {
        return bound;
    }
    const int reason = errno;
    if (reason == EADDRINUSE) {
        throw VerbError(ExitCode::kFailed, "port " + std::to_string(port) + " is taken by another program");
    }
    const std::string what = port == 0 ? "any port" : "port " + std::to_string(port);
    throw VerbError(ExitCode::kFailed, "cannot listen on " + what + ": " + std::strerror(reason));
}

std::vector<std::string> CommandFor(const kuraset::SetDirectory& set, const std::string& language) {
    return {std::filesystem::read_symlink("/proc/self/exe"), "--set=" + set.Path().string(),
            "--language=" + language, "--json"};
}

}  // namespace

struct Server::Impl {
    Impl(const kuraset::SetDirectory& set, const std::string& language, int wanted)
        : page(Page::Load(PageFolder(), language)),
          screens(set, language),
          http(stop.Number()),
          port(Bind(http, wanted)),
          guard(port, NewToken()),
          watch(set, screens),
          desk(CommandFor(set, language), stop.Number(), screens, watch),
          routes({guard, page, screens, desk, [this] { http.Admit(); }, set.Path(), set.FilesOpt()}) {
        routes.Add(http);
    }

    Page page;
    Screens screens;
    StopFile stop;
    BoundedServer http;
    int port;
    Guard guard;
    SetWatch watch;
    CallDesk desk;
    Routes routes;
};

Server::Server(const kuraset::SetDirectory& set, const std::string& language, int port)
    : m_impl(std::make_unique<Impl>(set, language, port)) {
    const sigset_t signals = EndingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Server::~Server() = default;

int Server::Port() const {
    return m_impl->port;
}

std::string Server::Url() const {
    return std::string("http://") + kLoopback + ":" + std::to_string(m_impl->port) + m_impl->guard.Root();
}

ExitCode Server::Serve() {
    std::atomic<bool> ended{false};
    std::thread listener([this, &ended] {
        m_impl->http.listen_after_bind();
        ended = true;
        kill(getpid(), SIGTERM);
    });
    std::thread watcher([this] { m_impl->watch.Watch(m_impl->stop.Number()); });
    const sigset_t signals = EndingSignals();
    int signal = 0;
    sigwait(&signals, &signal);
    const bool lost = ended;
    // stop() has no effect on a server that does not listen yet.
    while (!ended && !m_impl->http.is_running()) {
        std::this_thread::sleep_for(kStartStep);
    }
    m_impl->stop.Raise();
    m_impl->screens.Close();
    m_impl->http.stop();
    listener.join();
    watcher.join();
    if (lost) {
        std::cerr << "kura: the server can listen no longer\n";
        return ExitCode::kFailed;
    }
    return ExitCode::kDone;
}

}  // namespace cli::serve
