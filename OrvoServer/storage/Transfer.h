#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo::server {

/// A part of a file as the body of a request.
struct FilePart {
    std::filesystem::path file;
    std::uint64_t offset = 0; ///< Bytes.
    std::uint64_t size = 0; ///< Bytes.
};

/// One request to a storage service. At most one of `body` and `part` is sent.
struct TransferRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::string> headers; ///< "Name: value".
    std::string body;
    std::optional<FilePart> part;
    std::filesystem::path target; ///< Receives the body of a success; empty for `TransferResponse::body`.

    /// Credentials and region for an AWS signature, version 4.
    struct Signature {
        std::string region;
        std::string accessKey;
        std::string secretKey;
    };
    std::optional<Signature> signature;
};

struct TransferResponse {
    long status = 0;
    std::string body; ///< At most 4 MiB.
    std::map<std::string, std::string> headers; ///< By lower-case name; the last one wins.

    bool succeeded() const noexcept { return status >= 200 && status <= 299; }
    std::string header(const std::string& name) const;
};

/// Sends requests over persistent connections. Calls block. Thread-safe.
class Transfer {
public:
    struct Limits {
        std::chrono::seconds connecting{20};
        std::chrono::seconds silence{60}; ///< Maximum time without a byte in either direction.
    };

    Transfer();
    explicit Transfer(const Limits& limits);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Returns the response, whatever its status. Does not follow redirections. Throws `StoreError` (`passing`) if no
    /// response arrives, file system errors for `part` and `target`, and `Cancelled`.
    TransferResponse perform(const TransferRequest& request, const std::stop_token& stop);

private:
    struct Pool;

    const Limits m_limits;
    std::unique_ptr<Pool> m_pool;
};

/// Retries failing requests with increasing pauses.
class Retries {
public:
    /// Waits; returns early if a stop is requested.
    using Pause = std::function<void(std::chrono::milliseconds, const std::stop_token&)>;

    explicit Retries(Pause pause = {});

    /// Calls `attempt` up to six times while it throws a `StoreError` of kind `passing`. Pauses for 0.5, 1, 2, 4 and 8
    /// seconds, each plus up to 25 % at random. Throws the last error, and `Cancelled`.
    void run(const std::function<void()>& attempt, const std::stop_token& stop) const;

    void pause(std::chrono::milliseconds time, const std::stop_token& stop) const { m_pause(time, stop); }

private:
    Pause m_pause;
};

/// Percent-encodes everything but letters, digits and "-._~".
std::string percentEncoded(std::string_view text);

} // namespace orvo::server
