#include "OrvoServer/viewers/ViewerRoutes.h"

#include "OrvoServer/base/Json.h"
#include "OrvoServer/http/Ranges.h"

#include <algorithm>
#include <array>
#include <format>

namespace orvo::server {

namespace {

constexpr std::size_t maxMessage = 4096;

std::string lowerText(const Uuid& id)
{
    std::string text = id.text();
    std::ranges::transform(
        text, text.begin(), [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

struct Kind {
    std::string_view ending;
    std::string_view type;
    std::string_view caching;
};

constexpr std::string_view immutable = "public, max-age=31536000, immutable";

/// The files that viewers may get, by extension; everything else of a revision is private.
constexpr std::array<Kind, 5> kinds{{
    {".m3u8", "application/vnd.apple.mpegurl", "no-store"},
    {".ts", "video/mp2t", immutable},
    {".vtt", "text/vtt; charset=utf-8", "no-store"},
    {".jpg", "image/jpeg", immutable},
    {".bin", "application/octet-stream", "no-store"},
}};

Response withSharing(Response response)
{
    // The ticket in the path is the permission; a player in a sandboxed frame has no origin.
    response.with("Access-Control-Allow-Origin", "*").with("Cross-Origin-Resource-Policy", "cross-origin");
    return response;
}

Response refused()
{
    return withSharing(errorResponse(403, "Este vídeo no está disponible."));
}

} // namespace

struct ViewerRoutes::MediaRequest {
    Permission permission;
    std::string path;
    const Kind* kind = nullptr;
    std::string range;
};

std::optional<Plan> ViewerRoutes::plan(const Request& request, const Target& target) const
{
    const auto& segments = target.segments;
    if (segments.empty())
        return std::nullopt;
    const std::string& first = segments[0];
    const bool isReading = request.method == Method::get || request.method == Method::head;
    if (first == "m" && segments.size() >= 3 && isReading)
        return mediaPlan(request, target);
    if ((first == "embed" || first == "watch") && segments.size() == 2 && isReading)
        return pagePlan(request, segments[1], first == "embed" ? Permission::Through::embedding : Permission::Through::link);
    if (first == "assets" && segments.size() == 3 && isReading)
        return Plan{.what = m_parts.pages.asset(segments[1], segments[2], request.headers), .isLogged = false};
    if ((first != "renew" && first != "beat") || segments.size() != 1)
        return std::nullopt;
    if (request.method == Method::options) {
        Response response{.status = 204};
        response.with("Access-Control-Allow-Methods", "POST")
            .with("Access-Control-Allow-Headers", "content-type")
            .with("Access-Control-Max-Age", "86400");
        return Plan{.what = withSharing(std::move(response)), .isLogged = false};
    }
    if (request.method != Method::post)
        return std::nullopt;
    if (first == "renew") {
        return Plan{
            .what = Plan::Answer{.bodyLimit = maxMessage, .answer = [this](const Request& whole) { return renew(whole); }},
            .isLogged = false};
    }
    return Plan{
        .what = Plan::Answer{.bodyLimit = maxMessage, .answer = [this](const Request& whole) { return beat(whole); }},
        .isLogged = false};
}

Plan ViewerRoutes::pagePlan(const Request& request, const std::string& video, Permission::Through through) const
{
    const auto answer = [this, through](
                            const Request& whole, const LiveVideo& live) { return playerPage(whole, live, through); };
    const auto id = Uuid::parse(video);
    if (!id)
        return Plan{.what = unavailable(request, {}), .route = "page"};
    const std::string name = lowerText(*id);
    if (const auto live = m_parts.videos.fresh(name))
        return Plan{.what = answer(request, *live), .isLogged = false};
    return Plan{
        .what = Plan::Answer{.answer = [this, name, answer](
                                           const Request& whole) { return answer(whole, *m_parts.videos.load(name)); }},
        .isLogged = false};
}

Response ViewerRoutes::unavailable(const Request& request, const LiveVideo& video) const
{
    // Only sites that may embed the video can frame this page. Elsewhere the browser blocks it, as for an unknown video.
    return m_parts.pages.page(404, "unavailable.html",
        {.lang = languageOf(request.headers["Accept-Language"]), .frameAncestors = video.domains.frameAncestors()});
}

Response ViewerRoutes::playerPage(const Request& request, const LiveVideo& video, Permission::Through through) const
{
    if (!video.isPublished)
        return unavailable(request, video);
    // Browsers send the purpose of a request, except over plain http to another machine.
    const std::string_view purpose = request.headers["Sec-Fetch-Dest"];
    const bool isFramed =
        purpose == "iframe" || purpose == "frame" || (purpose.empty() && through == Permission::Through::embedding);
    const bool isOpened = purpose == "document" || (purpose.empty() && through == Permission::Through::link);
    if ((!isFramed && !isOpened) || (isOpened && !video.record.access.publicLink))
        return unavailable(request, video);
    if (isFramed) {
        // The browser rejects foreign pages; the server only counts them.
        if (const auto page = originOf(request.headers["Referer"]);
            page && !video.domains.allows(*page) && page->text() != m_settings.address)
            m_parts.statistics.refused(video.record.id, page->text());
    }
    const auto id = Uuid::parse(video.record.id);
    if (!id)
        return unavailable(request, video);
    const Permission permission{.video = *id,
        .revision = video.record.revision,
        .through = isFramed ? Permission::Through::embedding : Permission::Through::link,
        .epoch = isFramed ? video.record.embedEpoch : video.record.watchEpoch};
    JsonWriter config;
    config.open('{').member("video", video.record.id).member("title", video.record.title);
    writePermission(config, permission);
    config.member("renew", m_parts.pages.basePath() + "/renew")
        .member("beat", m_parts.pages.basePath() + "/beat")
        .member("embedded", isFramed)
        .close('}');
    return m_parts.pages.page(200, "player.html",
        {.lang = languageOf(request.headers["Accept-Language"]),
            .title = video.record.title,
            .config = config.take(),
            .frameAncestors = video.domains.frameAncestors()});
}

std::string ViewerRoutes::mediaAddress(const Permission& permission) const
{
    return m_parts.pages.basePath() + "/m/" + m_parts.tickets.write(Tickets::Kind::ticket, permission) + "/";
}

void ViewerRoutes::writePermission(JsonWriter& json, Permission permission) const
{
    const auto now = m_parts.clock.now();
    permission.until = now + m_settings.ticketLife;
    json.member("media", mediaAddress(permission)).member("expiresIn", m_settings.ticketLife);
    permission.until = now + m_settings.grantLife;
    json.member("grant", m_parts.tickets.write(Tickets::Kind::grant, permission)).member("revision", permission.revision);
}

bool ViewerRoutes::isAllowed(const Permission& permission, const LiveVideo& video) const
{
    if (!video.isPublished)
        return false;
    if (permission.through == Permission::Through::link)
        return video.record.access.publicLink && permission.epoch == video.record.watchEpoch;
    return permission.epoch == video.record.embedEpoch;
}

Plan ViewerRoutes::mediaPlan(const Request& request, const Target& target) const
{
    const auto permission = m_parts.tickets.read(Tickets::Kind::ticket, target.segments[1]);
    MediaRequest media;
    for (std::size_t i = 2; i < target.segments.size(); ++i)
        media.path += (i == 2 ? "" : "/") + target.segments[i];
    const auto kind = std::ranges::find_if(kinds, [&](const Kind& known) { return media.path.ends_with(known.ending); });
    if (!permission || kind == kinds.end()) {
        ++m_parts.metrics.refusedTickets;
        return Plan{.what = refused(), .isLogged = false};
    }
    media.permission = *permission;
    media.kind = &*kind;
    media.range = request.headers["Range"];

    const std::string video = lowerText(permission->video);
    const auto live = m_parts.videos.fresh(video);
    if (live && !isAllowed(*permission, *live)) {
        ++m_parts.metrics.refusedTickets;
        return Plan{.what = refused(), .isLogged = false};
    }
    const auto manifest = m_parts.videos.freshManifest(permission->revision);
    if (live && manifest) {
        const auto entry = manifest->files.find(media.path);
        if (manifest->video != video || entry == manifest->files.end())
            return Plan{.what = refused(), .isLogged = false};
        if (const auto file = m_parts.files.openIfHere(entry->second.key, entry->second.size))
            return Plan{.what = this->media(media, file), .isLogged = false};
    }
    return Plan{.what = Plan::Answer{.answer =
                                         [this, media, video](const Request&) {
                                             const auto current = m_parts.videos.load(video);
                                             const auto files = m_parts.videos.loadManifest(media.permission.revision);
                                             if (!files || files->video != video || !isAllowed(media.permission, *current))
                                                 return refused();
                                             const auto entry = files->files.find(media.path);
                                             if (entry == files->files.end())
                                                 return refused();
                                             return this->media(
                                                 media, m_parts.files.open(entry->second.key, entry->second.size, {}));
                                         },
                    .where = Plan::Where::fetchers},
        .isLogged = false};
}

Response ViewerRoutes::media(const MediaRequest& media, const std::shared_ptr<const OpenFile>& file) const
{
    Response response{.body = FileBody{.file = file, .offset = 0, .length = file->size()}};
    response.with("Content-Type", std::string(media.kind->type))
        .with("Cache-Control", std::string(media.kind->caching))
        .with("Accept-Ranges", "bytes");
    if (!media.range.empty()) {
        const auto range = parseRange(media.range, file->size());
        if (const auto* bytes = std::get_if<ByteRange>(&range)) {
            response.status = 206;
            response.body = FileBody{.file = file, .offset = bytes->first, .length = bytes->length()};
            response.with("Content-Range", std::format("bytes {}-{}/{}", bytes->first, bytes->last, file->size()));
        } else if (std::get<NoRange>(range) == NoRange::unsatisfiable) {
            Response none = errorResponse(416, "No hay tantos datos.");
            none.with("Content-Range", std::format("bytes */{}", file->size()));
            return withSharing(std::move(none));
        }
    }
    return withSharing(std::move(response));
}

Response ViewerRoutes::renew(const Request& request) const
{
    const JsonDocument document(request.body);
    const auto permission = m_parts.tickets.read(Tickets::Kind::grant, document.root()["grant"].text().value_or(""));
    if (!permission) {
        ++m_parts.metrics.refusedTickets;
        return refused();
    }
    const auto video = m_parts.videos.load(lowerText(permission->video));
    if (!isAllowed(*permission, *video)) {
        ++m_parts.metrics.refusedTickets;
        return refused();
    }
    Permission next = *permission;
    // A replaced revision stays available to its viewers; when it is removed, the player continues with the new one.
    if (!m_parts.videos.loadManifest(next.revision))
        next.revision = video->record.revision;
    JsonWriter json;
    json.open('{');
    writePermission(json, next);
    json.close('}');
    return withSharing(jsonResponse(200, json.take()));
}

Response ViewerRoutes::beat(const Request& request) const
{
    const JsonDocument document(request.body);
    const auto permission = m_parts.tickets.read(Tickets::Kind::grant, document.root()["grant"].text().value_or(""));
    const auto view = document.root()["view"].text();
    if (!permission || !view || view->empty() || view->size() > 64)
        return refused();
    std::vector<std::uint64_t> tenths;
    document.root()["tenths"].forEach([&](JsonValue tenth) {
        if (const auto number = tenth.number(); number && *number < 10)
            tenths.push_back(*number);
    });
    m_parts.statistics.beat(lowerText(permission->video), *view, tenths);
    return withSharing(Response{.status = 204});
}

} // namespace orvo::server
