// Starts what runs beside a host on a simulated set.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>

#include "set/KuraSet.h"

namespace kuraset {

/// The processes beside the host: the package manager on its private bus, and the agent. Start them inside
/// the sandbox, on the main thread and before other threads exist, because the bus address goes into this
/// process's environment. They end with the object and with the process.
class SetServices {
public:
    struct Options {
        bool packageManager = true;
        bool agent = true;
        std::filesystem::path
            programs;  ///< folder of kura-agentd and kura-pkgmgrd; empty: that of this executable
        std::filesystem::path opt = "/opt";  ///< the folders that serve as /opt and /tmp for the services
        std::filesystem::path tmp = "/tmp";
        std::chrono::milliseconds patience{10000};  ///< how long to wait for each to be ready
    };

    /// Returns when every service is ready; throws SetError::Io when one does not start. A service that the
    /// set's faults declare absent is not started; this is no error.
    static SetServices Start(const SetDirectory& set, const Options& options);
    static SetServices Start(const SetDirectory& set);

    SetServices(SetServices&&) noexcept;
    SetServices& operator=(SetServices&&) noexcept;
    SetServices(const SetServices&) = delete;
    SetServices& operator=(const SetServices&) = delete;
    ~SetServices();

    /// Process numbers, 0 when not running. Tests use them to end one.
    int BusProcess() const;
    int PackageManagerProcess() const;
    int AgentProcess() const;

    void Stop() noexcept;

private:
    struct Impl;
    explicit SetServices(std::unique_ptr<Impl> impl);

    std::unique_ptr<Impl> m_impl;
};

}  // namespace kuraset
