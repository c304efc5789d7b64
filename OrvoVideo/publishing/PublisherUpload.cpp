#include "OrvoVideo/publishing/PublicationFiles.h"
#include "OrvoVideo/publishing/Publisher.h"
#include "VideoCore/FileIO.h"

#include <algorithm>
#include <format>
#include <map>
#include <numeric>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t chunkSize = 8'388'608; ///< Bytes.
constexpr int maxRetries = 5; ///< Per chunk.
constexpr int maxStepsBack = 5; ///< Consecutive steps back without progress.
constexpr int maxPolls = 7'200;
constexpr auto pollPause = std::chrono::seconds(2);
constexpr std::size_t maxSessionBytes = std::size_t{64} << 20; ///< A longer file is not ours.

using Ids = std::map<std::string, std::optional<std::string>>;

/// The upload of each path; the first one in the response counts.
Ids uploadIds(const std::vector<JsonObject>& uploads)
{
    Ids ids;
    for (const auto& upload : uploads) {
        if (const auto path = upload.text("path"))
            ids.emplace(*path, upload.text("id"));
    }
    return ids;
}

void throwIfStopped(const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
}

std::string lowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

double share(std::int64_t part, std::int64_t whole)
{
    return std::clamp(static_cast<double>(part) / static_cast<double>(std::max<std::int64_t>(whole, 1)), 0.0, 1.0);
}

[[noreturn]] void failInvalid()
{
    throw captureError("Respuesta de publicación inválida.");
}

} // namespace

struct Publisher::Revision {
    std::string id;
    Ids uploads;
};

Publication Publisher::publish(const VideoProject& project, const ProjectStore& store, const fs::path& hls,
    const std::vector<std::string>& domains, bool publicLink, const Progress& progress, const std::stop_token& stop)
{
    const std::string videoId = lowerCase(project.id.text());
    const fs::path sessionFile = store.directory(project.id) / sessionName;
    const auto server = requireStorage(stop);
    const auto video = JsonBuilder()
                           .set("id", videoId)
                           .set("title", project.title)
                           .set("domains", domains)
                           .set("publicLink", publicLink)
                           .text();
    request("api/videos", "POST", {.json = video, .data = {}, .headers = {}}, stop);

    const auto files = publicationFiles(project, store, hls, stop);
    const Revision revision = resumeOrCreate(sessionFile, videoId, files, stop);
    const std::int64_t total = std::accumulate(
        files.begin(), files.end(), std::int64_t{0}, [](auto sum, const auto& file) { return sum + file.size; });
    std::int64_t done = 0;
    for (const auto& file : files) {
        throwIfStopped(stop);
        const auto upload = revision.uploads.find(file.path);
        if (upload == revision.uploads.end() || !upload->second)
            throw captureError("No se ha encontrado la sesión de subida.");
        this->upload(
            file, *upload->second,
            [&](std::int64_t offset) { progress("Subiendo " + file.path, share(done + offset, total)); }, stop);
        done += file.size;
    }

    const std::string path = "api/revisions/" + pathSegment(revision.id);
    request(path + "/retry", "POST", stop);
    awaitStorage(path, server, progress, stop);
    const JsonObject published = request(path + "/publish", "POST", stop);
    std::error_code ignored;
    fs::remove(sessionFile, ignored);
    return {.videoID = videoId,
        .url = published.text("url").value_or(m_base + "/watch/" + videoId),
        .domains = domains,
        .publicLink = publicLink};
}

Publisher::Revision Publisher::resumeOrCreate(const fs::path& sessionFile, const std::string& videoId,
    std::span<const PublicationFile> files, const std::stop_token& stop)
{
    const std::string print = fingerprint(files);
    auto revision = resumable(sessionFile, print, stop);
    if (!revision) {
        JsonBuilder list;
        list.set("files", std::span<const std::string>());
        for (const auto& file : files) {
            list.beginItem("files")
                .set("path", file.path)
                .set("role", file.role)
                .set("size", file.size)
                .set("sha256", file.sha256)
                .endItem();
        }
        revision =
            request("api/videos/" + videoId + "/revisions", "POST", {.json = list.text(), .data = {}, .headers = {}}, stop);
        writeFileAtomically(sessionFile, JsonBuilder(*revision).set("fingerprint", print).set("server", m_base).text());
    }
    const auto id = revision->text("id");
    const auto uploads = revision->objects("uploads");
    if (!id || !uploads)
        failInvalid();
    return {.id = *id, .uploads = uploadIds(*uploads)};
}

std::optional<JsonObject> Publisher::resumable(
    const fs::path& sessionFile, const std::string& fingerprint, const std::stop_token& stop)
{
    std::string text;
    try {
        readFile(sessionFile, text, maxSessionBytes);
    } catch (const fs::filesystem_error&) {
        return std::nullopt;
    }
    auto session = JsonObject::parse(text);
    const auto id = session ? session->text("id") : std::nullopt;
    if (!id || session->text("fingerprint") != fingerprint || session->text("server") != m_base
        || !session->objects("uploads"))
        return std::nullopt;
    // A transport error does not mean that the revision is gone; a new one would upload everything again.
    for (int tries = 0; tries < 2; ++tries) {
        try {
            request("api/revisions/" + pathSegment(*id), "GET", stop);
            return session;
        } catch (const Cancelled&) {
            throw;
        } catch (const TransportError&) {
            m_options.pause(pollPause, stop);
        } catch (const Error&) {
            break; // The server no longer knows it.
        }
    }
    return std::nullopt;
}

std::optional<std::int64_t> Publisher::heldBytes(const std::string& uploadId, const std::stop_token& stop)
{
    const auto offset = request("api/uploads/" + pathSegment(uploadId), "GET", stop).integer("offset");
    if (offset.value_or(0) < 0)
        failInvalid();
    return offset;
}

void Publisher::upload(const PublicationFile& file, const std::string& uploadId,
    const std::function<void(std::int64_t)>& sent, const std::stop_token& stop)
{
    std::int64_t offset = heldBytes(uploadId, stop).value_or(0);
    if (offset >= file.size)
        return;
    const auto source = file.open();
    std::int64_t furthest = offset;
    for (int stepsBack = 0; offset < file.size;) {
        const std::int64_t next = uploadChunk(*source, file, uploadId, offset, stop);
        stepsBack = next > furthest ? 0 : stepsBack + (next <= offset ? 1 : 0);
        if (next < 0 || stepsBack == maxStepsBack)
            failInvalid(); // A server that discards the data would otherwise receive the file forever.
        furthest = std::max(furthest, next);
        offset = next;
        sent(std::min(offset, file.size));
    }
}

std::int64_t Publisher::uploadChunk(const FrozenFile& source, const PublicationFile& file, const std::string& uploadId,
    std::int64_t offset, const std::stop_token& stop)
{
    for (int retry = 0;; ++retry) {
        throwIfStopped(stop);
        m_chunk.resize(static_cast<std::size_t>(std::min(file.size - offset, chunkSize)));
        const std::size_t count = readUnchanged(source, offset, m_chunk);
        const std::int64_t end = offset + static_cast<std::int64_t>(count);
        try {
            const auto answer = request("api/uploads/" + pathSegment(uploadId), "PUT",
                {.json = {},
                    .data = std::span<const char>(m_chunk.data(), count),
                    .headers = {{"Content-Range", std::format("bytes {}-{}/{}", offset, end - 1, file.size)}}},
                stop);
            return answer.integer("offset").value_or(end);
        } catch (const Error&) {
            if (retry == maxRetries)
                throw;
        }
        m_options.pause(std::chrono::seconds(2 << retry), stop);
        offset = heldBytes(uploadId, stop).value_or(offset);
        if (offset >= file.size)
            return offset;
    }
}

void Publisher::awaitStorage(
    const std::string& revisionPath, const ServerStatus& server, const Progress& progress, const std::stop_token& stop)
{
    const std::string_view keeper = server.storesByItself() ? "El servidor" : "Drive";
    const std::string_view place = server.storesByItself() ? "el servidor" : "Google Drive";
    for (int polls = 0; polls < maxPolls; ++polls) {
        throwIfStopped(stop);
        const auto files = request(revisionPath, "GET", stop).objects("files").value_or(std::vector<JsonObject>());
        std::int64_t ready = 0;
        for (const auto& file : files) {
            const auto status = file.text("status");
            if (status == "error") {
                throw captureError(withoutCredential(file.text("error").value_or(
                    std::format("{} no ha podido guardar un archivo. Puedes reintentar la publicación.", keeper))));
            }
            ready += status == "ready" ? 1 : 0;
        }
        const auto count = static_cast<std::int64_t>(files.size());
        progress(std::format("Guardando en {} · {}/{}", place, ready, count), share(ready, count));
        if (ready == count)
            return;
        m_options.pause(pollPause, stop);
    }
    throw captureError("La publicación sigue pendiente. Puedes reanudarla desde este proyecto.");
}

} // namespace orvo
