// The HTTP library's server with bounds that hold for everybody who has not shown the token yet: how many
// wait, how much a request may send, how long it may take. The library bounds a line and a pause, and no
// more.
#pragma once

#include <httplib.h>

#include <list>
#include <mutex>
#include <thread>

namespace cli::serve {

/// A connection carries one request.
class BoundedServer : public httplib::Server {
public:
    /// Reading ends once stop becomes readable.
    explicit BoundedServer(int stop);

    /// Call it on the thread of a request that came with the token. Its connection is never dropped to make
    /// room for another.
    void Admit();

private:
    struct Stranger {
        std::thread::id thread;
        int socket;
    };

    bool process_and_close_socket(socket_t socket) override;
    /// Registers a connection, and drops the oldest when too many wait.
    void Enter(int socket);

    const int m_stop;
    std::mutex m_mutex;               // guards the strangers, and keeps their sockets open
    std::list<Stranger> m_strangers;  ///< connections without the token, the oldest first
};

}  // namespace cli::serve
