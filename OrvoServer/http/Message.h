#pragma once

#include "OrvoServer/base/OpenFile.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// Requests and responses, independent of sockets.
namespace orvo::server {

enum class Method : std::uint8_t { get, head, post, put, patch, remove, options, other };

std::string_view nameOf(Method method);

/// Header fields in order. Names are compared case-insensitively.
class Headers {
public:
    void add(std::string name, std::string value) { m_fields.emplace_back(std::move(name), std::move(value)); }
    /// The value of the first field with this name, or empty.
    std::string_view operator[](std::string_view name) const;
    std::size_t count(std::string_view name) const;
    const std::vector<std::pair<std::string, std::string>>& fields() const { return m_fields; }

private:
    std::vector<std::pair<std::string, std::string>> m_fields;
};

bool equalsIgnoringCase(std::string_view one, std::string_view other);

struct Request {
    Method method = Method::get;
    std::string target; ///< As sent: path and query.
    Headers headers;
    std::uint64_t contentLength = 0;
    bool hasContentLength = false;
    bool isKeptAlive = true;
    std::string peer; ///< The client's address, for rate limits only. Never logged or stored.
    std::string body; ///< Only for routes that take it whole.
};

/// A part of a file as the body of a response.
struct FileBody {
    std::shared_ptr<const OpenFile> file;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

struct Response {
    unsigned status = 200;
    std::vector<std::pair<std::string_view, std::string>> headers; ///< Names are literals.
    /// A `string_view` must be valid for ever.
    std::variant<std::string, std::string_view, FileBody> body;
    bool closes = false; ///< Closes the connection after this response.

    std::uint64_t bodySize() const;
    Response& with(std::string_view name, std::string value)
    {
        headers.emplace_back(name, std::move(value));
        return *this;
    }
};

/// A JSON response that is never cached.
Response jsonResponse(unsigned status, std::string json);

/// {"error": text}
Response errorResponse(unsigned status, std::string_view text);

/// Receives the body of a request as it arrives. Calls run on worker threads, one at a time.
class BodySink {
public:
    BodySink() = default;
    BodySink(const BodySink&) = delete;
    BodySink& operator=(const BodySink&) = delete;
    /// Destroyed without `finish()`: the body was interrupted.
    virtual ~BodySink() = default;

    /// Returns false to skip the rest: then `finish()` is called, and the connection is closed after its response.
    virtual bool write(std::span<const std::uint8_t> bytes) = 0;
    virtual Response finish() = 0;
};

/// How to answer a request whose head has arrived.
struct Plan {
    enum class Where : std::uint8_t {
        workers, ///< Database and fast disk work.
        fetchers, ///< Work that may wait for remote storage.
    };
    /// Reads a body of at most `bodyLimit` bytes, then calls `answer` on a worker.
    struct Answer {
        std::size_t bodyLimit = 0;
        std::function<Response(const Request&)> answer;
        Where where = Where::workers;
    };
    /// Calls `open` on a worker, then passes the body to the sink.
    struct Stream {
        std::uint64_t bodyLimit = 0;
        std::function<std::unique_ptr<BodySink>(const Request&)> open;
    };

    /// A `Response` is sent at once; a body of up to 64 KiB is skipped, a longer one closes the connection.
    std::variant<Response, Answer, Stream> what;
    std::string_view route = "none"; ///< The pattern of the route, for the log.
    bool isLogged = true;
};

/// Dispatches requests. `plan` runs on an I/O thread and must not block.
class RequestHandler {
public:
    RequestHandler() = default;
    RequestHandler(const RequestHandler&) = delete;
    RequestHandler& operator=(const RequestHandler&) = delete;
    virtual ~RequestHandler() = default;

    virtual Plan plan(const Request& request) = 0;
    /// The response to an exception of `Answer::answer`, `Stream::open` or a sink. Must not throw.
    virtual Response failure(const std::exception& error) noexcept = 0;
};

} // namespace orvo::server
