#pragma once

#include "OrvoVideo/publishing/Publisher.h"

#include <memory>
#include <stop_token>
#include <string>

/// The configured publishing server.
namespace orvo::cli::ServerAccess {

/// The stored address. Throws `captureError` if there is none or it contains a user name or password.
std::string address();

/// The credential of ORVO_ADMIN_TOKEN, else the stored one. May ask for the password of the keychain on a terminal.
/// Throws as `Keychain::load`.
std::string credential(const std::stop_token& stop);

/// Throws as both functions above and `Publisher`.
std::shared_ptr<Publisher> connect(const std::stop_token& stop);

/// The environment variable with a credential.
inline constexpr auto credentialVariable = "ORVO_ADMIN_TOKEN";

/// The keychain account of the credential.
inline constexpr auto credentialAccount = "adminToken";

} // namespace orvo::cli::ServerAccess
