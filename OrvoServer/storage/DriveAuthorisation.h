#pragma once

#include "OrvoServer/storage/Secrets.h"
#include "OrvoServer/storage/Transfer.h"

#include <chrono>
#include <functional>

namespace orvo::server {

/// The author's permission to store files in Google Drive: OAuth 2.0 for web servers, with only the scope "drive.file".
///
///     no client ── configure ──► client ── start, finish ──► authorised ── revoked ──► authorise again
///
/// `Secrets` stores the client's secret and the refresh token. Thread-safe; `finish` and `accessToken` block.
class DriveAuthorisation {
public:
    struct Settings {
        std::string authoriseUrl = "https://accounts.google.com/o/oauth2/v2/auth";
        std::string tokenUrl = "https://oauth2.googleapis.com/token";
        std::string redirectUrl; ///< The server's own "…/oauth/google/callback".
        std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
        Transfer::Limits limits{.connecting = std::chrono::seconds(10), .silence = std::chrono::seconds(20)};
    };

    /// Time from `start` within which `finish` must be called.
    static constexpr std::chrono::minutes startLife{10};

    DriveAuthorisation(Settings settings, Secrets& secrets);

    /// Stores the OAuth client. A different client invalidates the authorisation.
    void configure(const std::string& clientId, const std::string& clientSecret);
    bool isConfigured() const;
    bool isAuthorised() const;

    /// Returns the address where the author grants the permission. Invalidates an earlier start. Throws `StoreError` without
    /// a client.
    std::string start();

    /// Completes the authorisation with the parameters of Google's redirection. `state` must be that of the last start, is
    /// valid once and for `startLife`. Throws `StoreError` with a text for the author.
    void finish(const std::string& code, const std::string& state, const std::stop_token& stop = {});

    /// Returns a token for requests. Renews it a minute before it expires, or at once with `renew`. Throws `StoreError`
    /// (`unauthorised` if the permission was revoked, `passing` if Google does not answer).
    std::string accessToken(const std::stop_token& stop, bool renew = false);

private:
    void takeToken(const std::string& body);
    TransferResponse ask(const std::vector<std::pair<std::string, std::string>>& form, const std::stop_token& stop);

    const Settings m_settings;
    Secrets& m_secrets;
    Transfer m_transfer;
    mutable std::mutex m_mutex; ///< Serialises renewals. Guards the members below.
    std::string m_token;
    std::chrono::system_clock::time_point m_tokenEnd;
};

} // namespace orvo::server
