#include "OrvoServer/storage/Transfer.h"

#include "OrvoServer/storage/BlobStore.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <curl/curl.h>
#include <format>
#include <mutex>
#include <random>
#include <string_view>
#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

constexpr std::size_t maxBody = std::size_t{4} << 20; ///< Bytes of a response in memory.
constexpr long bufferSize = 512L << 10; ///< Bytes.
constexpr std::size_t maxIdle = 8; ///< Idle connections.

/// Scheme, host and port of an address. The rest may contain secrets, so error texts omit it.
std::string_view hostOf(std::string_view url)
{
    const auto host = url.find("://");
    return url.substr(0, host == std::string_view::npos ? host : url.find_first_of("/?", host + 3));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

File openFile(const fs::path& path, const char* mode)
{
    File file(std::fopen(path.c_str(), mode));
    if (!file)
        throw fs::filesystem_error("open", path, std::error_code(errno, std::system_category()));
    return file;
}

/// The state of one request, for the callbacks.
struct Exchange {
    const std::stop_token& stop;
    TransferResponse response;
    File source;
    std::uint64_t left = 0; ///< Unsent bytes of the source.
    File target;
    int targetError = 0; ///< errno of a failed write.
};

std::size_t read(char* data, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<Exchange*>(self);
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size * count, exchange.left));
    const std::size_t got = std::fread(data, 1, wanted, exchange.source.get());
    exchange.left -= got;
    return got < wanted ? CURL_READFUNC_ABORT : got;
}

std::size_t write(const char* data, std::size_t size, std::size_t count, void* self)
{
    auto& exchange = *static_cast<Exchange*>(self);
    const std::size_t bytes = size * count;
    if (exchange.target && exchange.response.succeeded()) {
        if (std::fwrite(data, 1, bytes, exchange.target.get()) == bytes)
            return bytes;
        exchange.targetError = errno;
        return CURL_WRITEFUNC_ERROR;
    }
    if (exchange.response.body.size() + bytes > maxBody)
        return CURL_WRITEFUNC_ERROR;
    exchange.response.body.append(data, bytes);
    return bytes;
}

std::size_t header(const char* data, std::size_t size, std::size_t count, void* self)
{
    auto& response = static_cast<Exchange*>(self)->response;
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) { // Intermediate responses have one, too.
        response.headers.clear();
        const auto space = line.find(' ');
        response.status = space == std::string_view::npos ? 0 : std::strtol(data + space + 1, nullptr, 10);
    } else if (const auto colon = line.find(':'); colon != std::string_view::npos) {
        std::string name(line.substr(0, colon));
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        auto value = line.substr(colon + 1);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        value.remove_suffix(value.size() - std::min(value.find_last_not_of(" \t\r\n") + 1, value.size()));
        response.headers[std::move(name)] = value;
    }
    return size * count;
}

int progress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<Exchange*>(self)->stop.stop_requested() ? 1 : 0;
}

} // namespace

std::string TransferResponse::header(const std::string& name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

/// Idle handles, which keep their connections open.
struct Transfer::Pool {
    struct Cleanup {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    using Handle = std::unique_ptr<CURL, Cleanup>;

    Handle take()
    {
        {
            const std::lock_guard lock(mutex);
            if (!idle.empty()) {
                Handle handle = std::move(idle.back());
                idle.pop_back();
                return handle;
            }
        }
        Handle handle(curl_easy_init());
        if (!handle)
            throw std::bad_alloc();
        return handle;
    }

    void giveBack(Handle handle)
    {
        curl_easy_reset(handle.get());
        const std::lock_guard lock(mutex);
        if (idle.size() < maxIdle)
            idle.push_back(std::move(handle));
    }

    std::mutex mutex;
    std::vector<Handle> idle;
};

Transfer::Transfer()
    : Transfer(Limits())
{
}

Transfer::Transfer(const Limits& limits)
    : m_limits(limits)
    , m_pool(std::make_unique<Pool>())
{
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(started);
}

Transfer::~Transfer() = default;

TransferResponse Transfer::perform(const TransferRequest& request, const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    auto handle = m_pool->take();
    CURL* const curl = handle.get();
    Exchange exchange{.stop = stop};
    const auto set = [curl](CURLoption option, auto value) { curl_easy_setopt(curl, option, value); };

    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_USERAGENT, "OrvoServer");
    // As in OpenSSL's programs; for stores and proxies with a private certificate authority.
    if (const char* authorities = std::getenv("SSL_CERT_FILE"))
        set(CURLOPT_CAINFO, authorities);
    set(CURLOPT_BUFFERSIZE, bufferSize);
    set(CURLOPT_UPLOAD_BUFFERSIZE, bufferSize);
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(m_limits.connecting.count()));
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_limits.silence.count()));
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &progress);
    set(CURLOPT_XFERINFODATA, &exchange);
    set(CURLOPT_HEADERFUNCTION, &header);
    set(CURLOPT_HEADERDATA, &exchange);
    set(CURLOPT_WRITEFUNCTION, &write);
    set(CURLOPT_WRITEDATA, &exchange);
    std::unique_ptr<curl_slist, FreeList> headers;
    const auto addHeader = [&headers](const std::string& line) {
        headers.reset(curl_slist_append(headers.release(), line.c_str()));
    };
    addHeader("Expect:");
    for (const auto& line : request.headers)
        addHeader(line);
    set(CURLOPT_HTTPHEADER, headers.get());
    if (request.part) {
        exchange.source = openFile(request.part->file, "rb");
        exchange.left = request.part->size;
        if (::fseeko(exchange.source.get(), static_cast<off_t>(request.part->offset), SEEK_SET) != 0)
            throw fs::filesystem_error("seek", request.part->file, std::error_code(errno, std::system_category()));
        set(CURLOPT_UPLOAD, 1L);
        set(CURLOPT_READFUNCTION, &read);
        set(CURLOPT_READDATA, &exchange);
        set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.part->size));
    } else if (request.method == "POST" || request.method == "PUT" || !request.body.empty()) {
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        set(CURLOPT_POSTFIELDS, request.body.c_str());
    }
    if (!request.target.empty())
        exchange.target = openFile(request.target, "wb");
    std::string scope;
    std::string keys;
    if (const auto& signature = request.signature) {
        scope = std::format("aws:amz:{}:s3", signature->region);
        keys = signature->accessKey + ":" + signature->secretKey;
        set(CURLOPT_AWS_SIGV4, scope.c_str());
        set(CURLOPT_USERPWD, keys.c_str());
    }

    const CURLcode result = curl_easy_perform(curl);
    if (exchange.target && exchange.targetError == 0 && std::fflush(exchange.target.get()) != 0)
        exchange.targetError = errno;
    if (exchange.targetError != 0)
        throw fs::filesystem_error("write", request.target, std::error_code(exchange.targetError, std::system_category()));
    if (stop.stop_requested())
        throw Cancelled();
    if (exchange.source && std::ferror(exchange.source.get()) != 0)
        throw fs::filesystem_error("read", request.part->file, std::make_error_code(std::errc::io_error));
    if (result != CURLE_OK)
        throw StoreError(StoreError::Kind::passing,
            std::format("«{}» no responde ({}).", hostOf(request.url), curl_easy_strerror(result)));
    m_pool->giveBack(std::move(handle));
    return std::move(exchange.response);
}

Retries::Retries(Pause pause)
    : m_pause(std::move(pause))
{
    if (m_pause)
        return;
    m_pause = [](std::chrono::milliseconds time, const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any wake;
        std::unique_lock lock(mutex);
        wake.wait_for(lock, stop, time, [] { return false; });
    };
}

void Retries::run(const std::function<void()>& attempt, const std::stop_token& stop) const
{
    static constexpr std::array waits{500ms, 1000ms, 2000ms, 4000ms, 8000ms};
    thread_local std::minstd_rand random{std::random_device()()};
    for (std::size_t failures = 0;; ++failures) {
        try {
            return attempt();
        } catch (const StoreError& error) {
            if (error.kind() != StoreError::Kind::passing || failures == waits.size())
                throw;
        }
        const auto wait = waits[failures];
        m_pause(wait + wait * std::uniform_int_distribution(0, 25)(random) / 100, stop);
        if (stop.stop_requested())
            throw Cancelled();
    }
}

std::string percentEncoded(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        const bool isPlain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')
            || std::string_view("-._~").contains(c);
        if (isPlain)
            result += c;
        else
            result += std::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return result;
}

} // namespace orvo::server
