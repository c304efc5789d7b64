#include "OrvoServer/storage/DriveStore.h"

#include "OrvoServer/base/Json.h"
#include "OrvoServer/storage/FileDigest.h"

#include <algorithm>
#include <charconv>
#include <format>
#include <utility>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

using Kind = StoreError::Kind;

constexpr std::size_t maxHints = 100'000;
constexpr auto fields = "id,size,sha256Checksum";

/// Escapes a text for the single quotes of a search.
std::string searchText(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\'' || c == '\\')
            result += '\\';
        result += c;
    }
    return result;
}

StoreError failureOf(const TransferResponse& response)
{
    const JsonDocument answer(response.body);
    const std::string reason = answer.root()["error"]["errors"].at(0)["reason"].text().value_or("");
    if (reason == "storageQuotaExceeded" || reason == "teamDriveFileLimitExceeded")
        return {Kind::full, "Google Drive está lleno. Libera espacio y vuelve a publicar."};
    const bool isRate = reason == "rateLimitExceeded" || reason == "userRateLimitExceeded" || reason == "dailyLimitExceeded"
        || reason == "sharingRateLimitExceeded";
    if (isRate || response.status == 429 || response.status >= 500 || response.status == 408)
        return {Kind::passing, "Google Drive no puede atender ahora. Vuelve a intentarlo más tarde."};
    if (response.status == 404 || response.status == 410)
        return {Kind::missing, "Google Drive no tiene este archivo."};
    if (response.status == 401)
        return {Kind::unauthorised, "Google Drive ya no da permiso al servidor. Pulsa «Conectar Google Drive» en Ajustes."};
    return {Kind::refused,
        std::format(
            "Google Drive ha rechazado la petición ({}).", reason.empty() ? std::to_string(response.status) : reason)};
}

/// The number of bytes that a resumable upload holds, from its "Range: bytes=0-N".
std::uint64_t heldBytes(const TransferResponse& response)
{
    const std::string range = response.header("range");
    const auto dash = range.find('-');
    std::uint64_t last = 0;
    if (dash == std::string::npos
        || std::from_chars(range.data() + dash + 1, range.data() + range.size(), last).ec != std::errc())
        return 0;
    return last + 1;
}

} // namespace

DriveStore::DriveStore(Settings settings, DriveAuthorisation& authorisation)
    : m_settings(std::move(settings))
    , m_authorisation(authorisation)
    , m_transfer(m_settings.limits)
    , m_retries(m_settings.pause)
{
}

BlobStore::Status DriveStore::status()
{
    if (!m_authorisation.isConfigured())
        return {.isReady = false, .text = "Falta el cliente OAuth de Google Drive."};
    if (!m_authorisation.isAuthorised())
        return {.isReady = false, .text = "Falta autorizar Google Drive."};
    return {.isReady = true, .text = {}};
}

/// Spreads the calls of all threads over time.
void DriveStore::awaitTurn(const std::stop_token& stop)
{
    std::chrono::steady_clock::time_point turn;
    {
        const std::lock_guard lock(m_mutex);
        turn = std::max(m_nextCall, std::chrono::steady_clock::now());
        m_nextCall = turn + m_settings.callInterval;
    }
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(turn - std::chrono::steady_clock::now());
    if (wait.count() > 0)
        m_retries.pause(wait, stop);
    if (stop.stop_requested())
        throw Cancelled();
}

/// Sends a request with a token; renews the token once if the service rejects it.
TransferResponse DriveStore::callOnce(TransferRequest request, const std::stop_token& stop)
{
    awaitTurn(stop);
    const auto headers = request.headers;
    for (const bool renew : {false, true}) {
        request.headers = headers;
        request.headers.push_back("Authorization: Bearer " + m_authorisation.accessToken(stop, renew));
        auto response = m_transfer.perform(request, stop);
        if (response.status != 401 || renew)
            return response;
    }
    std::unreachable();
}

TransferResponse DriveStore::call(TransferRequest request, const std::stop_token& stop)
{
    TransferResponse response;
    m_retries.run(
        [&] {
            response = callOnce(request, stop);
            if (!response.succeeded())
                throw failureOf(response);
        },
        stop);
    return response;
}

std::optional<DriveStore::Item> DriveStore::find(const std::string& query, const std::stop_token& stop)
{
    const auto response = call({.url = std::format("{}/files?q={}&spaces=drive&pageSize=1&fields=files({})",
                                    m_settings.apiUrl, percentEncoded(query), fields)},
        stop);
    const JsonDocument answer(response.body);
    const auto file = answer.root()["files"].at(0);
    Item item{.id = file["id"].text().value_or(""), .sha256 = file["sha256Checksum"].text().value_or("")};
    if (item.id.empty())
        return std::nullopt;
    const std::string size = file["size"].text().value_or(""); // Drive sends it as a string.
    std::from_chars(size.data(), size.data() + size.size(), item.size);
    return item;
}

std::optional<DriveStore::Item> DriveStore::findKey(const std::string& key, const std::stop_token& stop)
{
    auto item =
        find(std::format("appProperties has {{ key='orvoKey' and value='{}' }} and trashed = false", searchText(key)), stop);
    const std::lock_guard lock(m_mutex);
    if (m_ids.size() >= maxHints)
        m_ids.clear();
    if (item)
        m_ids[key] = item->id;
    else
        m_ids.erase(key);
    return item;
}

std::string DriveStore::folderId(const std::stop_token& stop)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_folderId.empty())
            return m_folderId;
    }
    constexpr auto folderType = "application/vnd.google-apps.folder";
    std::string id;
    if (const auto found = find(
            std::format("name = '{}' and mimeType = '{}' and trashed = false", searchText(m_settings.folder), folderType),
            stop)) {
        id = found->id;
    } else {
        const auto made = call({.method = "POST",
                                   .url = m_settings.apiUrl + "/files?fields=id",
                                   .headers = {"Content-Type: application/json"},
                                   .body = JsonWriter()
                                       .open('{')
                                       .member("name", m_settings.folder)
                                       .member("mimeType", std::string_view(folderType))
                                       .close('}')
                                       .take()},
            stop);
        id = JsonDocument(made.body).root()["id"].text().value_or("");
    }
    const std::lock_guard lock(m_mutex);
    return m_folderId = id;
}

void DriveStore::put(const std::string& key, const fs::path& file, const std::stop_token& stop)
{
    const std::uint64_t size = fs::file_size(file);
    if (const auto present = findKey(key, stop)) {
        if (present->size == size && present->sha256 == digestOf({.file = file, .size = size}, stop))
            return;
        remove(key, stop);
    }
    m_retries.run([&] { upload(key, file, size, stop); }, stop);
}

/// Runs one resumable session. Throws `passing` if the service forgets the session; the caller then starts a new one.
void DriveStore::upload(const std::string& key, const fs::path& file, std::uint64_t size, const std::stop_token& stop)
{
    const auto begun =
        call({.method = "POST",
                 .url = std::format("{}/files?uploadType=resumable&fields={}", m_settings.uploadUrl, fields),
                 .headers = {"Content-Type: application/json; charset=UTF-8",
                     "X-Upload-Content-Type: application/octet-stream", std::format("X-Upload-Content-Length: {}", size)},
                 .body = JsonWriter()
                     .open('{')
                     .member("name", key)
                     .member("parents", std::vector{folderId(stop)})
                     .key("appProperties")
                     .open('{')
                     .member("orvoKey", key)
                     .close('}')
                     .close('}')
                     .take()},
            stop);
    const std::string session = begun.header("location");
    if (session.empty())
        throw StoreError(Kind::passing, "Google Drive no ha empezado la subida.");

    constexpr int maxStandstills = 6; // Consecutive responses without progress.
    std::uint64_t offset = 0;
    int standstills = 0;
    bool asks = false;
    for (;;) {
        TransferRequest request{.method = "PUT", .url = session};
        if (asks || size == 0) {
            request.headers = {std::format("Content-Range: bytes */{}", size), "Content-Length: 0"};
        } else {
            const std::uint64_t count = std::min(m_settings.chunkSize, size - offset);
            request.headers = {std::format("Content-Range: bytes {}-{}/{}", offset, offset + count - 1, size)};
            request.part = FilePart{.file = file, .offset = offset, .size = count};
        }
        try {
            const auto response = callOnce(std::move(request), stop);
            if (response.succeeded()) {
                const JsonDocument made(response.body);
                if (made.root()["size"].text() != std::to_string(size))
                    throw StoreError(Kind::passing, "Google Drive ha guardado otro archivo.");
                const std::lock_guard lock(m_mutex);
                m_ids[key] = made.root()["id"].text().value_or("");
                return;
            }
            if (response.status != 308)
                throw failureOf(response);
            const std::uint64_t held = std::min(heldBytes(response), size);
            standstills = held > offset ? 0 : standstills + 1;
            offset = held;
            asks = false;
        } catch (const StoreError& error) {
            if (error.kind() == Kind::missing) // The session has expired.
                throw StoreError(Kind::passing, error.what());
            if (error.kind() != Kind::passing)
                throw;
            ++standstills;
            asks = true; // Queries the offset.
        }
        if (standstills > maxStandstills)
            throw StoreError(Kind::passing, "Google Drive no avanza con la subida. Vuelve a intentarlo más tarde.");
        if (asks)
            m_retries.pause(std::chrono::milliseconds(500) * (1 << standstills), stop);
        if (stop.stop_requested())
            throw Cancelled();
    }
}

void DriveStore::fetch(const std::string& key, const fs::path& target, const std::stop_token& stop)
{
    std::string id;
    {
        const std::lock_guard lock(m_mutex);
        if (const auto known = m_ids.find(key); known != m_ids.end())
            id = known->second;
    }
    const auto get = [&] {
        call({.url = std::format("{}/files/{}?alt=media", m_settings.apiUrl, percentEncoded(id)), .target = target}, stop);
    };
    try {
        if (!id.empty()) {
            try {
                return get();
            } catch (const StoreError& error) {
                if (error.kind() != Kind::missing) // The hint is outdated.
                    throw;
            }
        }
        const auto found = findKey(key, stop);
        if (!found)
            throw StoreError(Kind::missing, "Google Drive no tiene este archivo.");
        id = found->id;
        get();
    } catch (...) {
        std::error_code ignored;
        fs::remove(target, ignored);
        throw;
    }
}

void DriveStore::remove(const std::string& key, const std::stop_token& stop)
{
    while (const auto found = findKey(key, stop)) { // A lost response may have left duplicates.
        try {
            call(
                {.method = "DELETE", .url = std::format("{}/files/{}", m_settings.apiUrl, percentEncoded(found->id))}, stop);
        } catch (const StoreError& error) {
            if (error.kind() != Kind::missing)
                throw;
        }
    }
}

} // namespace orvo::server
