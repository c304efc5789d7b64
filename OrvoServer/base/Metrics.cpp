#include "OrvoServer/base/Metrics.h"

#include <format>

namespace orvo::server {

std::string Metrics::text() const
{
    std::string out;
    const auto add = [&](std::string_view name, std::string_view type, auto value) {
        out += std::format("# TYPE orvo_{0} {1}\norvo_{0} {2}\n", name, type, value);
    };
    add("connections", "gauge", connections.load());
    add("connections_accepted_total", "counter", accepted.load());
    add("connections_refused_total", "counter", refusedConnections.load());
    add("bad_requests_total", "counter", badRequests.load());
    add("timeouts_total", "counter", timeouts.load());
    out += "# TYPE orvo_responses_total counter\n";
    for (std::size_t i = 1; i < responses.size(); ++i)
        out += std::format("orvo_responses_total{{status=\"{}xx\"}} {}\n", i, responses[i].load());
    add("sent_bytes_total", "counter", bytesSent.load());
    add("received_bytes_total", "counter", bytesReceived.load());
    add("wrong_credentials_total", "counter", wrongCredentials.load());
    add("refused_tickets_total", "counter", refusedTickets.load());
    add("stored_files_total", "counter", storedFiles.load());
    add("failed_stores_total", "counter", failedStores.load());
    add("cache_hits_total", "counter", cacheHits.load());
    add("cache_misses_total", "counter", cacheMisses.load());
    add("internal_errors_total", "counter", internalErrors.load());
    return out;
}

} // namespace orvo::server
