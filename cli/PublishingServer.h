#pragma once

#include "OrvoVideo/publishing/Publisher.h"

#include <stop_token>
#include <string>

/// The publishing server as the commands reach it.
namespace orvo::cli::PublishingServer {

/// The address: the stored setting. Throws `captureError` when there is none, and when it holds a user name or password.
std::string address();

/// The credential: that of ORVO_ADMIN_TOKEN, else the stored one. On a terminal the user may be asked for the password of
/// the keychain. Throws as `Keychain::load`.
std::string credential(const std::stop_token& stop);

/// Throws as the two above and `Publisher`.
Publisher connect(const std::stop_token& stop);

/// The variable of the environment that holds a credential.
inline constexpr auto credentialVariable = "ORVO_ADMIN_TOKEN";

/// The account of the keychain that it is kept under.
inline constexpr auto credentialAccount = "adminToken";

} // namespace orvo::cli::PublishingServer
