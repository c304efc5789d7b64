#include "OrvoServer/storage/DriveAuthorisation.h"

#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/storage/Json.h"

#include <array>
#include <format>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <span>
#include <utility>

namespace orvo::server {

namespace {

using Kind = StoreError::Kind;

constexpr auto clientName = "drive-client";
constexpr auto tokenName = "drive-refresh-token";
constexpr auto startName = "drive-start";
constexpr std::chrono::seconds renewBefore{60};

/// Base64 for addresses, without padding.
std::string base64Url(std::span<const unsigned char> bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    for (char& c : text)
        c = c == '+' ? '-' : c == '/' ? '_' : c;
    while (text.ends_with('='))
        text.pop_back();
    return text;
}

std::string randomText()
{
    std::array<unsigned char, 32> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw captureError("El sistema no da números aleatorios.");
    return base64Url(bytes);
}

std::string sha256(std::string_view text)
{
    std::array<unsigned char, 32> sum{};
    EVP_Digest(text.data(), text.size(), sum.data(), nullptr, EVP_sha256(), nullptr);
    return base64Url(sum);
}

bool isSame(std::string_view one, std::string_view other)
{
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

StoreError noClient()
{
    return {Kind::unauthorised, "Guarda primero el cliente OAuth."};
}

StoreError authoriseAgain()
{
    return {Kind::unauthorised, "Google Drive ya no da permiso al servidor. Pulsa «Conectar Google Drive» en Ajustes."};
}

/// What Google says no with. Its own descriptions are for developers; its code is enough to look it up.
StoreError refusal(const TransferResponse& response)
{
    if (response.status >= 500 || response.status == 429)
        return {Kind::passing, "Google no puede atender ahora la autorización de Drive."};
    const std::string error = Json(response.body).text("error");
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
    if (before && Json(*before).text("id") != clientId) {
        m_secrets.erase(tokenName);
        m_token.clear();
    }
    m_secrets.erase(startName);
    m_secrets.save(clientName, jsonObject({{"id", clientId}, {"secret", clientSecret}}));
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
    const std::string state = randomText();
    const std::string verifier = randomText();
    const auto end = std::chrono::duration_cast<std::chrono::seconds>((m_settings.now() + startLife).time_since_epoch());
    m_secrets.save(
        startName, jsonObject({{"state", sha256(state)}, {"verifier", verifier}, {"end", std::to_string(end.count())}}));
    const std::vector<std::pair<std::string, std::string>> query{{"client_id", Json(*client).text("id")},
        {"redirect_uri", m_settings.redirectUrl}, {"response_type", "code"},
        {"scope", "https://www.googleapis.com/auth/drive.file"}, {"access_type", "offline"}, {"prompt", "consent"},
        {"state", state}, {"code_challenge", sha256(verifier)}, {"code_challenge_method", "S256"}};
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
    const Json start(*started);
    if (!isSame(start.text("state"), sha256(state)))
        throw late;
    m_secrets.erase(startName); // Whatever comes of it.
    if (m_settings.now() > std::chrono::system_clock::time_point(std::chrono::seconds(std::stoll(start.text("end")))))
        throw late;
    const auto answer = ask({{"grant_type", "authorization_code"}, {"code", code}, {"client_id", Json(*client).text("id")},
                                {"client_secret", Json(*client).text("secret")}, {"redirect_uri", m_settings.redirectUrl},
                                {"code_verifier", start.text("verifier")}},
        stop);
    if (!answer.succeeded())
        throw refusal(answer);
    const std::string refreshToken = Json(answer.body).text("refresh_token");
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
                                {"client_id", Json(*client).text("id")}, {"client_secret", Json(*client).text("secret")}},
        stop);
    if (!answer.succeeded()) {
        if (Json(answer.body).text("error") == "invalid_grant") {
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
    const Json answer(body);
    m_token = answer.text("access_token");
    m_tokenEnd = m_settings.now() + std::chrono::seconds(answer.integer("expires_in").value_or(0));
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
