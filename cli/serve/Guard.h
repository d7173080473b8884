// Decides who may talk to the server: a page that came from it, opened by a user who was given the address.
// The token in the address keeps out other users of the machine and other pages. The Host header keeps out
// pages whose domain name was made to point here. The Origin header keeps out requests of other pages even if
// they know the token.
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

/// The headers that the guard checks. A header that is sent more than once counts as wrong.
struct Caller {
    std::size_t hosts = 0;
    std::string host;
    std::size_t origins = 0;
    std::string origin;
};

/// 128 random bits in hexadecimal. Throws std::system_error when the system gives none.
std::string NewToken();

/// Whether both texts are equal. The time that it takes does not tell how much of given is right.
bool SameSecret(std::string_view given, std::string_view secret);

class Guard {
public:
    Guard(int port, std::string token);

    /// Why the request is refused, or nothing when it may go on. path: the decoded path of the request.
    std::optional<Refusal> Check(const Caller& caller, const std::string& path) const;

    /// The path behind the token, without a slash in front.
    std::string Below(const std::string& path) const;

    /// "/TOKEN/"
    std::string Root() const { return "/" + m_token + "/"; }

private:
    bool IsOurs(const std::string& host) const;

    const std::string m_port;
    const std::string m_token;
};

}  // namespace cli::serve
