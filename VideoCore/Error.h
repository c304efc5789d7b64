#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace orvo {

/// A failure with a text that can be shown to the user.
///
/// `domain` and `code` identify the kind of failure; `what()` is the description, in Spanish, as UTF-8.
class Error : public std::runtime_error {
public:
    Error(std::string domain, int code, const std::string& message)
        : std::runtime_error(message)
        , m_domain(std::move(domain))
        , m_code(code)
    {
    }

    const std::string& domain() const noexcept { return m_domain; }
    int code() const noexcept { return m_code; }

private:
    std::string m_domain;
    int m_code;
};

/// The error of this application's own code: domain "OrvoVideo", code 1, described by `message`.
Error captureError(const std::string& message);

/// Thrown by blocking work that was asked to stop through its `std::stop_token`.
///
/// Cancelling is not a failure, so this is neither an `Error` nor a `std::exception`: handlers of failures do not catch it.
/// Threads and callbacks of C libraries that call such work catch it by its own type.
class Cancelled {
public:
    /// The message for the user, in Spanish.
    static constexpr const char* text = "Operación cancelada";
};

/// The description of any exception as shown to the user.
///
/// An `Error` gives its own text. Errors of the operating system (`std::system_error`,
/// `std::filesystem::filesystem_error`) are described in Spanish, with their path if known.
std::string describe(const std::exception& error);

} // namespace orvo
