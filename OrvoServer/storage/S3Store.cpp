#include "OrvoServer/storage/S3Store.h"

#include "OrvoServer/storage/FileDigest.h"

#include <algorithm>
#include <format>
#include <utility>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

/// The content of the first element with this name. Decodes no entities, because the elements used here contain none.
std::string element(const std::string& xml, const std::string& name)
{
    const std::string open = "<" + name + ">";
    const auto begin = xml.find(open);
    const auto end = begin == std::string::npos ? begin : xml.find("</" + name + ">", begin);
    return end == std::string::npos ? std::string() : xml.substr(begin + open.size(), end - begin - open.size());
}

StoreError failureOf(const TransferResponse& response)
{
    using Kind = StoreError::Kind;
    const std::string code = element(response.body, "Code");
    const std::string detail = code.empty() ? std::to_string(response.status) : code;
    if (code == "QuotaExceeded" || code == "InsufficientStorage" || response.status == 507)
        return {Kind::full, "El almacén S3 no tiene más sitio."};
    if (response.status == 404 && code != "NoSuchBucket")
        return {Kind::missing, "El almacén S3 no tiene este archivo."};
    if (response.status == 401 || response.status == 403)
        return {Kind::unauthorised,
            std::format("El almacén S3 rechaza las claves del servidor ({}). Revísalas en su configuración.", detail)};
    if (response.status >= 500 || response.status == 429 || response.status == 408 || code == "SlowDown"
        || code == "RequestTimeout")
        return {Kind::passing, std::format("El almacén S3 no puede atender ahora ({}).", detail)};
    return {Kind::refused, std::format("El almacén S3 ha rechazado la petición ({}).", detail)};
}

} // namespace

S3Store::S3Store(Settings settings)
    : m_settings(std::move(settings))
    , m_transfer(m_settings.limits)
    , m_retries(m_settings.pause)
{
}

BlobStore::Status S3Store::status()
{
    const std::lock_guard lock(m_mutex);
    return m_status;
}

std::string S3Store::address(const std::string& key, std::string_view query) const
{
    std::string path;
    for (const char c : m_settings.prefix + key)
        path += c == '/' ? std::string("/") : percentEncoded({&c, 1});
    return std::format(
        "{}/{}/{}{}{}", m_settings.endpoint, percentEncoded(m_settings.bucket), path, query.empty() ? "" : "?", query);
}

TransferResponse S3Store::send(TransferRequest request, const std::stop_token& stop)
{
    request.signature = TransferRequest::Signature{
        .region = m_settings.region, .accessKey = m_settings.accessKey, .secretKey = m_settings.secretKey};
    TransferResponse response;
    try {
        m_retries.run(
            [&] {
                response = m_transfer.perform(request, stop);
                if (!response.succeeded())
                    throw failureOf(response);
            },
            stop);
    } catch (const StoreError& error) {
        if (error.kind() != StoreError::Kind::missing) {
            const std::lock_guard lock(m_mutex);
            m_status = {.isReady = false, .text = error.what()};
        }
        throw;
    }
    const std::lock_guard lock(m_mutex);
    m_status = {.isReady = true, .text = {}};
    return response;
}

TransferRequest S3Store::uploading(std::string url, FilePart part, const std::stop_token& stop) const
{
    const std::string digest = digestOf(part, stop);
    return {.method = "PUT", .url = std::move(url), .headers = {"x-amz-content-sha256: " + digest}, .part = std::move(part)};
}

void S3Store::put(const std::string& key, const fs::path& file, const std::stop_token& stop)
{
    const std::uint64_t size = fs::file_size(file);
    if (size > m_settings.partSize)
        return putParts(key, file, size, stop);
    send(uploading(address(key), {.file = file, .size = size}, stop), stop);
}

void S3Store::putParts(const std::string& key, const fs::path& file, std::uint64_t size, const std::stop_token& stop)
{
    const auto begun = send({.method = "POST", .url = address(key, "uploads=")}, stop);
    const std::string upload = element(begun.body, "UploadId");
    if (upload.empty())
        throw StoreError(StoreError::Kind::refused, "El almacén S3 no admite subidas por partes.");
    const std::string id = "uploadId=" + percentEncoded(upload);
    try {
        std::string parts;
        int number = 1;
        for (std::uint64_t offset = 0; offset < size; offset += m_settings.partSize, ++number) {
            FilePart part{.file = file, .offset = offset, .size = std::min(m_settings.partSize, size - offset)};
            const auto answer =
                send(uploading(address(key, std::format("partNumber={}&{}", number, id)), std::move(part), stop), stop);
            parts += std::format("<Part><PartNumber>{}</PartNumber><ETag>{}</ETag></Part>", number, answer.header("etag"));
        }
        const auto done = send({.method = "POST",
                                   .url = address(key, id),
                                   .headers = {"Content-Type: application/xml"},
                                   .body = "<CompleteMultipartUpload>" + parts + "</CompleteMultipartUpload>"},
            stop);
        // The service may fail after sending status 200; the body then holds the error.
        if (done.body.contains("<Error>"))
            throw failureOf({.status = 500, .body = done.body, .headers = {}});
    } catch (...) {
        try {
            m_transfer.perform({.method = "DELETE",
                                   .url = address(key, id),
                                   .signature = TransferRequest::Signature{.region = m_settings.region,
                                       .accessKey = m_settings.accessKey,
                                       .secretKey = m_settings.secretKey}},
                {});
        } catch (const std::exception&) {
            // Unfinished parts remain; the service may expire them.
        }
        throw;
    }
}

void S3Store::fetch(const std::string& key, const fs::path& target, const std::stop_token& stop)
{
    try {
        send({.url = address(key), .target = target}, stop);
    } catch (...) {
        std::error_code ignored;
        fs::remove(target, ignored);
        throw;
    }
}

void S3Store::remove(const std::string& key, const std::stop_token& stop)
{
    try {
        send({.method = "DELETE", .url = address(key)}, stop);
    } catch (const StoreError& error) {
        if (error.kind() != StoreError::Kind::missing)
            throw;
    }
}

} // namespace orvo::server
