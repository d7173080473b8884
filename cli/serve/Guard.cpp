#include "Guard.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace cli::serve {

std::string NewToken() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "no random numbers for the address");
    }
    constexpr const char* kDigits = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token += kDigits[byte >> 4U];
        token += kDigits[byte & 15U];
    }
    return token;
}

bool SameSecret(std::string_view given, std::string_view secret) {
    if (given.size() != secret.size()) {
        return false;
    }
    unsigned char difference = 0;
    for (std::size_t i = 0; i < secret.size(); ++i) {
        difference = static_cast<unsigned char>(
            difference | (static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(secret[i])));
    }
    return difference == 0;
}

Guard::Guard(int port, std::string token) : m_port(std::to_string(port)), m_token(std::move(token)) {}

std::optional<Refusal> Guard::Check(const Caller& caller, const std::string& path) const {
    if (caller.hosts != 1) {
        return Refusal{400, "bad-request", "exactly one Host header is needed"};
    }
    if (!IsOurs(caller.host)) {
        return Refusal{403, "foreign-host", "this server is not reached by that name"};
    }
    if (caller.origins > 1 || (caller.origins == 1 && caller.origin != "http://" + caller.host)) {
        return Refusal{403, "foreign-origin", "requests of other pages are refused"};
    }
    const std::string_view first = std::string_view(path).substr(0, path.find('/', 1));
    if (first.empty() || !SameSecret(first.substr(1), m_token)) {
        return Refusal{401, "no-token", "the address lacks the token that kura serve printed"};
    }
    return std::nullopt;
}

std::string Guard::Below(const std::string& path) const {
    return path.size() < Root().size() ? "" : path.substr(Root().size());
}

bool Guard::IsOurs(const std::string& host) const {
    return host == "127.0.0.1:" + m_port || host == "localhost:" + m_port;
}

}  // namespace cli::serve
