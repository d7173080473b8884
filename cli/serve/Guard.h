// Who may talk to the server: somebody who was given the address, in a page that came from it. The token in
// the address keeps out other users of the machine and other pages; the Host header keeps out pages whose
// name was made to point here; the Origin header keeps out requests of other pages even if they know the
// token.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cli::serve {

struct Refusal {
    int status = 0;  ///< of HTTP
    std::string kind;
    std::string message;
};

/// The headers that matter; "more than once" counts as a wrong one.
struct Caller {
    std::size_t hosts = 0;
    std::string host;
    std::size_t origins = 0;
    std::string origin;
};

/// 128 random bits in hexadecimal. Throws std::system_error when the system has none.
std::string NewToken();

/// True for the same text; the time it takes tells nothing of how much of it is right.
bool SameSecret(std::string_view given, std::string_view secret);

class Guard {
public:
    Guard(int port, std::string token);

    /// Why the request is refused; nothing for one that may go on. path: as it came, decoded.
    std::optional<Refusal> Check(const Caller& caller, const std::string& path) const;

    /// What stands behind the token, without a slash in front.
    std::string Below(const std::string& path) const;

    /// "/TOKEN/"
    std::string Root() const { return "/" + m_token + "/"; }

private:
    bool IsOurs(const std::string& host) const;

    const std::string m_port;
    const std::string m_token;
};

}  // namespace cli::serve
