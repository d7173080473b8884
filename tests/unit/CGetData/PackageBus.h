// A private bus with a package manager on it that answers as a test wants.
#pragma once

#include <gio/gio.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "pkgmgr_client.h"

/// What the service was asked.
struct SizeCall {
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
    unsigned user = 0;
    std::string packageId;
    int type = -1;
};

/// Starts a bus of its own and connects to it; ends both.
class PackageBus {
public:
    /// Makes the reply to a call, or null to answer nothing. Runs on a thread of GIO.
    using Service = std::function<GDBusMessage*(GDBusMessage* message, const SizeCall& call)>;

    PackageBus();
    PackageBus(const PackageBus&) = delete;
    PackageBus& operator=(const PackageBus&) = delete;
    ~PackageBus();

    /// Takes the package manager's name and answers with the function from now on.
    void Serve(Service service);
    /// Answers (code, size) by the type of size asked for.
    void ServeSizes(int code, gint64 total, gint64 data);

    /// The library's end.
    GDBusConnection* Connection() const { return m_client; }
    /// Whether a proxy is left through which the library called.
    static bool HasProxy();
    /// The service leaves the bus, from one of its own answers.
    void LeaveBus();
    /// The library's end is closed.
    void CloseClient();

    /// Calls that leave the time to the bus give up after this one, not after its half minute; 0 takes it
    /// back.
    static void ShortenDefaultTimeout(int milliseconds);

    int CallCount() const { return m_callCount; }
    std::vector<SizeCall> Calls();

    static GDBusMessage* Reply(GDBusMessage* message, GVariant* body);
    static GDBusMessage* Error(GDBusMessage* message, const char* name);

private:
    static GDBusMessage* Filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self);
    GDBusMessage* Answer(GDBusMessage* message);

    GTestDBus* m_bus = nullptr;
    GDBusConnection* m_client = nullptr;
    GDBusConnection* m_server = nullptr;
    std::atomic<int> m_callCount{0};
    std::mutex m_mutex;  ///< guards what follows
    std::vector<SizeCall> m_calls;
    Service m_service;
};
