// The services that an inventory waits for: a package manager and an agent. Both need a fixed time for an
// answer and answer any number of requests side by side.
#pragma once

#include <gio/gio.h>

#include <chrono>
#include <future>
#include <thread>

namespace bench {

constexpr std::chrono::milliseconds kPackageManagerTime{50};
/// Long enough for the first look to find nothing, short enough for the second to find the answer.
constexpr std::chrono::milliseconds kAgentTime{20};

constexpr long kAgentData = 300;
constexpr long kAgentCache = 200;
constexpr long kPackageTotal = 9000;
constexpr long kPackageData = 1000;

/// Both services on a thread of their own, with a private bus. Needs a private /tmp.
class InventoryServices {
public:
    /// Throws std::runtime_error when a service cannot be started.
    InventoryServices();
    ~InventoryServices();
    InventoryServices(const InventoryServices&) = delete;
    InventoryServices& operator=(const InventoryServices&) = delete;

    /// For the package manager's clients.
    GDBusConnection* Connection() const { return m_clients; }

private:
    void Serve(std::promise<void> ready);

    GTestDBus* m_bus;
    GMainContext* m_context;
    GMainLoop* m_loop;
    GDBusConnection* m_clients = nullptr;
    std::thread m_thread;
};

}  // namespace bench
