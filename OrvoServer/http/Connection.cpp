#include "OrvoServer/http/Connection.h"

#include "OrvoServer/http/RequestHead.h"
#include "VideoCore/Error.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <format>
#include <type_traits>
#include <vector>

namespace orvo::server {

namespace asio = boost::asio;
using std::chrono::steady_clock;

namespace {

constexpr std::size_t firstRead = 512; ///< The buffer of an idle connection.
constexpr std::size_t bodyStep = std::size_t{256} << 10U;
constexpr std::uint64_t maxSkipped = std::uint64_t{64} << 10U;

/// Runs `work` on a thread of the pool. Returns its result, or rethrows its exception, on the caller's strand.
template <class Work> asio::awaitable<std::invoke_result_t<Work&>> onPool(asio::thread_pool& pool, Work work)
{
    using Result = std::invoke_result_t<Work&>;
    co_return co_await asio::co_spawn(pool, [&work] -> asio::awaitable<Result> { co_return work(); }, asio::use_awaitable);
}

std::string_view reasonOf(unsigned status)
{
    switch (status) {
    case 200:
        return "OK";
    case 201:
        return "Created";
    case 204:
        return "No Content";
    case 206:
        return "Partial Content";
    case 302:
        return "Found";
    case 303:
        return "See Other";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 409:
        return "Conflict";
    case 413:
        return "Content Too Large";
    case 416:
        return "Range Not Satisfiable";
    case 422:
        return "Unprocessable Content";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    case 502:
        return "Bad Gateway";
    case 503:
        return "Service Unavailable";
    case 507:
        return "Insufficient Storage";
    default:
        return "Status";
    }
}

std::string headOf(const Response& response, bool keepAlive)
{
    std::string head = std::format(
        "HTTP/1.1 {} {}\r\nDate: {:%a, %d %b %Y %H:%M:%S} GMT\r\nX-Content-Type-Options: nosniff\r\n", response.status,
        reasonOf(response.status), std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));
    for (const auto& [name, value] : response.headers) {
        head.append(name).append(": ");
        // A value must not break out of its line.
        std::ranges::transform(value, std::back_inserter(head),
            [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c; });
        head += "\r\n";
    }
    if (response.status != 204 && response.status != 304)
        head += std::format("Content-Length: {}\r\n", response.bodySize());
    head += keepAlive ? "\r\n" : "Connection: close\r\n\r\n";
    return head;
}

} // namespace

Connection::Connection(Socket socket, std::shared_ptr<ssl_ctx_st> tls, Peer peer, ConnectionShared shared)
    : m_shared(shared)
    , m_transport(std::move(socket), std::move(tls))
    , m_peer(std::move(peer))
{
}

void Connection::endIfIdle()
{
    if (m_isIdle)
        end();
}

steady_clock::time_point Connection::deadlineFor(std::uint64_t bytes) const
{
    return steady_clock::now() + std::chrono::seconds(60 + bytes / std::max<std::uint64_t>(1, m_shared.limits.minRate));
}

asio::awaitable<void> Connection::run()
{
    m_transport.setDeadline(steady_clock::now() + m_shared.limits.headTime);
    if (!co_await m_transport.handshake(m_shared.limits.headTime))
        co_return;
    bool goesOn = true;
    while (goesOn && !m_shared.isStopping) {
        const std::size_t length = co_await readHead();
        if (length == 0)
            break;
        m_isIdle = false;
        auto head = length > maxHeadBytes ? BadHead{.status = 431} : parseHead(std::string_view(m_input).substr(0, length));
        m_input.erase(0, std::min(length, m_input.size()));
        if (const auto* bad = std::get_if<BadHead>(&head)) {
            ++m_shared.metrics.badRequests;
            co_await send(errorResponse(bad->status, "La petición no es válida."), Method::get, false);
            co_await linger();
            break;
        }
        goesOn = co_await serve(std::get<Request>(std::move(head)));
        m_isIdle = true;
        if (m_input.empty() && m_input.capacity() > firstRead)
            std::string().swap(m_input);
    }
    if (m_transport.hasTimedOut())
        ++m_shared.metrics.timeouts;
    m_transport.finishSending();
    m_transport.close();
}

asio::awaitable<std::size_t> Connection::readHead()
{
    constexpr std::string_view blankLine = "\r\n\r\n";
    m_transport.setDeadline(steady_clock::time_point::max());
    std::size_t searched = 0;
    if (!m_input.empty())
        m_transport.setDeadline(steady_clock::now() + m_shared.limits.headTime);
    while (true) {
        const auto end = m_input.find(blankLine, searched);
        if (end != std::string::npos)
            co_return end + blankLine.size();
        if (m_input.size() > maxHeadBytes)
            co_return m_input.size();
        searched = m_input.size() < 3 ? 0 : m_input.size() - 3;
        const std::size_t have = m_input.size();
        m_input.resize(have + (have == 0 ? firstRead : 4096));
        const std::size_t count = co_await m_transport.read(
            std::span(m_input).subspan(have), have == 0 ? m_shared.limits.idleTime : m_shared.limits.headTime);
        m_input.resize(have + count);
        if (count == 0)
            co_return 0;
        if (have == 0) {
            m_isIdle = false;
            m_transport.setDeadline(steady_clock::now() + m_shared.limits.headTime);
        }
    }
}

asio::awaitable<std::size_t> Connection::readSome(std::span<char> into)
{
    if (m_input.empty())
        co_return co_await m_transport.read(into, m_shared.limits.silence);
    const std::size_t count = std::min(into.size(), m_input.size());
    std::ranges::copy_n(m_input.begin(), static_cast<std::ptrdiff_t>(count), into.begin());
    m_input.erase(0, count);
    co_return count;
}

asio::awaitable<bool> Connection::skip(std::uint64_t count)
{
    std::vector<char> buffer(std::min<std::uint64_t>(count, 16384));
    while (count > 0) {
        const std::size_t read = co_await readSome(std::span(buffer).first(std::min<std::uint64_t>(count, buffer.size())));
        if (read == 0)
            co_return false;
        count -= read;
    }
    co_return true;
}

asio::awaitable<bool> Connection::confirm(const Request& request)
{
    if (!equalsIgnoringCase(request.headers["Expect"], "100-continue") || request.contentLength == 0)
        co_return true;
    co_return co_await m_transport.write("HTTP/1.1 100 Continue\r\n\r\n", m_shared.limits.silence);
}

asio::awaitable<bool> Connection::serve(Request request)
{
    const auto began = steady_clock::now();
    request.peer = m_peer.address;
    if (m_peer.isTrusted) {
        const std::string_view chain = request.headers["X-Forwarded-For"];
        const auto comma = chain.rfind(',');
        auto last = comma == std::string_view::npos ? chain : chain.substr(comma + 1);
        while (last.starts_with(' '))
            last.remove_prefix(1);
        if (!last.empty() && last.size() <= 64)
            request.peer = last;
    }
    m_transport.setDeadline(deadlineFor(request.contentLength));
    bool hasBodyLeft = request.contentLength > 0;
    Plan plan = m_shared.handler.plan(request);
    Response response;
    try {
        if (const auto* work = std::get_if<Plan::Answer>(&plan.what))
            response = co_await answer(*work, request, hasBodyLeft);
        else if (const auto* upload = std::get_if<Plan::Stream>(&plan.what))
            response = co_await stream(*upload, request, hasBodyLeft);
        else
            response = std::get<Response>(std::move(plan.what));
    } catch (const Cancelled&) {
        co_return false; // The server is stopping.
    } catch (const std::exception& error) {
        response = m_shared.handler.failure(error);
    }
    if (response.status == 0) // The client disconnected within its body.
        co_return false;
    if (hasBodyLeft && request.contentLength <= maxSkipped && !response.closes && request.headers.count("Expect") == 0)
        hasBodyLeft = !co_await skip(request.contentLength);
    const bool keepAlive = request.isKeptAlive && !hasBodyLeft && !response.closes && !m_shared.isStopping;
    m_transport.setDeadline(deadlineFor(response.bodySize()));
    const bool isSent = co_await send(response, request.method, keepAlive);
    if (plan.isLogged) {
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - began);
        m_shared.log.info("request",
            {{"method", nameOf(request.method)}, {"route", plan.route}, {"status", std::uint64_t{response.status}},
                {"milliseconds", std::int64_t{took.count()}}, {"received", request.contentLength},
                {"sent", response.bodySize()}});
    }
    if (isSent && !keepAlive && hasBodyLeft)
        co_await linger();
    co_return isSent&& keepAlive;
}

asio::awaitable<Response> Connection::answer(const Plan::Answer& plan, Request& request, bool& hasBodyLeft)
{
    if (request.contentLength > plan.bodyLimit)
        co_return errorResponse(413, "La petición es demasiado grande.");
    if (!co_await confirm(request))
        co_return Response{.status = 0};
    request.body.reserve(request.contentLength);
    std::vector<char> buffer(std::min<std::uint64_t>(request.contentLength, 65536));
    while (request.body.size() < request.contentLength) {
        const auto left = request.contentLength - request.body.size();
        const std::size_t count = co_await readSome(std::span(buffer).first(std::min<std::uint64_t>(left, buffer.size())));
        if (count == 0)
            co_return Response{.status = 0};
        request.body.append(buffer.data(), count);
    }
    hasBodyLeft = false;
    m_shared.metrics.bytesReceived += request.contentLength;
    auto& pool = plan.where == Plan::Where::workers ? m_shared.workers : m_shared.fetchers;
    co_return co_await onPool(pool, [&] { return plan.answer(request); });
}

asio::awaitable<Response> Connection::stream(const Plan::Stream& plan, const Request& request, bool& hasBodyLeft)
{
    if (!request.hasContentLength)
        co_return errorResponse(411, "La petición debe decir su longitud.");
    if (request.contentLength > plan.bodyLimit)
        co_return errorResponse(413, "El fragmento es demasiado grande.");
    std::unique_ptr<BodySink> sink = co_await onPool(m_shared.workers, [&] { return plan.open(request); });
    if (!co_await confirm(request))
        co_return Response{.status = 0};
    std::vector<char> buffer(std::min<std::uint64_t>(request.contentLength, bodyStep));
    std::uint64_t left = request.contentLength;
    bool isWanted = true;
    while (left > 0 && isWanted) {
        // Passes on full steps, and the received rest if the client disconnects.
        std::size_t filled = 0;
        const std::size_t step = std::min<std::uint64_t>(left, buffer.size());
        while (filled < step) {
            const std::size_t count = co_await readSome(std::span(buffer).subspan(filled, step - filled));
            if (count == 0)
                break;
            filled += count;
        }
        const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(buffer.data()), filled);
        isWanted = co_await onPool(m_shared.workers, [&] { return sink->write(bytes); });
        m_shared.metrics.bytesReceived += filled;
        left -= filled;
        if (filled < step) {
            co_await onPool(m_shared.workers, [&] {
                sink.reset();
                return true;
            });
            co_return Response{.status = 0};
        }
    }
    hasBodyLeft = left > 0;
    co_return co_await onPool(m_shared.workers, [&] {
        Response response = sink->finish();
        sink.reset();
        return response;
    });
}

asio::awaitable<bool> Connection::send(const Response& response, Method method, bool keepAlive)
{
    ++m_shared.metrics.responses.at(std::min<std::size_t>(response.status / 100, 5));
    const std::string head = headOf(response, keepAlive);
    const auto silence = m_shared.limits.silence;
    const std::uint64_t size = response.bodySize();
    const bool hasBody = method != Method::head && size > 0 && response.status != 204 && response.status != 304;
    if (!hasBody)
        co_return co_await m_transport.write(head, silence);
    m_shared.metrics.bytesSent += size;
    if (const auto* file = std::get_if<FileBody>(&response.body))
        co_return co_await m_transport.write(head, silence, true) && co_await m_transport.sendFile(*file, silence);
    const auto* text = std::get_if<std::string>(&response.body);
    const std::string_view body = text ? std::string_view(*text) : std::get<std::string_view>(response.body);
    if (body.size() <= 16384)
        co_return co_await m_transport.write(head + std::string(body), silence);
    co_return co_await m_transport.write(head, silence, true) && co_await m_transport.write(body, silence);
}

asio::awaitable<void> Connection::linger()
{
    m_transport.finishSending();
    m_transport.setDeadline(steady_clock::now() + std::chrono::seconds(5));
    co_await skip(std::uint64_t{16} << 20U);
}

} // namespace orvo::server
