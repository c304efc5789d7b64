#pragma once

#include "VideoCore/Error.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace orvo {

/// A request that came to no answer: no connection, a time limit, a certificate that is not trusted. `code()` is libcurl's.
class TransportError : public Error {
public:
    TransportError(int code, const std::string& message)
        : Error("curl", code, message)
    {
    }
};

/// One request. Body and texts must live until it is answered.
struct HttpRequest {
    std::string method;
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::span<const char> body;
    /// Whether there is a body, possibly an empty one.
    bool hasBody = false;
};

struct HttpResponse {
    long status = 0;
    std::string body;
    std::string location; ///< Where a redirection leads, absolute; empty otherwise.
};

/// Sends requests one after the other over connections that are kept. One thread at a time.
///
/// Certificates are verified with the system's authorities, or those that SSL_CERT_FILE and SSL_CERT_DIR name. Proxies are
/// those of the environment, else those of the desktop's settings; "localhost" is reached directly. Redirections are not
/// followed: who sends a credential decides where to.
class HttpClient {
public:
    struct Limits {
        std::chrono::seconds silence{60}; ///< Until a connection is there, and without a byte in either direction.
        std::chrono::seconds whole{3600}; ///< Of one request.
        std::size_t answer = std::size_t{8} << 20; ///< Bytes of a body; a longer one is an error.
    };

    explicit HttpClient(const Limits& limits);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Blocks until the answer is there. Throws `TransportError`, and `Cancelled` at once when `stop` is requested.
    HttpResponse send(const HttpRequest& request, const std::stop_token& stop);

private:
    struct Handles;
    /// The proxy that the environment names, else the desktop; empty for none.
    const std::string& proxyFor(const std::string& url, const std::stop_token& stop);

    std::unique_ptr<Handles> m_handles;
    Limits m_limits;
    std::map<std::string, std::string> m_proxies; ///< By the origin of the addresses that they are for.
};

/// What is the same for two addresses that are one server: scheme, host and port, as "https://host:443". Empty for a text
/// that is no address.
std::string originOf(const std::string& url);

/// `base` with `path` behind its own path.
std::string appendPath(const std::string& base, const std::string& path);

/// A text as one piece of a path.
std::string pathSegment(const std::string& text);

} // namespace orvo
