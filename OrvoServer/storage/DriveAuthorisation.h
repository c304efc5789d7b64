#pragma once

#include "OrvoServer/storage/Secrets.h"
#include "OrvoServer/storage/Transfer.h"

#include <chrono>
#include <functional>

namespace orvo::server {

/// The author's permission to keep files in Google Drive: OAuth 2.0 for a web server, with the scope "drive.file" alone.
///
///     no client ── configure ──► client ── start, finish ──► authorised ── revoked ──► authorise again
///
/// The client's secret and the refresh token are kept as `Secrets`. Any thread; calls that ask Google block.
class DriveAuthorisation {
public:
    struct Settings {
        std::string authoriseUrl = "https://accounts.google.com/o/oauth2/v2/auth";
        std::string tokenUrl = "https://oauth2.googleapis.com/token";
        std::string redirectUrl; ///< The server's own "…/oauth/google/callback".
        std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
        Transfer::Limits limits{.connecting = std::chrono::seconds(10), .silence = std::chrono::seconds(20)};
    };

    /// How long a start can be finished.
    static constexpr std::chrono::minutes startLife{10};

    DriveAuthorisation(Settings settings, Secrets& secrets);

    /// Keeps another OAuth client. An authorisation that another client was given is no longer one.
    void configure(const std::string& clientId, const std::string& clientSecret);
    bool isConfigured() const;
    bool isAuthorised() const;

    /// The address at which the author gives the permission. An earlier start can no longer be finished. Throws `StoreError`
    /// without a client.
    std::string start();

    /// Takes what Google returns with. `state` must be that of the last start, which can be finished once, within
    /// `startLife`. Throws `StoreError` with a text for the author.
    void finish(const std::string& code, const std::string& state, const std::stop_token& stop = {});

    /// A token for requests, renewed a minute before its end; with `renew` at once. Throws `StoreError` (`unauthorised` when
    /// the permission was taken back, `passing` when Google does not answer).
    std::string accessToken(const std::stop_token& stop, bool renew = false);

private:
    void takeToken(const std::string& body);
    TransferResponse ask(const std::vector<std::pair<std::string, std::string>>& form, const std::stop_token& stop);

    const Settings m_settings;
    Secrets& m_secrets;
    Transfer m_transfer;
    mutable std::mutex m_mutex; ///< One renewal at a time. Guards what follows.
    std::string m_token;
    std::chrono::system_clock::time_point m_tokenEnd;
};

} // namespace orvo::server
