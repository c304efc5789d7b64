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

/// Thrown for a request without a response: no connection, timeout, untrusted certificate. `code()` is libcurl's.
class TransportError : public Error {
public:
    TransportError(int code, const std::string& message)
        : Error("curl", code, message)
    {
    }
};

/// One request. Body and strings must outlive `send`.
struct HttpRequest {
    std::string method;
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::span<const char> body;
    /// Whether to send a body, even an empty one.
    bool hasBody = false;
};

struct HttpResponse {
    long status = 0;
    std::string body;
    std::string location; ///< Absolute target of a redirect; else empty.
};

/// Sends requests one at a time over persistent connections. Not thread-safe.
///
/// Verifies certificates with the system's authorities, or those of SSL_CERT_FILE and SSL_CERT_DIR. Uses the proxy of the
/// environment, else of the desktop; connects to "localhost" directly. Does not follow redirects, because the caller must
/// decide where a credential goes.
class HttpClient {
public:
    struct Limits {
        std::chrono::seconds silence{60}; ///< To connect, and between bytes in either direction.
        std::chrono::seconds whole{3600}; ///< For one request.
        std::size_t answer = std::size_t{8} << 20; ///< Maximum bytes of a body; a longer one is an error.
    };

    explicit HttpClient(const Limits& limits);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Blocks until the response. Throws `TransportError`, and `Cancelled` as soon as `stop` is requested.
    HttpResponse send(const HttpRequest& request, const std::stop_token& stop);

private:
    struct Handles;
    /// The proxy of the environment, else of the desktop; empty for none.
    const std::string& proxyFor(const std::string& url, const std::stop_token& stop);

    std::unique_ptr<Handles> m_handles;
    Limits m_limits;
    std::map<std::string, std::string> m_proxies; ///< By origin.
};

/// The identity of a server: scheme, host and port, such as "https://host:443". Empty for text that is not a URL.
std::string originOf(const std::string& url);

/// Appends `path` to the path of `base`.
std::string appendPath(const std::string& base, const std::string& path);

/// Percent-encodes a text as one path segment.
std::string pathSegment(const std::string& text);

} // namespace orvo
