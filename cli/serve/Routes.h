// Answers the requests. The guard is checked first, then the path, then the method, then the body, which is
// not read before. A request that fails a check is answered with a status and the reason as JSON.
#pragma once

#include <httplib.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>

#include "CallDesk.h"
#include "Guard.h"
#include "Page.h"
#include "Screens.h"

namespace cli::serve {

/// Thread-safe.
class Routes {
public:
    struct Parts {
        const Guard& guard;
        const Page& page;
        Screens& screens;
        CallDesk& desk;
        std::function<void()> admit;  ///< told on the thread of each request that came with the token
        std::filesystem::path set;
        std::filesystem::path opt;  ///< the folder of the set's /opt
    };

    explicit Routes(const Parts& parts) : m_parts(parts) {}

    /// Declares everything to the server. The routes outlive it.
    void Add(httplib::Server& server);

private:
    /// Answers a request that is wrong before its body is read; true when it did.
    bool Refuse(const httplib::Request& request, httplib::Response& response) const;
    void Look(const httplib::Request& request, httplib::Response& response);
    void Act(const httplib::Request& request, httplib::Response& response,
             const httplib::ContentReader& reader) const;
    void Leave(const std::string& body, httplib::Response& response) const;
    void Follow(httplib::Response& response);
    void ShowIcon(const httplib::Request& request, httplib::Response& response) const;

    const Parts m_parts;
    std::atomic<int> m_followers{0};
};

}  // namespace cli::serve
