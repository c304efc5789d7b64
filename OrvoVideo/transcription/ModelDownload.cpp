#include "OrvoVideo/transcription/SpeechModels.h"
#include "Platform/proxy/SystemProxy.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileLock.h"
#include "VideoMedia/Sha256.h"

#include <array>
#include <curl/curl.h>
#include <fcntl.h>
#include <format>
#include <fstream>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace orvo::SpeechModels {

namespace fs = std::filesystem;

namespace {

constexpr long connectSeconds = 20;
constexpr long stalledSeconds = 30; ///< Maximum time without data.
constexpr long refusedByProxy = 300; ///< A proxy that answers with this status or a higher one refuses the connection.
constexpr std::uint64_t reserve = 20'000'000; ///< Bytes of disk space to keep free.

/// The partial file of a download, locked by one download at a time.
class PartialFile {
public:
    explicit PartialFile(fs::path path)
        : m_path(std::move(path))
        , m_lock(UniqueFd(::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)))
        , m_descriptor(m_lock.descriptor())
    {
        if (m_descriptor < 0)
            fail();
        struct stat held{};
        struct stat named{};
        // The previous holder may have renamed it to the finished model.
        if (!m_lock.tryLock() || ::fstat(m_descriptor, &held) != 0 || ::stat(m_path.c_str(), &named) != 0
            || held.st_ino != named.st_ino)
            throw captureError("El modelo de voz ya se está descargando.");
    }

    std::uint64_t size() const { return fs::file_size(m_path); }
    const fs::path& path() const { return m_path; }

    void truncate()
    {
        if (::ftruncate(m_descriptor, 0) != 0)
            fail();
    }
    void append(std::string_view bytes)
    {
        if (::lseek(m_descriptor, 0, SEEK_END) < 0)
            fail();
        while (!bytes.empty()) {
            const auto written = ::write(m_descriptor, bytes.data(), bytes.size());
            if (written < 0)
                fail();
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
    }
    void finish(const fs::path& target)
    {
        if (::fsync(m_descriptor) != 0)
            fail();
        fs::rename(m_path, target);
    }

private:
    [[noreturn]] void fail() const
    {
        throw fs::filesystem_error("download", m_path, std::error_code(errno, std::generic_category()));
    }

    fs::path m_path;
    FileLock m_lock;
    int m_descriptor; ///< Owned by `m_lock`.
};

std::string sha256(const fs::path& file, const std::stop_token& stop)
{
    Sha256 sum;
    std::ifstream in(file, std::ios::binary);
    std::array<char, 65'536> buffer{};
    while (in.read(buffer.data(), buffer.size()) || in.gcount() > 0) {
        if (stop.stop_requested())
            throw Cancelled();
        sum.add({buffer.data(), static_cast<std::size_t>(in.gcount())});
    }
    return sum.finish();
}

/// One request for the missing part of a model.
class Transfer {
public:
    Transfer(const SpeechModel& model, PartialFile& file, const ProgressCallback& progress, const std::stop_token& stop)
        : m_model(model)
        , m_file(file)
        , m_progress(progress)
        , m_stop(stop)
    {
    }

    void run()
    {
        static std::once_flag once;
        std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
        const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> request(curl_easy_init(), curl_easy_cleanup);
        if (!request)
            throw captureError("No se ha podido preparar la descarga del modelo de voz.");
        m_request = request.get();
        m_before = m_file.size();
        const auto set = [&](CURLoption option, auto value) { curl_easy_setopt(m_request, option, value); };
        set(CURLOPT_URL, m_model.address.c_str());
        // The publisher redirects to its storage; the proxy is used for both.
        const std::string proxy = SystemProxy::of(m_model.address, m_stop);
        if (!proxy.empty())
            set(CURLOPT_PROXY, proxy.c_str());
        set(CURLOPT_FOLLOWLOCATION, 1L);
        set(CURLOPT_MAXREDIRS, 10L);
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        // A download that starts over HTTPS must not be redirected to HTTP.
        set(CURLOPT_REDIR_PROTOCOLS_STR, m_model.address.starts_with("https:") ? "https" : "http,https");
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_FAILONERROR, 1L);
        set(CURLOPT_CONNECTTIMEOUT, connectSeconds);
        set(CURLOPT_LOW_SPEED_LIMIT, 1L);
        set(CURLOPT_LOW_SPEED_TIME, stalledSeconds);
        const std::string range = std::format("{}-", m_before);
        if (m_before > 0)
            set(CURLOPT_RANGE, range.c_str());
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_WRITEFUNCTION, static_cast<size_t (*)(char*, size_t, size_t, void*)>(take));
        set(CURLOPT_NOPROGRESS, 0L);
        set(CURLOPT_XFERINFODATA, this);
        set(CURLOPT_XFERINFOFUNCTION,
            static_cast<int (*)(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t)>(
                [](void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
                    return static_cast<const Transfer*>(self)->m_stop.stop_requested() ? 1 : 0;
                }));
        const CURLcode code = curl_easy_perform(m_request);
        if (m_stop.stop_requested())
            throw Cancelled();
        if (m_failure)
            std::rethrow_exception(m_failure);
        if (code != CURLE_OK)
            failWith(code);
    }

private:
    static size_t take(char* bytes, size_t size, size_t count, void* self)
    {
        return static_cast<Transfer*>(self)->take({bytes, size * count}) ? size * count : 0;
    }

    bool take(std::string_view bytes)
    {
        try {
            if (std::exchange(m_first, false)) {
                // A server without range support sends the whole file again.
                long status = 0;
                curl_easy_getinfo(m_request, CURLINFO_RESPONSE_CODE, &status);
                requireLength(m_before > 0 && status == 206 ? m_model.size - m_before : m_model.size);
                if (m_before > 0 && status != 206) {
                    m_file.truncate();
                    m_before = 0;
                }
                m_there = m_before;
            }
            m_there += bytes.size();
            if (m_there > m_model.size)
                throw captureError("El servidor de modelos ha enviado otro archivo. Inténtalo más tarde.");
            m_file.append(bytes);
            if (m_progress)
                m_progress(static_cast<double>(m_there) / static_cast<double>(m_model.size));
            return true;
        } catch (...) {
            m_failure = std::current_exception();
            return false;
        }
    }

    /// Another length means another file; keeps the partial file.
    void requireLength(std::uint64_t wanted) const
    {
        curl_off_t length = -1;
        curl_easy_getinfo(m_request, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        if (length >= 0 && static_cast<std::uint64_t>(length) != wanted)
            throw captureError("El servidor de modelos ha enviado otro archivo. Inténtalo más tarde.");
    }

    bool failedAtProxy(CURLcode code) const
    {
        if (code == CURLE_COULDNT_RESOLVE_PROXY || code == CURLE_PROXY)
            return true;
        long used = 0;
        long status = 0;
        curl_easy_getinfo(m_request, CURLINFO_USED_PROXY, &used);
        curl_easy_getinfo(m_request, CURLINFO_HTTP_CONNECTCODE, &status);
        return used != 0 && (code == CURLE_COULDNT_CONNECT || status >= refusedByProxy);
    }

    [[noreturn]] void failWith(CURLcode code) const
    {
        const std::string help = std::format(
            " Inténtalo de nuevo más tarde: se sigue por donde iba. También puedes copiar el archivo {} en la carpeta {}.",
            m_model.file, m_file.path().parent_path().string());
        if (failedAtProxy(code))
            throw captureError(
                "No se ha podido descargar el modelo de voz: el proxy del sistema no deja llegar al servidor. "
                "Revisa la configuración de red."
                + help);
        switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
            throw captureError("No se ha podido descargar el modelo de voz: no hay conexión con el servidor." + help);
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_PARTIAL_FILE:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
            throw captureError("La descarga del modelo de voz se ha interrumpido." + help);
        case CURLE_HTTP_RETURNED_ERROR: {
            long status = 0;
            curl_easy_getinfo(m_request, CURLINFO_RESPONSE_CODE, &status);
            throw captureError(std::format("El servidor no entrega el modelo de voz (respuesta {}).", status) + help);
        }
        default:
            throw captureError(
                std::format("No se ha podido descargar el modelo de voz ({}).", curl_easy_strerror(code)) + help);
        }
    }

    const SpeechModel& m_model;
    PartialFile& m_file;
    const ProgressCallback& m_progress;
    const std::stop_token& m_stop;
    CURL* m_request = nullptr;
    std::uint64_t m_before = 0; ///< Bytes present before this request.
    std::uint64_t m_there = 0;
    bool m_first = true;
    std::exception_ptr m_failure;
};

} // namespace

fs::path download(
    const SpeechModel& model, const fs::path& folder, const ProgressCallback& progress, const std::stop_token& stop)
{
    fs::create_directories(folder);
    const fs::path target = folder / model.file;
    PartialFile file(folder / (model.file + ".part"));
    if (file.size() > model.size)
        file.truncate();
    const auto space = fs::space(folder);
    if (space.available < model.size - file.size() + reserve)
        throw captureError(std::format("No hay sitio para el modelo de voz: hacen falta {} MB libres en {}.",
            (model.size + reserve) / 1'000'000, folder.string()));
    if (file.size() < model.size)
        Transfer(model, file, progress, stop).run();
    if (file.size() < model.size)
        throw captureError("La descarga del modelo de voz se ha interrumpido. Inténtalo de nuevo: se sigue por donde iba.");
    if (sha256(file.path(), stop) != model.sha256) {
        // No part of the file can be trusted.
        std::error_code ignored;
        fs::remove(file.path(), ignored);
        throw captureError("El modelo de voz descargado no es el publicado y se ha borrado. Inténtalo de nuevo.");
    }
    file.finish(target);
    return target;
}

} // namespace orvo::SpeechModels
