#include "OrvoVideo/publishing/Publisher.h"

#include "OrvoVideo/publishing/Sharing.h"

#include <algorithm>
#include <condition_variable>
#include <format>
#include <mutex>
#include <utility>

namespace orvo {

namespace {

constexpr int maxRedirects = 5;

/// The scheme and host of an address, as written.
struct Address {
    std::string_view scheme;
    std::string_view host;
};

Address partsOf(std::string_view text)
{
    const std::size_t colon = text.find("://");
    if (colon == std::string_view::npos)
        return {};
    std::string_view authority = text.substr(colon + 3);
    authority = authority.substr(0, authority.find_first_of("/?#"));
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos)
        authority.remove_prefix(at + 1);
    return {.scheme = text.substr(0, colon), .host = authority.substr(0, authority.find(':'))};
}

bool isAcceptable(const std::string& base)
{
    const Address address = partsOf(base);
    return !address.host.empty() && !originOf(base).empty() && (address.scheme == "https" || address.host == "localhost");
}

bool isRedirection(const HttpResponse& response)
{
    return response.status >= 300 && response.status < 400 && !response.location.empty();
}

} // namespace

std::string ServerStatus::text() const
{
    if (storesByItself())
        return "Conectado · el servidor guarda los vídeos";
    return isConnected ? "Conectado · Drive autorizado" : "Servidor conectado · falta autorizar Drive";
}

Publisher::Publisher(std::string_view base, std::string token)
    : Publisher(base, std::move(token), Options())
{
}

Publisher::Publisher(std::string_view base, std::string token, Options options)
    : m_base(serverAddress(base))
    , m_token(std::move(token))
    , m_options(std::move(options))
    , m_client(m_options.limits)
{
    if (!isAcceptable(m_base))
        throw captureError("Usa una dirección HTTPS para el servicio.");
    refuseUser(m_base);
}

void Publisher::waitFor(std::chrono::seconds time, const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex);
    condition.wait_for(lock, stop, time, [] { return false; });
}

std::string Publisher::credential() const
{
    // A pasted credential may end with a line break.
    const auto text = trimmed(m_token);
    if (std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }))
        throw captureError("La credencial de administración contiene caracteres que no se pueden enviar.");
    return std::string(text);
}

std::string Publisher::withoutCredential(std::string text) const
{
    const auto secret = trimmed(m_token);
    if (secret.empty())
        return text;
    for (std::size_t at = 0; (at = text.find(secret, at)) != std::string::npos;)
        text.replace(at, secret.size(), "…");
    return text;
}

HttpResponse Publisher::send(HttpRequest request, const std::stop_token& stop)
{
    for (int redirections = 0;; ++redirections) {
        HttpResponse response = m_client.send(request, stop);
        if (!isRedirection(response))
            return response;
        if (originOf(response.location) != originOf(request.url)) {
            const Address elsewhere = partsOf(response.location);
            throw captureError(
                std::format("El servidor remite a otra dirección ({}://{}). Si es la de tu servidor, escríbela en Ajustes.",
                    elsewhere.scheme, withoutCredential(std::string(elsewhere.host))));
        }
        const bool sameMethod = response.status == 307 || response.status == 308 || request.method == "GET";
        if (redirections == maxRedirects || (!sameMethod && response.status != 303))
            return response;
        request.url = response.location;
        if (!sameMethod) {
            request.method = "GET";
            request.hasBody = false;
            request.body = {};
        }
    }
}

JsonObject Publisher::request(
    const std::string& path, const std::string& method, const Content& content, const std::stop_token& stop)
{
    HttpRequest request{.method = method, .url = appendPath(m_base, path), .headers = {}, .body = {}};
    const auto setHeader = [&](const std::string& name, const std::string& value) {
        const auto known = std::ranges::find(request.headers, name, &std::pair<std::string, std::string>::first);
        if (known != request.headers.end())
            known->second = value;
        else
            request.headers.emplace_back(name, value);
    };
    setHeader("Authorization", "Bearer " + credential());
    if (content.json) {
        request.body = *content.json;
        setHeader("Content-Type", "application/json");
    }
    if (content.data) {
        request.body = *content.data;
        setHeader("Content-Type", "application/octet-stream");
    }
    request.hasBody = content.json || content.data || method != "GET";
    for (const auto& [name, value] : content.headers)
        setHeader(name, value);

    const HttpResponse response = send(std::move(request), stop);
    JsonObject answer = JsonObject::parse(response.body).value_or(JsonObject());
    if (response.status >= 200 && response.status <= 299)
        return answer;
    throw RefusedRequest(response.status,
        withoutCredential(answer.text("error").value_or("El servidor no ha podido completar la petición.")));
}

void Publisher::updatePolicy(
    const std::string& videoId, const std::vector<std::string>& domains, bool publicLink, const std::stop_token& stop)
{
    const auto json = JsonBuilder().set("domains", domains).set("publicLink", publicLink).text();
    request("api/videos/" + pathSegment(videoId), "PATCH", {.json = json, .data = {}, .headers = {}}, stop);
}

void Publisher::withdraw(const std::string& videoId, const std::stop_token& stop)
{
    try {
        request("api/videos/" + pathSegment(videoId), "DELETE", stop);
    } catch (const RefusedRequest& refusal) {
        if (refusal.status() != 404) // A video unknown to the server counts as withdrawn.
            throw;
    }
}

ServerStatus Publisher::status(const std::stop_token& stop)
{
    const auto answer = request("api/status", "GET", stop);
    return {.isConnected = answer.boolean("connected") == true, .storage = answer.text("storage")};
}

ServerStatus Publisher::requireStorage(const std::stop_token& stop)
{
    auto server = status(stop);
    if (!server.isConnected)
        throw captureError("Conecta Google Drive desde Ajustes antes de publicar.");
    return server;
}

void Publisher::configureDrive(const std::string& clientId, const std::string& clientSecret, const std::stop_token& stop)
{
    const auto json = JsonBuilder().set("clientID", trimmed(clientId)).set("clientSecret", trimmed(clientSecret)).text();
    request("api/drive/credentials", "POST", {.json = json, .data = {}, .headers = {}}, stop);
}

std::optional<std::string> Publisher::driveAuthorisation(const std::stop_token& stop)
{
    return request("api/drive/connect", "POST", stop).text("url");
}

} // namespace orvo
