#pragma once

#include "OrvoVideo/publishing/HttpClient.h"
#include "OrvoVideo/publishing/JsonObject.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/VideoProject.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

struct PublicationFile;
class FrozenFile;

/// Thrown for a response outside 200–299: a `captureError` with the status.
class RefusedRequest : public Error {
public:
    RefusedRequest(long status, const std::string& message)
        : Error(captureError(message))
        , m_status(status)
    {
    }
    long status() const noexcept { return m_status; }

private:
    long m_status;
};

/// The state of a publishing server, as it reports it.
struct ServerStatus {
    bool isConnected = false; ///< Whether it can store videos now.
    /// The kind of storage: "drive", "local", "s3", … Older servers, which support only Drive, do not report it.
    std::optional<std::string> storage;

    /// Whether it stores videos without the user's Drive, so that no authorisation is needed.
    bool storesByItself() const { return isConnected && storage && *storage != "drive"; }
    /// The state of the connection, in Spanish.
    std::string text() const;
};

/// A client of a publishing server: requests, and the resumable publication of a project.
///
/// Create one for each operation. Everything blocks; use worker threads, one at a time. The credential is sent to this
/// server only, not to another address that the server names, and appears in no text.
class Publisher {
public:
    /// Receives the current activity, in Spanish, and its progress, 0..1. Called on the working thread.
    using Progress = std::function<void(const std::string& text, double fraction)>;

    struct Options {
        HttpClient::Limits limits;
        /// Waits for the time or until a stop is requested.
        std::function<void(std::chrono::seconds, const std::stop_token&)> pause = waitFor;
    };

    /// `base` is the server's address, `token` the administrator's credential. Sends nothing.
    ///
    /// Throws `captureError` with "Usa una dirección HTTPS para el servicio." for an address that is neither "https" nor
    /// on "localhost", and with another text for one that contains a user name or password.
    Publisher(std::string_view base, std::string token);
    Publisher(std::string_view base, std::string token, Options options);

    const std::string& base() const noexcept { return m_base; }

    /// The optional parts of a request.
    struct Content {
        std::optional<std::string> json; ///< JSON text.
        std::optional<std::span<const char>> data; ///< Takes precedence over `json`.
        std::vector<std::pair<std::string, std::string>> headers; ///< Override the client's headers.
    };

    /// Sends a request to `path`, appended to the server's address, and returns the response; empty when it is not a JSON
    /// object.
    ///
    /// A response outside 200–299 throws `RefusedRequest` with the server's "error", else "El servidor no ha podido
    /// completar la petición.". Follows redirects only within the server. Also throws `TransportError` and `Cancelled`.
    JsonObject request(
        const std::string& path, const std::string& method, const Content& content, const std::stop_token& stop = {});
    JsonObject request(const std::string& path, const std::string& method, const std::stop_token& stop = {})
    {
        return request(path, method, Content{}, stop);
    }

    /// Uploads a project's media, its document and the package in the folder `hls`, waits until the server has stored
    /// everything, and publishes it.
    ///
    /// The upload can be resumed after a failure, a cancellation or a crash: `upload-session.json` in the project's
    /// folder records it until the publication is complete, and the next call continues where the server reports. A
    /// failed chunk is retried five times over a minute.
    ///
    /// Throws `captureError` with a text for the user, `TransportError`, file system errors unchanged, and `Cancelled`.
    Publication publish(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& hls,
        const std::vector<std::string>& domains, bool publicLink, const Progress& progress,
        const std::stop_token& stop = {});

    /// The file name of an unfinished publication's record in the project's folder.
    static constexpr std::string_view sessionName = "upload-session.json";

    /// Changes which sites may embed a published video and whether its link is public. Throws as `request`.
    void updatePolicy(const std::string& videoId, const std::vector<std::string>& domains, bool publicLink,
        const std::stop_token& stop = {});

    /// Withdraws a published video. A video unknown to the server counts as withdrawn. Throws as `request`.
    void withdraw(const std::string& videoId, const std::stop_token& stop = {});

    /// Requests the server's state. Throws as `request`.
    ServerStatus status(const std::stop_token& stop = {});

    /// As `status`, but throws `captureError` with a text for the user when the server cannot store videos yet. Call it
    /// before rendering.
    ServerStatus requireStorage(const std::stop_token& stop = {});

    /// Gives the server its OAuth client for Drive. Throws as `request`.
    void configureDrive(const std::string& clientId, const std::string& clientSecret, const std::stop_token& stop = {});

    /// The address at which the user authorises the server to use Drive; nullopt when the server returns none. Throws as
    /// `request`.
    std::optional<std::string> driveAuthorisation(const std::stop_token& stop = {});

private:
    /// A publication known to the server.
    struct Revision;

    static void waitFor(std::chrono::seconds time, const std::stop_token& stop);

    HttpResponse send(HttpRequest request, const std::stop_token& stop);
    std::string credential() const;
    std::string withoutCredential(std::string text) const;

    Revision resumeOrCreate(const std::filesystem::path& sessionFile, const std::string& videoId,
        std::span<const PublicationFile> files, const std::stop_token& stop);
    std::optional<JsonObject> resumable(
        const std::filesystem::path& sessionFile, const std::string& fingerprint, const std::stop_token& stop);
    void upload(const PublicationFile& file, const std::string& uploadId, const std::function<void(std::int64_t)>& sent,
        const std::stop_token& stop);
    std::int64_t uploadChunk(const FrozenFile& source, const PublicationFile& file, const std::string& uploadId,
        std::int64_t offset, const std::stop_token& stop);
    std::optional<std::int64_t> heldBytes(const std::string& uploadId, const std::stop_token& stop);
    void awaitStorage(
        const std::string& revisionPath, const ServerStatus& server, const Progress& progress, const std::stop_token& stop);

    std::string m_base;
    std::string m_token;
    Options m_options;
    HttpClient m_client;
    std::vector<char> m_chunk; ///< The chunk being uploaded.
};

} // namespace orvo
