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

/// An answer of the server outside 200–299: a `captureError` with the status beside it.
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

/// What a publishing server reports about itself.
struct ServerStatus {
    bool isConnected = false; ///< Whether it can store videos now.
    /// Where it stores them: "drive", "local", "s3", … Older servers, which store in Drive alone, do not say.
    std::optional<std::string> storage;

    /// Whether it stores videos without the user's Drive, so that nothing has to be authorised.
    bool storesByItself() const { return isConnected && storage && *storage != "drive"; }
    /// The state of the connection, in Spanish.
    std::string text() const;
};

/// The client of a publishing server: its requests, and the resumable publication of a project.
///
/// Made for one operation and dropped after it. Everything blocks, for worker threads; one thread at a time. The credential
/// goes to the server and nowhere else: not to another address that the server names, and into no text.
class Publisher {
public:
    /// Receives what is being done, in Spanish, and how much of it is, 0..1. Called on the thread that does the work.
    using Progress = std::function<void(const std::string& text, double fraction)>;

    struct Options {
        HttpClient::Limits limits;
        /// Waits, unless it is asked to stop.
        std::function<void(std::chrono::seconds, const std::stop_token&)> pause = waitFor;
    };

    /// `base` is the server's address, `token` the credential of its administrator. Sends nothing.
    ///
    /// Throws `captureError` with "Usa una dirección HTTPS para el servicio." for an address that is neither "https" nor on
    /// "localhost", and with a text of its own for one that holds a user name or password.
    Publisher(std::string_view base, std::string token);
    Publisher(std::string_view base, std::string token, Options options);

    const std::string& base() const noexcept { return m_base; }

    /// What a request carries besides its path and method.
    struct Content {
        std::optional<std::string> json; ///< The text of a JSON value.
        std::optional<std::span<const char>> data; ///< Wins over `json`.
        std::vector<std::pair<std::string, std::string>> headers; ///< Replace those of the client.
    };

    /// Sends one request to `path`, which is appended to the address, and returns the answer; the object without keys when
    /// it is no JSON object.
    ///
    /// An answer outside 200–299 is a `RefusedRequest` with the text that the server gives as its "error", else "El servidor
    /// no ha podido completar la petición.". A redirection is followed within the server only. Throws also `TransportError`
    /// and `Cancelled`.
    JsonObject request(
        const std::string& path, const std::string& method, const Content& content, const std::stop_token& stop = {});
    JsonObject request(const std::string& path, const std::string& method, const std::stop_token& stop = {})
    {
        return request(path, method, Content{}, stop);
    }

    /// Sends a project's media, its document and the package in the folder `hls` to the server, waits until the server has
    /// put everything in its place, and has it published.
    ///
    /// What was sent is not lost when this fails, is cancelled or is killed: `upload-session.json` in the project's folder
    /// remembers it until the publication is complete, and the next call goes on where the server says. A piece that fails
    /// is tried again five times over a minute.
    ///
    /// Throws `captureError` with a text for the user, `TransportError`, file system errors unchanged, and `Cancelled`.
    Publication publish(const VideoProject& project, const ProjectStore& store, const std::filesystem::path& hls,
        const std::vector<std::string>& domains, bool publicLink, const Progress& progress,
        const std::stop_token& stop = {});

    /// The name of a project's file that remembers an unfinished publication.
    static constexpr std::string_view sessionName = "upload-session.json";

    /// Changes who may embed a published video and whether its link is public. Throws as `request`.
    void updatePolicy(const std::string& videoId, const std::vector<std::string>& domains, bool publicLink,
        const std::stop_token& stop = {});

    /// Takes a published video back. A video that the server does not know is taken back already. Throws as `request`.
    void withdraw(const std::string& videoId, const std::stop_token& stop = {});

    /// Asks the server for its state. Throws as `request`.
    ServerStatus status(const std::stop_token& stop = {});

    /// As `status`. Throws `captureError` with a text for the user when the server has nowhere to put a video yet, so that
    /// nothing is rendered in vain.
    ServerStatus requireStorage(const std::stop_token& stop = {});

    /// Gives the server the OAuth client that it uses Drive with. Throws as `request`.
    void configureDrive(const std::string& clientId, const std::string& clientSecret, const std::stop_token& stop = {});

    /// The address at which a person lets the server use Drive; nothing when the server names none. Throws as `request`.
    std::optional<std::string> driveAuthorisation(const std::stop_token& stop = {});

private:
    /// A publication that the server knows.
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
    std::vector<char> m_chunk; ///< What is being uploaded.
};

} // namespace orvo
