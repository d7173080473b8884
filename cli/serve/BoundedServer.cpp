#include "BoundedServer.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <functional>
#include <string>

namespace cli::serve {

namespace {

using Clock = std::chrono::steady_clock;

/// Each open event stream, call and file request keeps a thread busy while it lasts.
constexpr std::size_t kOwnersThreads = 24;
constexpr std::size_t kStrangers = 32;
/// What a request may send, head and body. The library keeps a header in ten times its room.
constexpr std::size_t kLongestRequest = 16 * 1024;
constexpr std::chrono::seconds kRequestTime{10};
constexpr int kWriteMilliseconds = 5000;
/// So much that comes after an answer is thrown away before the connection is closed. Closing it earlier
/// would reset it, and the answer could be lost.
constexpr std::size_t kDrained = 4 * 1024 * 1024;
constexpr std::chrono::seconds kDrainTime{2};

/// The bytes of one request, and of its answer.
class BoundedStream : public httplib::Stream {
public:
    BoundedStream(int socket, int stop) : m_socket(socket), m_stop(stop) {}

    bool is_readable() const override { return m_next < m_end || AwaitInput(Clock::now()); }

    bool is_writable() const override {
        char byte = 0;
        const bool hasGone = recv(m_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
        return !hasGone && AwaitOutput();
    }

    ssize_t read(char* to, std::size_t size) override {
        if (m_next == m_end && !Fill()) {
            return m_hasEnded ? 0 : -1;
        }
        const std::size_t count = std::min(size, m_end - m_next);
        std::copy_n(m_bytes.data() + m_next, count, to);
        m_next += count;
        return static_cast<ssize_t>(count);
    }

    ssize_t write(const char* from, std::size_t size) override {
        return AwaitOutput() ? send(m_socket, from, size, MSG_NOSIGNAL) : -1;
    }

    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return m_socket; }

    /// Tells the other side that the answer is complete, and waits a moment until it has gone.
    void Drain() {
        shutdown(m_socket, SHUT_WR);
        const auto end = Clock::now() + kDrainTime;
        std::size_t seen = 0;
        while (seen < kDrained && AwaitInput(end)) {
            const ssize_t count = recv(m_socket, m_bytes.data(), m_bytes.size(), MSG_DONTWAIT);
            if (count <= 0) {
                return;
            }
            seen += static_cast<std::size_t>(count);
        }
    }

private:
    bool AwaitInput(Clock::time_point end) const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        std::array<pollfd, 2> files = {{{m_socket, POLLIN, 0}, {m_stop, POLLIN, 0}}};
        const int ready = poll(files.data(), files.size(), std::max(0, static_cast<int>(left.count())));
        return ready > 0 && files[1].revents == 0;
    }

    bool AwaitOutput() const {
        pollfd file{m_socket, POLLOUT, 0};
        return poll(&file, 1, kWriteMilliseconds) > 0;
    }

    bool Fill() {
        if (!AwaitInput(m_begun + kRequestTime)) {
            return false;
        }
        const ssize_t count =
            recv(m_socket, m_bytes.data(), std::min(m_bytes.size(), kLongestRequest - m_received), 0);
        m_hasEnded = count == 0 && m_received < kLongestRequest;
        if (count <= 0) {
            return false;
        }
        m_received += static_cast<std::size_t>(count);
        m_next = 0;
        m_end = static_cast<std::size_t>(count);
        return true;
    }

    const int m_socket;
    const int m_stop;
    const Clock::time_point m_begun = Clock::now();
    std::array<char, 4096> m_bytes{};
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::size_t m_received = 0;
    bool m_hasEnded = false;
};

// The arguments of the library's function differ between its releases.
using Setup = std::function<void(httplib::Request&)>;
template <class Server>
void Process(Server& server, bool (httplib::Server::*function)(httplib::Stream&, bool, bool&, const Setup&),
             httplib::Stream& stream) {
    bool closed = false;
    (server.*function)(stream, true, closed, nullptr);
}
template <class Server>
void Process(Server& server,
             bool (httplib::Server::*function)(httplib::Stream&, const std::string&, int, const std::string&,
                                               int, bool, bool&, const Setup&),
             httplib::Stream& stream) {
    bool closed = false;
    (server.*function)(stream, "", 0, "", 0, true, closed, nullptr);
}

}  // namespace

BoundedServer::BoundedServer(int stop) : m_stop(stop) {
    new_task_queue = [] { return new httplib::ThreadPool(kOwnersThreads + kStrangers); };
}

void BoundedServer::Enter(int socket) {
    const std::lock_guard lock(m_mutex);
    m_strangers.push_back({std::this_thread::get_id(), socket});
    if (m_strangers.size() > kStrangers) {
        shutdown(m_strangers.front().socket, SHUT_RDWR);
        m_strangers.pop_front();
    }
}

void BoundedServer::Admit() {
    const std::lock_guard lock(m_mutex);
    m_strangers.remove_if(
        [](const Stranger& stranger) { return stranger.thread == std::this_thread::get_id(); });
}

bool BoundedServer::process_and_close_socket(socket_t socket) {
    Enter(socket);
    BoundedStream stream(socket, m_stop);
    Process(*this, &BoundedServer::process_request, stream);
    stream.Drain();
    Admit();
    close(socket);
    return true;
}

}  // namespace cli::serve
