#include "OrvoServer/storage/DriveAuthorisation.h"

#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/base/Json.h"
#include "OrvoServer/storage/BlobStore.h"

#include <format>
#include <utility>

namespace orvo::server {

namespace {

using Kind = StoreError::Kind;

constexpr auto clientName = "drive-client";
constexpr auto tokenName = "drive-refresh-token";
constexpr auto startName = "drive-start";
constexpr std::chrono::seconds renewBefore{60};

constexpr std::size_t secretSize = 32; ///< Bytes.

/// The SHA-256 of a secret as base64url, for storage and the PKCE challenge.
std::string digestOf(std::string_view secret)
{
    return base64Url(sha256(secret));
}

/// The member `name` of a JSON object; empty if it is missing or not a string.
std::string textOf(std::string_view json, std::string_view name)
{
    return JsonDocument(json).root()[name].text().value_or("");
}

std::string clientJson(std::string_view id, std::string_view secret)
{
    return JsonWriter().open('{').member("id", id).member("secret", secret).close('}').take();
}

StoreError noClient()
{
    return {Kind::unauthorised, "Guarda primero el cliente OAuth."};
}

StoreError authoriseAgain()
{
    return {Kind::unauthorised, "Google Drive ya no da permiso al servidor. Pulsa «Conectar Google Drive» en Ajustes."};
}

/// Translates Google's refusal. Omits its description, which is for developers; the code suffices to look it up.
StoreError refusal(const TransferResponse& response)
{
    if (response.status >= 500 || response.status == 429)
        return {Kind::passing, "Google no puede atender ahora la autorización de Drive."};
    const std::string error = textOf(response.body, "error");
    if (error == "invalid_client" || error == "unauthorized_client")
        return {Kind::unauthorised, "Google no reconoce el cliente OAuth. Revisa su ID y su secreto en Ajustes."};
    return {Kind::refused,
        std::format(
            "Google ha rechazado la autorización de Drive ({}).", error.empty() ? std::to_string(response.status) : error)};
}

} // namespace

DriveAuthorisation::DriveAuthorisation(Settings settings, Secrets& secrets)
    : m_settings(std::move(settings))
    , m_secrets(secrets)
    , m_transfer(m_settings.limits)
{
}

void DriveAuthorisation::configure(const std::string& clientId, const std::string& clientSecret)
{
    const std::lock_guard lock(m_mutex);
    const auto before = m_secrets.load(clientName);
    if (before && textOf(*before, "id") != clientId) {
        m_secrets.erase(tokenName);
        m_token.clear();
    }
    m_secrets.erase(startName);
    m_secrets.save(clientName, clientJson(clientId, clientSecret));
}

bool DriveAuthorisation::isConfigured() const
{
    return m_secrets.load(clientName).has_value();
}

bool DriveAuthorisation::isAuthorised() const
{
    return isConfigured() && m_secrets.load(tokenName).has_value();
}

std::string DriveAuthorisation::start()
{
    const std::lock_guard lock(m_mutex);
    const auto client = m_secrets.load(clientName);
    if (!client)
        throw noClient();
    const std::string state = randomText(secretSize);
    const std::string verifier = randomText(secretSize);
    const auto end = std::chrono::duration_cast<std::chrono::seconds>((m_settings.now() + startLife).time_since_epoch());
    m_secrets.save(startName,
        JsonWriter()
            .open('{')
            .member("state", digestOf(state))
            .member("verifier", verifier)
            .member("end", std::to_string(end.count()))
            .close('}')
            .take());
    const std::vector<std::pair<std::string, std::string>> query{{"client_id", textOf(*client, "id")},
        {"redirect_uri", m_settings.redirectUrl}, {"response_type", "code"},
        {"scope", "https://www.googleapis.com/auth/drive.file"}, {"access_type", "offline"}, {"prompt", "consent"},
        {"state", state}, {"code_challenge", digestOf(verifier)}, {"code_challenge_method", "S256"}};
    std::string address = m_settings.authoriseUrl;
    for (const auto& [name, value] : query)
        address += std::format(
            "{}{}={}", address.size() == m_settings.authoriseUrl.size() ? '?' : '&', name, percentEncoded(value));
    return address;
}

void DriveAuthorisation::finish(const std::string& code, const std::string& state, const std::stop_token& stop)
{
    const std::lock_guard lock(m_mutex);
    const auto client = m_secrets.load(clientName);
    const auto started = m_secrets.load(startName);
    if (!client)
        throw noClient();
    const StoreError late(Kind::refused, "Esta autorización ya no vale. Empieza de nuevo con «Conectar Google Drive».");
    if (!started)
        throw late;
    if (!isSameSecret(textOf(*started, "state"), digestOf(state)))
        throw late;
    m_secrets.erase(startName); // A start is valid once, even if it fails.
    const std::chrono::system_clock::time_point end(std::chrono::seconds(std::stoll(textOf(*started, "end"))));
    const auto left = end - m_settings.now();
    if (left < std::chrono::seconds(0) || left > startLife) // Expired, or the clock was set back.
        throw late;
    const auto answer = ask({{"grant_type", "authorization_code"}, {"code", code}, {"client_id", textOf(*client, "id")},
                                {"client_secret", textOf(*client, "secret")}, {"redirect_uri", m_settings.redirectUrl},
                                {"code_verifier", textOf(*started, "verifier")}},
        stop);
    if (!answer.succeeded())
        throw refusal(answer);
    const std::string refreshToken = textOf(answer.body, "refresh_token");
    if (refreshToken.empty())
        throw StoreError(
            Kind::refused, "Google no ha dado un permiso duradero. Empieza de nuevo con «Conectar Google Drive».");
    m_secrets.save(tokenName, refreshToken);
    takeToken(answer.body);
}

std::string DriveAuthorisation::accessToken(const std::stop_token& stop, bool renew)
{
    const std::lock_guard lock(m_mutex);
    if (!renew && !m_token.empty() && m_settings.now() < m_tokenEnd - renewBefore)
        return m_token;
    const auto client = m_secrets.load(clientName);
    const auto refreshToken = m_secrets.load(tokenName);
    if (!client)
        throw noClient();
    if (!refreshToken)
        throw authoriseAgain();
    const auto answer = ask({{"grant_type", "refresh_token"}, {"refresh_token", *refreshToken},
                                {"client_id", textOf(*client, "id")}, {"client_secret", textOf(*client, "secret")}},
        stop);
    if (!answer.succeeded()) {
        if (textOf(answer.body, "error") == "invalid_grant") {
            m_secrets.erase(tokenName);
            m_token.clear();
            throw authoriseAgain();
        }
        throw refusal(answer);
    }
    takeToken(answer.body);
    return m_token;
}

void DriveAuthorisation::takeToken(const std::string& body)
{
    const JsonDocument answer(body);
    m_token = answer.root()["access_token"].text().value_or("");
    m_tokenEnd = m_settings.now() + std::chrono::seconds(answer.root()["expires_in"].number().value_or(0));
    if (m_token.empty())
        throw StoreError(Kind::passing, "Google Drive ha respondido sin permiso de acceso.");
}

TransferResponse DriveAuthorisation::ask(
    const std::vector<std::pair<std::string, std::string>>& form, const std::stop_token& stop)
{
    std::string body;
    for (const auto& [name, value] : form)
        body += std::format("{}{}={}", body.empty() ? "" : "&", name, percentEncoded(value));
    return m_transfer.perform({.method = "POST",
                                  .url = m_settings.tokenUrl,
                                  .headers = {"Content-Type: application/x-www-form-urlencoded"},
                                  .body = std::move(body)},
        stop);
}

} // namespace orvo::server
