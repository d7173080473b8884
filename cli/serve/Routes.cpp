#include "Routes.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <optional>

#include "EventStream.h"
#include "HttpError.h"
#include "Icons.h"

namespace cli::serve {

namespace {

using httplib::Request;
using httplib::Response;

constexpr std::size_t kLongestPath = 1024;
constexpr std::size_t kLongestBody = 4096;
constexpr std::size_t kLongestArgument = 256;
/// Each follower keeps a thread busy.
constexpr int kFollowers = 8;

constexpr const char* kCallsBelow = "api/";
constexpr std::array<const char*, 3> kLooks = {"api/state", "api/events", "api/icon"};
constexpr const char* kLeave = "api/leave";
constexpr const char* kJson = "application/json";

const httplib::Headers kHeaders = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
     "trusted-types 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cache-Control", "no-store"},
};

void SendDocument(Response& response, int status, const Json& document) {
    response.status = status;
    response.set_content(document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n", kJson);
}

void SendError(Response& response, int status, const std::string& kind, const std::string& message) {
    SendDocument(response, status, HttpErrorDocument(kind, message));
}

/// Gives a body to the refusals of the HTTP library itself.
void NameRefusal(const Request& request, Response& response) {
    if (!response.body.empty()) {
        return;
    }
    switch (response.status) {
        case 413:
            return SendError(response, 413, "too-large",
                             "the body may have " + std::to_string(kLongestBody) + " bytes");
        case 414:
            return SendError(response, 414, "too-long", "the address is too long");
        case 416:
            return SendError(response, 416, "bad-request", "there is no such range");
        default:
            return SendError(response, response.status, "bad-request",
                             "this is no request that can be answered: " + request.method);
    }
}

const Call* CallAt(const std::string& below) {
    const std::string start = kCallsBelow;
    return below.rfind(start, 0) == 0 ? FindCall(std::string_view(below).substr(start.size())) : nullptr;
}

bool IsLook(const std::string& below, const Page& page) {
    return page.Find(below) != nullptr || std::find(kLooks.begin(), kLooks.end(), below) != kLooks.end();
}

bool HasControl(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

/// The argument of the call, or what is wrong with the body.
struct Argument {
    std::string text;
    std::string complaint;
};

Argument ArgumentOf(const Call& call, const std::string& body) {
    const Json document = body.empty() ? Json::object() : Json::parse(body, nullptr, false);
    if (!document.is_object()) {
        return {"", "the body must be one JSON object"};
    }
    for (const auto& item : document.items()) {
        if (item.key() != call.argument) {
            return {"", "the body holds an unknown key: " + item.key()};
        }
    }
    if (call.argument.empty()) {
        return {};
    }
    const std::string key(call.argument);
    const auto found = document.find(key);
    if (found == document.end() || !found->is_string()) {
        return {"", "the body must hold the text \"" + key + "\""};
    }
    const auto text = found->get<std::string>();
    if (text.empty() || text.size() > kLongestArgument || HasControl(text)) {
        return {"", "\"" + key + "\" must have 1 to " + std::to_string(kLongestArgument) +
                        " bytes and no control character"};
    }
    return {text, ""};
}

bool IsJson(const Request& request) {
    const std::string type = request.get_header_value("Content-Type");
    return type.substr(0, type.find(';')) == kJson;
}

void SendTooLarge(Response& response) {
    SendError(response, 413, "too-large", "the body may have " + std::to_string(kLongestBody) + " bytes");
}

/// Answers a request whose headers do not tell where its body ends, or that it is too long; true when it did.
bool RefuseLength(const Request& request, Response& response) {
    const std::size_t lengths = request.get_header_value_count("Content-Length");
    const std::size_t codings = request.get_header_value_count("Transfer-Encoding");
    const std::string length = request.get_header_value("Content-Length");
    const bool isNumber = !length.empty() && length.find_first_not_of("0123456789") == std::string::npos;
    if (lengths + codings > 1 || (lengths == 1 && !isNumber) ||
        (codings == 1 && request.get_header_value("Transfer-Encoding") != "chunked")) {
        SendError(response, 400, "bad-request", "the headers do not tell the length of the body");
        return true;
    }
    const std::string digits = length.substr(std::min(length.find_first_not_of('0'), length.size()));
    if (digits.size() > std::to_string(kLongestBody).size() ||
        (!digits.empty() && std::stoul(digits) > kLongestBody)) {
        SendTooLarge(response);
        return true;
    }
    return false;
}

struct Body {
    std::string text;
    bool tooLarge = false;
    bool broken = false;
};

/// A request without both headers has no body; the library would wait for the end of the connection.
Body ReadBody(const Request& request, const httplib::ContentReader& reader) {
    Body body;
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
        return body;
    }
    const bool whole = reader([&](const char* bytes, std::size_t count) {
        body.text.append(bytes, count);
        return body.text.size() <= kLongestBody;
    });
    body.tooLarge = body.text.size() > kLongestBody;
    body.broken = !whole && !body.tooLarge;
    return body;
}

/// Counts one follower for as long as its stream lives.
class Follower {
public:
    explicit Follower(std::atomic<int>& count) : m_count(count) { ++m_count; }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;
    ~Follower() { --m_count; }

private:
    std::atomic<int>& m_count;
};

}  // namespace

void Routes::Add(httplib::Server& server) {
    server.set_default_headers(kHeaders);
    server.set_error_handler(httplib::Server::Handler(&NameRefusal));
    server.set_exception_handler([](const Request&, Response& response, std::exception_ptr problem) {
        try {
            std::rethrow_exception(problem);
        } catch (const std::exception& error) {
            SendError(response, 500, "failed", error.what());
        } catch (...) {
            SendError(response, 500, "failed", "unknown");
        }
    });
    server.set_pre_routing_handler([this](const Request& request, Response& response) {
        if (request.path.size() > kLongestPath) {
            SendError(response, 414, "too-long", "the address is too long");
        } else if (!Refuse(request, response)) {
            if (request.method == "POST") {
                return httplib::Server::HandlerResponse::Unhandled;
            }
            Look(request, response);
        }
        return httplib::Server::HandlerResponse::Handled;
    });
    server.Post("[^]*", [this](const Request& request, Response& response,
                               const httplib::ContentReader& reader) { Act(request, response, reader); });
}

bool Routes::Refuse(const Request& request, Response& response) const {
    const Caller caller{request.get_header_value_count("Host"), request.get_header_value("Host"),
                        request.get_header_value_count("Origin"), request.get_header_value("Origin")};
    if (const auto refusal = m_parts.guard.Check(caller, request.path)) {
        SendError(response, refusal->status, refusal->kind, refusal->message);
        return true;
    }
    m_parts.admit();
    const std::string below = m_parts.guard.Below(request.path);
    const bool look = IsLook(below, m_parts.page);
    if (!look && below != kLeave && CallAt(below) == nullptr) {
        SendError(response, 404, "no-such-item", "there is nothing at this address");
        return true;
    }
    const bool fits = look ? request.method == "GET" || request.method == "HEAD" : request.method == "POST";
    if (!fits) {
        response.set_header("Allow", look ? "GET, HEAD" : "POST");
        SendError(response, 405, "wrong-method", "this address does not take " + request.method);
    }
    return !fits;
}

void Routes::Look(const Request& request, Response& response) {
    const std::string below = m_parts.guard.Below(request.path);
    if (const PageFile* file = m_parts.page.Find(below)) {
        // The page's addresses are relative: without the slash at the end they would lack the token.
        if (below.empty() && request.path.back() != '/') {
            response.set_redirect(m_parts.guard.Root());
        } else {
            response.set_content(file->text, file->type);
        }
    } else if (below == "api/state") {
        SendDocument(response, 200, m_parts.screens.State());
    } else if (below == "api/events") {
        Follow(response);
    } else {
        ShowIcon(request, response);
    }
}

void Routes::Act(const Request& request, Response& response, const httplib::ContentReader& reader) const {
    if (!IsJson(request)) {
        return SendError(response, 415, "wrong-type", "the body must be of the type application/json");
    }
    if (RefuseLength(request, response)) {
        return;
    }
    const Body body = ReadBody(request, reader);
    if (body.tooLarge) {
        return SendTooLarge(response);
    }
    if (body.broken) {
        return SendError(response, 400, "bad-request", "the body did not come whole");
    }
    const std::string below = m_parts.guard.Below(request.path);
    if (below == kLeave) {
        return Leave(body.text, response);
    }
    const Call& call = *CallAt(below);
    const Argument argument = ArgumentOf(call, body.text);
    if (!argument.complaint.empty()) {
        return SendError(response, 400, "bad-request", argument.complaint);
    }
    const CallAnswer answer = m_parts.desk.Run(call, argument.text);
    SendDocument(response, answer.status, answer.document);
}

void Routes::Leave(const std::string& body, Response& response) const {
    const Json document = Json::parse(body, nullptr, false);
    const bool isRight = document.is_object() && document.size() == 1 && document.contains("number") &&
                         document.at("number").is_number_unsigned();
    if (!isRight) {
        return SendError(response, 400, "bad-request",
                         "the body must hold the number of the call, and only it");
    }
    const CallAnswer answer = m_parts.desk.Leave(document.at("number").get<unsigned long>());
    SendDocument(response, answer.status, answer.document);
}

void Routes::Follow(Response& response) {
    if (m_followers >= kFollowers) {
        return SendError(response, 503, "busy",
                         "more than " + std::to_string(kFollowers) + " pages are open already");
    }
    const auto stream = std::make_shared<EventStream>(m_parts.screens, m_parts.set);
    const auto follower = std::make_shared<Follower>(m_followers);
    response.set_chunked_content_provider(
        "text/event-stream", [stream, follower](std::size_t, httplib::DataSink& sink) {
            if (stream->HasEnded()) {
                sink.done();
                return true;
            }
            const std::string events = stream->Next();
            return events.empty() ? sink.is_writable() : sink.write(events.data(), events.size());
        });
}

void Routes::ShowIcon(const Request& request, Response& response) const {
    const Json state = m_parts.screens.State();
    const Json& shown = state.at("screens").at("apps").at("document");
    const std::string app = request.get_param_value("app");
    const auto picture = shown.is_object() ? ReadIcon(shown.at("apps"), app, m_parts.opt) : std::nullopt;
    if (!picture) {
        return SendError(response, 404, "no-such-item", "there is no picture of this application");
    }
    response.set_content(*picture, "image/png");
}

}  // namespace cli::serve
