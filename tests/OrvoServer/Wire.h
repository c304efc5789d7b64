#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::test {

struct Reply {
    unsigned status = 0; ///< 0 when the connection ended without a response.
    std::string head;
    std::string body;

    /// The value of a header field, empty when it is missing.
    std::string header(std::string_view name) const;
};

/// A connection that sends exactly what a test says.
class Wire {
public:
    explicit Wire(std::uint16_t port);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// Stops early when the other side has closed the connection.
    void send(std::string_view bytes) const;
    /// Reads one response. `withBody` false for the answer to HEAD.
    Reply read(bool withBody = true);
    /// Waits until the other side has closed the connection; what it still sends is dropped.
    void awaitEnd();
    /// Closes the connection with a reset.
    void reset();

private:
    bool fill();

    int m_socket = -1;
    std::string m_input;
};

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// One request on a connection of its own.
Reply ask(std::uint16_t port, std::string_view method, std::string_view target, const HeaderList& headers = {},
    std::string_view body = {});

} // namespace orvo::test
