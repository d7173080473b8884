// What is answered to which request. Every request passes the guard first, then its path, then its method,
// then its body; what fails is answered with a status and the reason as JSON.
#pragma once

#include <httplib.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "CallDesk.h"
#include "Guard.h"
#include "Page.h"
#include "Screens.h"

namespace cli::serve {

/// Any thread.
class Routes {
public:
    struct Parts {
        const Guard& guard;
        const Page& page;
        Screens& screens;
        CallDesk& desk;
        std::filesystem::path set;
        std::filesystem::path opt;  ///< where the set's /opt is
    };

    explicit Routes(const Parts& parts) : m_parts(parts) {}

    /// Declares everything to the server. The routes outlive it.
    void Add(httplib::Server& server);

private:
    /// Answers whatever is wrong before the body matters; true when that was the case.
    bool Refuse(const httplib::Request& request, httplib::Response& response) const;
    void Look(const httplib::Request& request, httplib::Response& response);
    void Act(const httplib::Request& request, httplib::Response& response,
             const httplib::ContentReader& reader) const;
    void Follow(httplib::Response& response);
    void ShowIcon(const httplib::Request& request, httplib::Response& response) const;

    const Parts m_parts;
    std::atomic<int> m_followers{0};
};

}  // namespace cli::serve
