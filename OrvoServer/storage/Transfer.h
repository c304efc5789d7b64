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
    std::filesystem::path target; ///< Where the body of a successful answer goes; empty for `TransferResponse::body`.

    /// The credentials and the region of an AWS signature, version 4.
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
    std::map<std::string, std::string> headers; ///< By name in lower case; of several the last.

    bool succeeded() const noexcept { return status >= 200 && status <= 299; }
    std::string header(const std::string& name) const;
};

/// Sends requests over connections that are kept. Every call blocks; any thread.
class Transfer {
public:
    struct Limits {
        std::chrono::seconds connecting{20};
        std::chrono::seconds silence{60}; ///< Without a byte in either direction.
    };

    Transfer();
    explicit Transfer(const Limits& limits);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Returns whatever the service answers. Throws `StoreError` (`passing`) when no answer comes, file system errors for
    /// `part` and `target`, and `Cancelled`. Redirections are not followed.
    TransferResponse perform(const TransferRequest& request, const std::stop_token& stop);

private:
    struct Pool;

    const Limits m_limits;
    std::unique_ptr<Pool> m_pool;
};

/// How often and how long after one another a failing request is tried again.
class Retries {
public:
    /// Waits, unless it is asked to stop.
    using Pause = std::function<void(std::chrono::milliseconds, const std::stop_token&)>;

    explicit Retries(Pause pause = {});

    /// Calls `attempt` until it does not throw a `StoreError` of kind `passing`, at most six times, with 0.5, 1, 2, 4 and 8
    /// seconds, each with up to a quarter more at random, in between. Throws the last one.
    void run(const std::function<void()>& attempt, const std::stop_token& stop) const;

    void pause(std::chrono::milliseconds time, const std::stop_token& stop) const { m_pause(time, stop); }

private:
    Pause m_pause;
};

/// A text with everything but letters, digits and "-._~" percent-encoded.
std::string percentEncoded(std::string_view text);

} // namespace orvo::server
