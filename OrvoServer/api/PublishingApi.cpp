#include "OrvoServer/api/PublishingApi.h"

#include "OrvoServer/api/RevisionRequest.h"
#include "OrvoServer/base/Json.h"
#include "OrvoServer/http/Ranges.h"
#include "OrvoServer/viewers/Pages.h"
#include "VideoCore/Uuid.h"

#include <algorithm>
#include <array>
#include <format>

namespace orvo::server {

namespace {

constexpr std::size_t noBody = 4096; ///< Bytes of a body that a route ignores.
constexpr std::size_t smallBody = std::size_t{1} << 20U;
constexpr std::size_t revisionBody = std::size_t{16} << 20U;
constexpr std::uint64_t maxChunk = std::uint64_t{8} << 20U;
constexpr std::size_t maxAnswer = std::size_t{8} << 20U; ///< The application rejects longer responses.
constexpr std::size_t maxTitle = 4096;

Response unknown(std::string_view text)
{
    return errorResponse(404, text);
}

Response done()
{
    return Response{.status = 204};
}

/// The identifier of a video in its canonical form; empty for an invalid one.
std::string videoId(const std::string& text)
{
    const bool isCanonical = Uuid::parse(text) && std::ranges::none_of(text, [](char c) { return c >= 'A' && c <= 'F'; });
    return isCanonical ? text : std::string();
}

/// Reads "domains" and "publicLink". Throws `Error`, also for an unusable domain.
Access readAccess(const JsonValue& body)
{
    const auto domains = body["domains"].texts();
    const auto publicLink = body["publicLink"].boolean();
    if (!domains || !publicLink)
        throw captureError("La petición no es válida: faltan los dominios o el enlace público.");
    const AuthorisedDomains checked(*domains);
    return {.domains = *domains, .publicLink = *publicLink};
}

/// Passes a chunk to the upload.
class ChunkSink final : public BodySink {
public:
    ChunkSink(std::unique_ptr<Uploads::Writer> writer)
        : m_writer(std::move(writer))
    {
    }
    bool write(std::span<const std::uint8_t> bytes) override { return m_writer->write(bytes); }
    Response finish() override
    {
        return jsonResponse(200, JsonWriter().open('{').member("offset", m_writer->finish()).close('}').take());
    }

private:
    std::unique_ptr<Uploads::Writer> m_writer;
};

} // namespace

std::string_view bearerToken(const Request& request)
{
    const std::string_view value = request.headers["Authorization"];
    constexpr std::string_view scheme = "Bearer ";
    if (value.size() < scheme.size() || !equalsIgnoringCase(value.substr(0, scheme.size()), scheme))
        return {};
    return value.substr(scheme.size());
}

PublishingApi::PublishingApi(Settings settings, Parts parts)
    : m_settings(std::move(settings))
    , m_parts(std::move(parts))
{
}

const std::vector<PublishingApi::Route>& PublishingApi::routes()
{
    static const std::vector<Route> all{
        {Method::get, "api/status", noBody, &PublishingApi::status},
        {Method::post, "api/videos", smallBody, &PublishingApi::announce},
        {Method::patch, "api/videos/{}", smallBody, &PublishingApi::setAccess},
        {Method::remove, "api/videos/{}", noBody, &PublishingApi::withdraw},
        {Method::post, "api/videos/{}/revisions", revisionBody, &PublishingApi::registerRevision},
        {Method::get, "api/revisions/{}", noBody, &PublishingApi::revision},
        {Method::post, "api/revisions/{}/retry", noBody, &PublishingApi::retry},
        {Method::post, "api/revisions/{}/publish", noBody, &PublishingApi::publish},
        {Method::get, "api/uploads/{}", noBody, &PublishingApi::offset},
        {Method::post, "api/drive/credentials", smallBody, &PublishingApi::configureStore},
        {Method::post, "api/drive/connect", noBody, &PublishingApi::connectStore},
    };
    return all;
}

std::optional<Plan> PublishingApi::plan(const Request& request, const Target& target)
{
    if (target.segments.size() == 3 && target.segments[0] == "oauth" && target.segments[2] == "callback"
        && request.method == Method::get && m_parts.authorisation) {
        return Plan{
            .what = Plan::Answer{.answer = [this, code = target.parameter("code"), state = target.parameter("state")](
                                               const Request&) { return authorisationPage(code, state); },
                .where = Plan::Where::fetchers},
            .route = "oauth/google/callback"};
    }
    if (target.segments.empty() || target.segments[0] != "api")
        return std::nullopt;
    switch (m_parts.credential.check(bearerToken(request), request.peer)) {
    case Credential::Answer::right:
        break;
    case Credential::Answer::wrong: {
        Response response = errorResponse(401, "Credencial incorrecta.");
        response.with("WWW-Authenticate", "Bearer");
        return Plan{.what = std::move(response), .route = "api"};
    }
    case Credential::Answer::tooMany: {
        Response response = errorResponse(429, "Demasiados intentos con una credencial incorrecta. Espera un minuto.");
        response.with("Retry-After", "60");
        return Plan{.what = std::move(response), .route = "api"};
    }
    }
    if (const auto arguments = matchRoute("api/uploads/{}", target.segments); arguments && request.method == Method::put) {
        return Plan{.what = Plan::Stream{.bodyLimit = maxChunk,
                        .open = [this, upload = arguments->at(0)](const Request& head) -> std::unique_ptr<BodySink> {
                            const auto file = m_parts.catalogue.findUpload(upload);
                            if (!file)
                                throw UploadRefused(404, 0, "No se ha encontrado la sesión de subida.");
                            const auto range = parseContentRange(head.headers["Content-Range"]);
                            if (!range || range->bytes.length() != head.contentLength)
                                throw UploadRefused(409, m_parts.uploads.offsetOf(*file), "El fragmento no es válido.");
                            return std::make_unique<ChunkSink>(
                                m_parts.uploads.begin(*file, {.first = range->bytes.first, .size = range->size}));
                        }},
            .route = "api/uploads/{}"};
    }
    bool isKnown = false;
    for (const Route& route : routes()) {
        const auto arguments = matchRoute(route.pattern, target.segments);
        if (!arguments)
            continue;
        isKnown = true;
        if (route.method != request.method)
            continue;
        return Plan{.what = Plan::Answer{.bodyLimit = route.bodyLimit,
                        .answer = [this, call = route.answer, arguments = *arguments](
                                      const Request& whole) { return (this->*call)(whole, arguments); }},
            .route = route.pattern};
    }
    return Plan{.what = isKnown ? errorResponse(405, "Esta petición no existe.") : unknown("Esta petición no existe."),
        .route = "api"};
}

Response PublishingApi::authorisationPage(const std::optional<std::string>& code, const std::optional<std::string>& state)
{
    Response page;
    std::string text = "Google Drive ya está conectado. Vuelve a Orvo Video y pulsa «Guardar y comprobar».";
    try {
        if (!code || !state)
            throw captureError("Google no ha dado el permiso.");
        m_parts.authorisation->finish(*code, *state);
    } catch (const Error& error) {
        page.status = 400;
        text = std::string(error.what()) + " Vuelve a Orvo Video y pulsa «Conectar Google Drive» otra vez.";
    }
    page.body = "<!doctype html><html lang=\"es\"><head><meta charset=\"utf-8\"><title>Orvo Video</title></head><body><p>"
        + htmlEscaped(text) + "</p></body></html>\n";
    page.with("Content-Type", "text/html; charset=utf-8")
        .with("Cache-Control", "no-store")
        .with("Referrer-Policy", "no-referrer")
        .with("Content-Security-Policy", "default-src 'none'; frame-ancestors 'none'");
    return page;
}

Response PublishingApi::status(const Request&, const Arguments&)
{
    return jsonResponse(200,
        JsonWriter()
            .open('{')
            .member("connected", m_parts.store.status().isReady)
            .member("storage", m_parts.store.name())
            .close('}')
            .take());
}

Response PublishingApi::announce(const Request& request, const Arguments&)
{
    const JsonDocument body(request.body);
    const std::string video = videoId(body.root()["id"].text().value_or(""));
    const auto title = body.root()["title"].text();
    if (video.empty() || !title)
        return errorResponse(422, "La petición no es válida: falta el vídeo o su título.");
    if (title->size() > maxTitle)
        return errorResponse(422, "El título es demasiado largo.");
    m_parts.catalogue.announce(video, *title, readAccess(body.root()));
    m_parts.videos.forget(video);
    return jsonResponse(200, JsonWriter().open('{').member("id", video).close('}').take());
}

std::optional<Response> PublishingApi::withoutRoom(std::uint64_t bytes)
{
    constexpr double gigabyte = 1e9;
    if (m_settings.quota > 0 && m_parts.catalogue.storedBytes() + bytes > m_settings.quota) {
        return errorResponse(507,
            std::format(
                "El vídeo no cabe: el servidor guarda como mucho {:.0f} GB. Retira otro vídeo o amplía «quota_gigabytes».",
                static_cast<double>(m_settings.quota) / gigabyte));
    }
    const auto space = std::filesystem::space(m_settings.dataFolder);
    if (bytes > 0 && space.available < bytes + m_settings.reserve) {
        return errorResponse(507,
            std::format("En el disco del servidor faltan {:.1f} GB para este vídeo.",
                static_cast<double>(bytes + m_settings.reserve - space.available) / gigabyte));
    }
    return std::nullopt;
}

Response PublishingApi::registerRevision(const Request& request, const Arguments& arguments)
{
    const auto files = readRevision(request.body);
    const auto registered = m_parts.catalogue.registerRevision(arguments.at(0), files);
    if (!registered)
        return unknown("El vídeo no existe en el servidor.");
    // Only registration shows which files are new. If they do not fit, collection removes the revision.
    if (auto full = withoutRoom(registered->missingBytes))
        return *std::move(full);
    JsonWriter json;
    json.open('{').member("id", registered->id).key("uploads").open('[');
    for (const auto& [path, upload] : registered->uploads)
        json.open('{').member("path", path).member("id", upload).close('}');
    json.close(']').close('}');
    if (json.text().size() > maxAnswer)
        return errorResponse(413, "La publicación tiene demasiados archivos.");
    return jsonResponse(201, json.take());
}

Response PublishingApi::revision(const Request&, const Arguments& arguments)
{
    const auto files = m_parts.catalogue.filesOf(arguments.at(0));
    if (!files)
        return unknown("Esta publicación ya no puede continuar.");
    JsonWriter json;
    json.open('{').member("id", arguments.at(0)).key("files").open('[');
    for (const auto& file : *files) {
        json.open('{').member("path", file.path).member("status", file.status);
        if (file.status == "error")
            json.member("error", file.error);
        json.close('}');
    }
    return jsonResponse(200, json.close(']').close('}').take());
}

Response PublishingApi::retry(const Request&, const Arguments& arguments)
{
    if (!m_parts.catalogue.retry(arguments.at(0)))
        return unknown("Esta publicación ya no puede continuar.");
    m_parts.storing.add(arguments.at(0));
    return done();
}

Response PublishingApi::publish(const Request&, const Arguments& arguments)
{
    const auto video = m_parts.catalogue.videoOf(arguments.at(0));
    switch (m_parts.catalogue.publish(arguments.at(0))) {
    case PublishResult::published:
        break;
    case PublishResult::unknown:
        return unknown("Esta publicación ya no puede continuar.");
    case PublishResult::notReady:
        return errorResponse(409, "Todavía faltan archivos por guardar. Reanuda la publicación.");
    }
    m_parts.videos.forget(video.value_or(""));
    return jsonResponse(
        200, JsonWriter().open('{').member("url", m_settings.address + "/watch/" + video.value_or("")).close('}').take());
}

Response PublishingApi::offset(const Request&, const Arguments& arguments)
{
    const auto file = m_parts.catalogue.findUpload(arguments.at(0));
    if (!file)
        return unknown("No se ha encontrado la sesión de subida.");
    return jsonResponse(200, JsonWriter().open('{').member("offset", m_parts.uploads.offsetOf(*file)).close('}').take());
}

Response PublishingApi::setAccess(const Request& request, const Arguments& arguments)
{
    const JsonDocument body(request.body);
    const Access access = readAccess(body.root());
    if (!m_parts.catalogue.setAccess(arguments.at(0), access))
        return unknown("El vídeo no existe en el servidor.");
    m_parts.videos.forget(arguments.at(0));
    return done();
}

Response PublishingApi::withdraw(const Request&, const Arguments& arguments)
{
    m_parts.catalogue.withdraw(arguments.at(0));
    m_parts.videos.forget(arguments.at(0));
    return done();
}

Response PublishingApi::configureStore(const Request& request, const Arguments&)
{
    if (!m_parts.authorisation)
        return errorResponse(409, "Este servidor no guarda los vídeos en Google Drive y no necesita un cliente OAuth.");
    const JsonDocument body(request.body);
    const auto id = body.root()["clientID"].text();
    const auto secret = body.root()["clientSecret"].text();
    if (!id || !secret || id->empty() || secret->empty())
        return errorResponse(422, "Faltan el identificador o el secreto del cliente OAuth.");
    m_parts.authorisation->configure(*id, *secret);
    return done();
}

Response PublishingApi::connectStore(const Request&, const Arguments&)
{
    if (!m_parts.authorisation)
        return errorResponse(409, "Este servidor no guarda los vídeos en Google Drive: no hay nada que conectar.");
    return jsonResponse(200, JsonWriter().open('{').member("url", m_parts.authorisation->start()).close('}').take());
}

} // namespace orvo::server
