#include "OrvoServer/admin/AdminRoutes.h"

#include "OrvoServer/base/Json.h"

#include <algorithm>
#include <charconv>
#include <format>
#include <ranges>

namespace orvo::server {

namespace {

constexpr std::string_view cookieName = "orvo_session";
constexpr std::size_t maxBody = 16384;
constexpr std::uint64_t maxRows = 10000;

std::string_view sessionOf(const Request& request)
{
    for (const auto part : std::views::split(request.headers["Cookie"], ';')) {
        std::string_view pair(part);
        while (pair.starts_with(' '))
            pair.remove_prefix(1);
        if (pair.starts_with(cookieName) && pair.substr(cookieName.size()).starts_with('='))
            return pair.substr(cookieName.size() + 1);
    }
    return {};
}

Response signedOut()
{
    return errorResponse(401, "La sesión ha terminado. Entra otra vez con tu credencial.");
}

std::uint64_t numberOf(const Target& target, std::string_view name, std::uint64_t otherwise, std::uint64_t max)
{
    const std::string text = target.parameter(name).value_or("");
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return text.empty() || error != std::errc() || end != text.data() + text.size() ? otherwise : std::min(number, max);
}

/// Returns "published", "uploading", "storing", "withdrawn" or "error".
std::string_view stateOf(const VideoSummary& summary)
{
    if (summary.progress == "error" && summary.video.state != "withdrawn")
        return "error";
    if (summary.video.state == "published" || summary.video.state == "withdrawn")
        return summary.video.state;
    return summary.progress == "storing" ? "storing" : "uploading";
}

} // namespace

const std::vector<AdminRoutes::Route>& AdminRoutes::routes()
{
    static const std::vector<Route> all{
        {Method::remove, "admin/session", &AdminRoutes::signOut},
        {Method::get, "admin/data/videos", &AdminRoutes::list},
        {Method::get, "admin/data/videos/{}/plays", &AdminRoutes::plays},
        {Method::post, "admin/data/check", &AdminRoutes::check},
        {Method::post, "admin/data/videos/{}/withdraw", &AdminRoutes::withdraw},
        {Method::get, "admin/data/health", &AdminRoutes::health},
        {Method::get, "admin/poster/{}", &AdminRoutes::poster},
    };
    return all;
}

std::optional<Plan> AdminRoutes::plan(const Request& request, const Target& target)
{
    const auto& segments = target.segments;
    if (segments.empty() || segments[0] != "admin")
        return std::nullopt;
    if (segments.size() == 1 && (request.method == Method::get || request.method == Method::head)) {
        if (target.endsInSlash) {
            return Plan{.what = m_parts.pages.page(200, "admin.html",
                            {.lang = languageOf(request.headers["Accept-Language"]),
                                .title = "Orvo Video",
                                .frameAncestors = "frame-ancestors 'none'"}),
                .route = "admin/"};
        }
        Response moved{.status = 303};
        moved.with("Location", m_parts.pages.basePath() + "/admin/");
        return Plan{.what = std::move(moved), .route = "admin"};
    }
    if (request.method == Method::post && segments == std::vector<std::string>{"admin", "session"}) {
        return Plan{
            .what = Plan::Answer{.bodyLimit = maxBody, .answer = [this](const Request& whole) { return signIn(whole); }},
            .route = "admin/session"};
    }
    for (const Route& route : routes()) {
        const auto arguments = matchRoute(route.pattern, segments);
        if (!arguments || route.method != request.method)
            continue;
        const bool isChange = request.method != Method::get;
        if (isChange && request.headers["X-Orvo-Admin"] != "1")
            return Plan{
                .what = errorResponse(403, "La petición no viene de la página de administración."), .route = route.pattern};
        return Plan{.what = Plan::Answer{.bodyLimit = maxBody,
                        .answer =
                            [this, call = route.answer, target, arguments = *arguments](const Request& whole) {
                                if (!m_parts.sessions.isValid(sessionOf(whole)))
                                    return signedOut();
                                return (this->*call)(whole, target, arguments);
                            }},
            .route = route.pattern,
            .isLogged = isChange};
    }
    return Plan{.what = errorResponse(404, "No existe."), .route = "admin"};
}

std::string AdminRoutes::cookie(std::string_view value, std::int64_t life) const
{
    return std::format("{}={}; Path={}/admin; Max-Age={}; HttpOnly; SameSite=Strict{}", cookieName, value,
        m_parts.pages.basePath(), life, m_parts.isSecure ? "; Secure" : "");
}

Response AdminRoutes::signIn(const Request& request)
{
    const JsonDocument body(request.body);
    switch (m_parts.credential.check(body.root()["token"].text().value_or(""), request.peer)) {
    case Credential::Answer::right:
        break;
    case Credential::Answer::wrong:
        return errorResponse(401, "Credencial incorrecta.");
    case Credential::Answer::tooMany: {
        Response response = errorResponse(429, "Demasiados intentos. Espera un minuto.");
        response.with("Retry-After", "60");
        return response;
    }
    }
    Response response{.status = 204};
    response.with("Set-Cookie", cookie(m_parts.sessions.begin(), AdminSessions::life)).with("Cache-Control", "no-store");
    return response;
}

Response AdminRoutes::signOut(const Request& request, const Target&, const Arguments&)
{
    m_parts.sessions.end(sessionOf(request));
    Response response{.status = 204};
    response.with("Set-Cookie", cookie("", 0));
    return response;
}

Response AdminRoutes::list(const Request&, const Target& target, const Arguments&)
{
    m_parts.statistics.flush();
    std::uint64_t total = 0;
    const auto videos = m_parts.catalogue.list({.offset = numberOf(target, "offset", 0, std::uint64_t{1} << 40U),
                                                   .limit = numberOf(target, "limit", 200, maxRows),
                                                   .search = target.parameter("q").value_or("")},
        total);
    const auto refused = m_parts.statistics.allRefused();
    JsonWriter json;
    json.open('{').key("videos").open('[');
    for (const auto& summary : videos) {
        const VideoRecord& video = summary.video;
        const bool isPublished = video.state == "published";
        json.open('{')
            .member("id", video.id)
            .member("title", video.title)
            .member("state", stateOf(summary))
            .member("bytes", summary.bytes)
            .member("createdAt", isoTime(summary.createdAt))
            .member("updatedAt", isoTime(summary.updatedAt))
            .key("duration");
        if (summary.milliseconds)
            json.value(static_cast<double>(*summary.milliseconds) / 1000);
        else
            json.null();
        json.member("domains", video.access.domains).member("publicLink", video.access.publicLink).key("poster");
        if (isPublished)
            json.value(m_parts.pages.basePath() + "/admin/poster/" + video.id);
        else
            json.null();
        json.member("embed",
            std::format(
                "<iframe src=\"{}\" title=\"Orvo Video\" style=\"width:100%;aspect-ratio:16/9;border:0\" allow=\"autoplay; "
                "fullscreen\" allowfullscreen loading=\"lazy\"></iframe>",
                htmlEscaped(m_parts.viewers.embedAddress(video.id))));
        json.key("watch");
        if (isPublished && video.access.publicLink)
            json.value(m_parts.viewers.watchAddress(video.id));
        else
            json.null();
        json.member("plays", summary.plays).key("refusedOrigins").open('[');
        if (const auto found = refused.find(video.id); found != refused.end()) {
            for (const auto& origin : found->second) {
                json.open('{')
                    .member("origin", origin.origin)
                    .member("times", origin.times)
                    .member("last", isoTime(origin.last))
                    .close('}');
            }
        }
        json.close(']').close('}');
    }
    return jsonResponse(200, json.close(']').member("total", total).close('}').take());
}

Response AdminRoutes::plays(const Request&, const Target&, const Arguments& arguments)
{
    const auto statistics = m_parts.statistics.playsOf(arguments.at(0));
    JsonWriter json;
    json.open('{').key("days").open('[');
    for (const auto& [day, count] : statistics.days)
        json.open('{').member("day", day).member("plays", count).close('}');
    json.close(']').key("tenths").open('[');
    for (const auto count : statistics.tenths)
        json.value(count);
    return jsonResponse(200, json.close(']').close('}').take());
}

Response AdminRoutes::check(const Request& request, const Target&, const Arguments&)
{
    const JsonDocument body(request.body);
    const auto video = m_parts.videos.load(body.root()["id"].text().value_or(""));
    const auto origin = originOf(body.root()["page"].text().value_or(""));
    bool isAllowed = false;
    std::string reason;
    if (video->record.id.empty() || video->record.state == "withdrawn") {
        reason = "Este vídeo está retirado o no existe.";
    } else if (!origin) {
        reason = "Escribe la dirección completa de la página, con https:// delante.";
    } else if (!video->isPublished) {
        reason = "El vídeo todavía no está publicado.";
    } else if (video->domains.allows(*origin)) {
        isAllowed = true;
        reason = std::format("Sí: {} está entre los dominios autorizados.", origin->text());
    } else if (video->domains.entries().empty()) {
        reason = "No: la lista de dominios está vacía y el vídeo no se puede incrustar en ninguna página.";
    } else {
        const auto sameHost = std::ranges::find_if(video->domains.entries(),
            [&](const auto& entry) { return !entry.isWildcard && entry.origin.host == origin->host; });
        reason = sameHost == video->domains.entries().end()
            ? std::format("No: {} no está entre los dominios autorizados. Añádelo a la lista.", origin->text())
            : std::format("No: está autorizado {}, que no es {}. Cuentan también http o https y el puerto.",
                  sameHost->source(), origin->text());
    }
    return jsonResponse(200, JsonWriter().open('{').member("allowed", isAllowed).member("reason", reason).close('}').take());
}

Response AdminRoutes::withdraw(const Request&, const Target&, const Arguments& arguments)
{
    m_parts.catalogue.withdraw(arguments.at(0));
    m_parts.videos.forget(arguments.at(0));
    return Response{.status = 204};
}

Response AdminRoutes::health(const Request&, const Target&, const Arguments&)
{
    const auto checks = healthChecks(m_parts.health);
    std::error_code ignored;
    const auto space = std::filesystem::space(m_parts.health.dataFolder, ignored);
    JsonWriter json;
    json.open('{')
        .member("ok", std::ranges::all_of(checks, &HealthCheck::isGood))
        .member("version", m_parts.version)
        .member("storage", m_parts.health.store->name())
        .member("usedBytes", m_parts.catalogue.storedBytes())
        .member("freeBytes", std::uint64_t{space.available})
        .key("checks")
        .open('[');
    for (const auto& check : checks) {
        json.open('{').member("name", check.name).member("ok", check.isGood).member("detail", check.detail);
        json.member("remedy", check.remedy).close('}');
    }
    return jsonResponse(200, json.close(']').close('}').take());
}

Response AdminRoutes::poster(const Request&, const Target&, const Arguments& arguments)
{
    const auto video = m_parts.videos.load(arguments.at(0));
    const auto manifest = video->isPublished ? m_parts.videos.loadManifest(video->record.revision) : nullptr;
    const auto entry = manifest ? manifest->files.find("poster.jpg") : decltype(manifest->files.end())();
    if (!manifest || entry == manifest->files.end())
        return errorResponse(404, "Este vídeo no tiene imagen.");
    const auto file = m_parts.files.open(entry->second.key, entry->second.size, {});
    Response response{.body = FileBody{.file = file, .offset = 0, .length = file->size()}};
    response.with("Content-Type", "image/jpeg").with("Cache-Control", "private, max-age=300");
    return response;
}

} // namespace orvo::server
