#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The texts of sharing. Pure functions.
namespace orvo {

/// A text without white space and line breaks at its ends, those beyond ASCII too.
std::string_view trimmed(std::string_view text);

/// The web origins that a person has typed, separated by commas and line breaks, each trimmed; empty ones are left out.
std::vector<std::string> authorisedDomains(std::string_view text);

/// The address of a publishing server as it is stored and used: what a person has typed without blanks at its ends and
/// without slashes behind it.
std::string serverAddress(std::string_view typed);

/// Throws `captureError` with a text for the user when an address holds a user name or password: it would be stored and
/// shown.
void refuseUser(std::string_view address);

/// The address at which Google returns from the authorisation of Drive to the server.
std::string driveReturnAddress(std::string_view server);

/// The line of HTML that shows a published video within another page. `server` is the publishing server's address.
std::string embedCode(std::string_view server, std::string_view videoId);

} // namespace orvo
