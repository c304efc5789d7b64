#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace orvo::server {

/// Counters of the process for Prometheus. Thread-safe.
struct Metrics {
    std::atomic<std::int64_t> connections = 0; ///< Currently open.
    std::atomic<std::uint64_t> accepted = 0;
    std::atomic<std::uint64_t> refusedConnections = 0; ///< Over a limit.
    std::atomic<std::uint64_t> badRequests = 0; ///< Requests that are not valid HTTP.
    std::atomic<std::uint64_t> timeouts = 0;
    std::array<std::atomic<std::uint64_t>, 6> responses{}; ///< By status class (status / 100).
    std::atomic<std::uint64_t> bytesSent = 0; ///< Bodies.
    std::atomic<std::uint64_t> bytesReceived = 0; ///< Bodies.
    std::atomic<std::uint64_t> wrongCredentials = 0;
    std::atomic<std::uint64_t> refusedTickets = 0;
    std::atomic<std::uint64_t> storedFiles = 0;
    std::atomic<std::uint64_t> failedStores = 0;
    std::atomic<std::uint64_t> cacheHits = 0;
    std::atomic<std::uint64_t> cacheMisses = 0;
    std::atomic<std::uint64_t> internalErrors = 0;

    /// The text exposition format, version 0.0.4.
    std::string text() const;
};

} // namespace orvo::server
