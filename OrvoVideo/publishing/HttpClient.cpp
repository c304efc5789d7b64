#include "OrvoVideo/publishing/HttpClient.h"

#include "Platform/proxy/SystemProxy.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <curl/curl.h>
#include <format>
#include <functional>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>

namespace orvo {

namespace {

constexpr long uploadBuffer = 64L << 10; ///< Bytes given to the connection at a time.
constexpr int maxWait = 1'000; ///< Milliseconds between two checks of the limits.
constexpr long refusedByProxy = 300; ///< A proxy that answers with this status or a higher one refuses the connection.

struct Deleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

void initialise()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string part(CURLU* url, CURLUPart which, unsigned flags = 0)
{
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK)
        return {};
    std::string result(text);
    curl_free(text);
    return result;
}

using Url = std::unique_ptr<CURLU, Deleter>;

Url parsed(const std::string& text)
{
    Url url(curl_url());
    if (!url)
        throw std::bad_alloc();
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
        return nullptr;
    return url;
}

std::string hostOf(const std::string& address)
{
    const Url url = parsed(address);
    return url ? part(url.get(), CURLUPART_HOST) : std::string();
}

/// Whether libcurl supports the proxy's scheme. No scheme means HTTP.
bool isUsable(const std::string& proxy)
{
    const auto length = proxy.find("://");
    const auto isScheme = [&](std::string_view known) {
        return known.size() == length && curl_strnequal(proxy.c_str(), known.data(), length) != 0;
    };
    constexpr std::array<std::string_view, 7> known{"http", "https", "socks", "socks4", "socks4a", "socks5", "socks5h"};
    return length == std::string::npos || std::ranges::any_of(known, isScheme);
}

/// A proxy for display: host and port, without credentials.
std::string shownProxy(const std::string& address)
{
    const Url url(curl_url());
    if (!url)
        throw std::bad_alloc();
    curl_url_set(url.get(), CURLUPART_URL, address.c_str(), CURLU_NON_SUPPORT_SCHEME | CURLU_GUESS_SCHEME);
    const std::string port = part(url.get(), CURLUPART_PORT);
    return part(url.get(), CURLUPART_HOST) + (port.empty() ? "" : ":" + port);
}

/// The route of a failed request, and how far it got.
struct Way {
    std::string host;
    std::string proxy; ///< Empty for none.
    long proxyStatus = 0; ///< The response of an HTTP proxy; 0 for none.
    bool isEncrypted = false; ///< The server itself was reached.
};

/// The message for the user if the proxy caused the failure; else nullopt.
std::optional<std::string> proxyFailureText(CURLcode code, const Way& way)
{
    if (way.proxy.empty())
        return std::nullopt;
    const auto advised = [&](std::string_view what) {
        return std::format("{} Revisa la configuración de red del sistema.", what);
    };
    if (way.proxyStatus >= refusedByProxy)
        return std::format("El proxy «{}» no deja llegar al servidor «{}» ({}).", way.proxy, way.host, way.proxyStatus);
    if (way.proxyStatus != 0 || way.isEncrypted)
        return std::nullopt;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
        return advised(std::format("No se encuentra el proxy «{}».", way.proxy));
    case CURLE_COULDNT_CONNECT:
        return advised(std::format("No hay conexión con el proxy «{}».", way.proxy));
    case CURLE_PROXY:
        return std::format("El proxy «{}» no deja llegar al servidor «{}».", way.proxy, way.host);
    case CURLE_OPERATION_TIMEDOUT:
        return advised(std::format("El proxy «{}» no responde.", way.proxy));
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
        return advised(std::format("El proxy «{}» ha cortado la conexión.", way.proxy));
    default:
        return std::nullopt;
    }
}

/// The message for the user about a request without a response.
std::string failureText(CURLcode code, const std::string& host)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
        return std::format("No se encuentra el servidor «{}». Comprueba la dirección y la conexión a Internet.", host);
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_PROXY:
        return "No se puede usar el proxy configurado en el sistema.";
    case CURLE_COULDNT_CONNECT:
        return std::format("No hay conexión con el servidor «{}».", host);
    case CURLE_OPERATION_TIMEDOUT:
        return std::format("El servidor «{}» no responde.", host);
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return std::format("El certificado del servidor «{}» no es de confianza.", host);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
        return std::format("No se ha podido establecer una conexión segura con el servidor «{}».", host);
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_FAIL_REWIND:
        return std::format("Se ha cortado la conexión con el servidor «{}».", host);
    case CURLE_WRITE_ERROR:
        return std::format("El servidor «{}» ha enviado una respuesta demasiado grande.", host);
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
        return "La dirección del servicio no se puede usar: escribe una que empiece por https://.";
    default:
        return std::format("No se ha podido hablar con el servidor «{}» ({}).", host, curl_easy_strerror(code));
    }
}

/// The body of a response as it arrives.
struct Received {
    std::string bytes;
    std::size_t limit = 0;

    static size_t take(char* bytes, size_t size, size_t count, void* self)
    {
        auto& received = *static_cast<Received*>(self);
        if (received.bytes.size() + size * count > received.limit)
            return CURL_WRITEFUNC_ERROR;
        received.bytes.append(bytes, size * count);
        return size * count;
    }
};

/// The body of a request as it is sent. It cannot be rewound: libcurl would silently repeat an interrupted request,
/// although the server may have stored a part of it.
struct Sent {
    std::span<const char> left;

    static size_t give(char* into, size_t size, size_t count, void* self)
    {
        auto& left = static_cast<Sent*>(self)->left;
        const std::size_t length = std::min(size * count, left.size());
        std::copy_n(left.data(), length, into);
        left = left.subspan(length);
        return length;
    }
};

std::unique_ptr<curl_slist, Deleter> headerList(const HttpRequest& request)
{
    std::unique_ptr<curl_slist, Deleter> list;
    const auto add = [&](const std::string& line) {
        curl_slist* longer = curl_slist_append(list.get(), line.c_str());
        if (!longer)
            throw std::bad_alloc();
        [[maybe_unused]] const auto* same = list.release();
        list.reset(longer);
    };
    // Waiting for "100 Continue" costs a second with a server that does not send it.
    add("Expect:");
    for (const auto& [name, value] : request.headers)
        add(std::format("{}: {}", name, value));
    return list;
}

Way wayOf(CURL* easy, const std::string& host, const std::string& proxy)
{
    Way way{.host = host, .proxy = {}};
    long usedProxy = 0; // 0 where the environment exempts the server.
    curl_easy_getinfo(easy, CURLINFO_USED_PROXY, &usedProxy);
    if (usedProxy != 0)
        way.proxy = shownProxy(proxy);
    curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &way.proxyStatus);
    curl_off_t encrypted = 0;
    curl_easy_getinfo(easy, CURLINFO_APPCONNECT_TIME_T, &encrypted);
    way.isEncrypted = encrypted > 0;
    return way;
}

} // namespace

struct HttpClient::Handles {
    CURLM* multi = curl_multi_init();
    CURL* easy = curl_easy_init();

    Handles()
    {
        if (!multi || !easy)
            throw std::bad_alloc();
    }
    ~Handles()
    {
        curl_easy_cleanup(easy);
        curl_multi_cleanup(multi);
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
};

HttpClient::HttpClient(const Limits& limits)
    : m_limits(limits)
{
    initialise();
    m_handles = std::make_unique<Handles>();
}

HttpClient::~HttpClient() = default;

HttpResponse HttpClient::send(const HttpRequest& request, const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    const std::string host = hostOf(request.url);
    const auto headers = headerList(request);
    Received received{.bytes = {}, .limit = m_limits.answer};
    Sent sent{.left = request.body};
    CURL* const easy = m_handles->easy;
    const auto set = [&](CURLoption option, auto value) { curl_easy_setopt(easy, option, value); };
    curl_easy_reset(easy);
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION,
        static_cast<long>(CURL_HTTP_VERSION_1_1)); // NOLINT(*-redundant-casting): an enumerator before 8.16.
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(m_limits.silence.count()));
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_limits.silence.count()));
    set(CURLOPT_TIMEOUT, static_cast<long>(m_limits.whole.count()));
    set(CURLOPT_UPLOAD_BUFFERSIZE, uploadBuffer);
    set(CURLOPT_HTTPHEADER, headers.get());
    // Keeps the headers for the server away from proxies.
    set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    set(CURLOPT_USERAGENT, "OrvoVideo");
    const std::string proxy = host == "localhost" ? "" : proxyFor(request.url, stop);
    if (host == "localhost" || !proxy.empty())
        set(CURLOPT_PROXY, proxy.c_str());
    if (const char* file = std::getenv("SSL_CERT_FILE"); file && *file)
        set(CURLOPT_CAINFO, file);
    if (const char* folder = std::getenv("SSL_CERT_DIR"); folder && *folder)
        set(CURLOPT_CAPATH, folder);
    set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
    if (request.hasBody) {
        set(CURLOPT_UPLOAD, 1L);
        set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
        set(CURLOPT_READDATA, &sent);
        set(CURLOPT_READFUNCTION, &Sent::give);
    }
    set(CURLOPT_WRITEDATA, &received);
    set(CURLOPT_WRITEFUNCTION, &Received::take);

    CURLM* const multi = m_handles->multi;
    curl_multi_add_handle(multi, easy);
    CURLcode code = CURLE_OK;
    {
        struct Removal {
            CURLM* multi;
            CURL* easy;
            ~Removal() { curl_multi_remove_handle(multi, easy); }
        };
        const Removal removal{.multi = multi, .easy = easy};
        const std::stop_callback wake(stop, [multi] { curl_multi_wakeup(multi); });
        for (int running = 1; running > 0 && !stop.stop_requested();) {
            CURLMcode result = curl_multi_perform(multi, &running);
            if (result == CURLM_OK && running > 0)
                result = curl_multi_poll(multi, nullptr, 0, maxWait, nullptr);
            if (result != CURLM_OK)
                throw TransportError(result, std::format("No se ha podido hablar con el servidor «{}».", host));
        }
        if (stop.stop_requested())
            set(CURLOPT_QUICK_EXIT, 1L); // Does not wait for a name look-up.
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
            if (message->msg == CURLMSG_DONE)
                code = message->data.result;
        }
        if (stop.stop_requested())
            throw Cancelled();
        if (code != CURLE_OK)
            throw TransportError(code, proxyFailureText(code, wayOf(easy, host, proxy)).value_or(failureText(code, host)));
    }
    HttpResponse response{.status = 0, .body = std::move(received.bytes), .location = {}};
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &response.status);
    const char* location = nullptr;
    curl_easy_getinfo(easy, CURLINFO_REDIRECT_URL, &location);
    if (location)
        response.location = location;
    return response;
}

const std::string& HttpClient::proxyFor(const std::string& url, const std::stop_token& stop)
{
    const std::string origin = originOf(url);
    const auto known = m_proxies.find(origin);
    if (known != m_proxies.end())
        return known->second;
    std::string proxy = SystemProxy::of(url, stop);
    if (!isUsable(proxy))
        throw TransportError(CURLE_COULDNT_RESOLVE_PROXY,
            std::format("El proxy «{}» es de una clase que no se puede usar. Revisa la configuración de red del sistema.",
                shownProxy(proxy)));
    return m_proxies.emplace(origin, std::move(proxy)).first->second;
}

std::string originOf(const std::string& url)
{
    const Url address = parsed(url);
    if (!address)
        return {};
    return std::format("{}://{}:{}", part(address.get(), CURLUPART_SCHEME), part(address.get(), CURLUPART_HOST),
        part(address.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT));
}

std::string appendPath(const std::string& base, const std::string& path)
{
    const Url url = parsed(base);
    if (!url)
        return {};
    std::string whole = part(url.get(), CURLUPART_PATH);
    while (whole.ends_with('/'))
        whole.pop_back();
    whole += "/" + path;
    curl_url_set(url.get(), CURLUPART_PATH, whole.c_str(), 0);
    return part(url.get(), CURLUPART_URL);
}

std::string pathSegment(const std::string& text)
{
    initialise();
    char* escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
    if (!escaped)
        throw std::bad_alloc();
    std::string result(escaped);
    curl_free(escaped);
    return result;
}

} // namespace orvo
