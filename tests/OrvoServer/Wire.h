#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::test {

struct Reply {
    unsigned status = 0; ///< 0 if the connection ended without a response.
    std::string head;
    std::string body;

    /// The value of a header field; empty if it is missing.
    std::string header(std::string_view name) const;
};

/// A connection that sends exactly the bytes of a test.
class Wire {
public:
    explicit Wire(std::uint16_t port);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// Returns early if the server has closed the connection.
    void send(std::string_view bytes) const;
    /// Reads one response. Pass `withBody` false for HEAD.
    Reply read(bool withBody = true);
    /// Waits until the server has closed the connection; discards its data.
    void awaitEnd();
    /// Closes the connection with a reset.
    void reset();

private:
    bool fill();

    int m_socket = -1;
    std::string m_input;
};

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// Sends one request on a new connection.
Reply ask(std::uint16_t port, std::string_view method, std::string_view target, const HeaderList& headers = {},
    std::string_view body = {});

} // namespace orvo::test
