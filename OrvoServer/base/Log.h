#pragma once

#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>

namespace orvo::server {

/// Structured log: one JSON object per line on a file descriptor. Thread-safe.
///
/// Callers must not pass secrets: no credential, ticket, grant, key, viewer address or request path. A request is
/// identified by the pattern of its route.
class Log {
public:
    struct Field {
        std::string_view name;
        std::variant<std::string_view, std::int64_t, std::uint64_t, bool> value;
    };
    using Fields = std::initializer_list<Field>;

    /// -1 disables the log.
    explicit Log(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    void info(std::string_view event, Fields fields = {}) { write("info", event, fields); }
    void warning(std::string_view event, Fields fields = {}) { write("warning", event, fields); }
    void error(std::string_view event, Fields fields = {}) { write("error", event, fields); }

private:
    void write(std::string_view level, std::string_view event, Fields fields);

    const int m_descriptor;
    std::mutex m_mutex;
};

} // namespace orvo::server
