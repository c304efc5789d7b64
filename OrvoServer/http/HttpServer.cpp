#include "OrvoServer/http/HttpServer.h"

#include "OrvoServer/http/Connection.h"
#include "VideoCore/Error.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <deque>
#include <format>
#include <map>
#include <mutex>
#include <ranges>
#include <thread>

namespace orvo::server {

namespace asio = boost::asio;
using Acceptor = asio::basic_socket_acceptor<asio::ip::tcp, Strand>;

namespace {

asio::ip::address addressOf(const std::string& host)
{
    boost::system::error_code error;
    auto address = asio::ip::make_address(host == "localhost" ? "127.0.0.1" : host, error);
    if (error)
        throw captureError(
            std::format("«{}» no es una dirección en la que escuchar: usa un número como 127.0.0.1 o 0.0.0.0.", host));
    return address;
}

/// The address for limits; for IPv6, the customer's /64 network.
std::string limitedAddress(asio::ip::address address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        address = asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
    if (address.is_v4())
        return address.to_string();
    auto bytes = address.to_v6().to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), std::uint8_t{0});
    return asio::ip::address_v6(bytes).to_string();
}

/// Waits for its own sockets, on one thread. Threads that share one hand each event over to another, which costs a switch.
struct IoContext : asio::io_context {
    IoContext()
        : asio::io_context(1)
    {
    }
};

} // namespace

struct HttpServer::State {
    State(RequestHandler& handlerToAsk, HttpLimits limitsToKeep, Log& logToWrite, Metrics& metricsToCount)
        : limits(std::move(limitsToKeep))
        , log(logToWrite)
        , metrics(metricsToCount)
        , workers(std::max(4U, std::thread::hardware_concurrency() * 2))
        , fetchers(16)
        , contexts(std::max(1U, std::thread::hardware_concurrency()))
        , stopTimer(contexts.front())
        , shared{handlerToAsk, limits, log, metrics, workers, fetchers, isStopping}
    {
    }

    asio::awaitable<void> accept(Acceptor& acceptor, std::shared_ptr<TlsCertificate> certificate);
    void admit(Socket socket, const std::shared_ptr<TlsCertificate>& certificate);
    void left(const Connection* connection, const std::string& counted);
    void forEachConnection(void (*call)(Connection&));

    const HttpLimits limits;
    Log& log;
    Metrics& metrics;
    std::atomic<bool> isStopping = false;
    asio::thread_pool workers;
    asio::thread_pool fetchers;
    std::deque<IoContext> contexts; ///< The first one accepts.
    std::size_t nextContext = 0; ///< Used by the accepting thread only.
    asio::steady_timer stopTimer; ///< On no strand; used only under the mutex.
    ConnectionShared shared;
    std::vector<std::unique_ptr<Acceptor>> acceptors;
    std::mutex mutex; ///< Guards the members below.
    std::map<const Connection*, std::pair<std::weak_ptr<Connection>, Strand>> connections;
    std::map<std::string, std::size_t> ofPeer;
};

HttpServer::HttpServer(RequestHandler& handler, HttpLimits limits, Log& log, Metrics& metrics)
    : m_state(std::make_unique<State>(handler, std::move(limits), log, metrics))
{
}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::listen(const std::string& host, std::uint16_t port, std::shared_ptr<TlsCertificate> certificate)
{
    const asio::ip::tcp::endpoint endpoint(addressOf(host), port);
    auto acceptor = std::make_unique<Acceptor>(asio::make_strand(m_state->contexts.front()));
    try {
        acceptor->open(endpoint.protocol());
        acceptor->set_option(Acceptor::reuse_address(true));
        acceptor->bind(endpoint);
        acceptor->listen(4096);
    } catch (const boost::system::system_error& error) {
        throw captureError(std::format(
            "No se puede escuchar en {}:{} ({}). Quizá otro programa usa ese puerto.", host, port, error.code().message()));
    }
    const std::uint16_t bound = acceptor->local_endpoint().port();
    asio::co_spawn(acceptor->get_executor(), m_state->accept(*acceptor, std::move(certificate)), asio::detached);
    m_state->acceptors.push_back(std::move(acceptor));
    return bound;
}

asio::awaitable<void> HttpServer::State::accept(Acceptor& acceptor, std::shared_ptr<TlsCertificate> certificate)
{
    asio::steady_timer pause(acceptor.get_executor());
    while (acceptor.is_open()) {
        Socket socket(asio::make_strand(contexts[nextContext++ % contexts.size()]));
        const auto [error] = co_await acceptor.async_accept(socket, asio::as_tuple(asio::use_awaitable));
        if (!error) {
            admit(std::move(socket), certificate);
            continue;
        }
        if (!acceptor.is_open())
            break;
        // Probably out of descriptors: the connection stays in the system's queue.
        log.warning("accept-failed", {{"reason", std::string_view(error.message())}});
        pause.expires_after(std::chrono::milliseconds(100));
        co_await pause.async_wait(asio::as_tuple(asio::use_awaitable));
    }
}

void HttpServer::State::admit(Socket socket, const std::shared_ptr<TlsCertificate>& certificate)
{
    boost::system::error_code error;
    const auto endpoint = socket.remote_endpoint(error);
    if (error)
        return;
    const bool isTrusted =
        endpoint.address().is_loopback() || std::ranges::contains(limits.trustedProxies, endpoint.address().to_string());
    Connection::Peer peer{.address = limitedAddress(endpoint.address()), .isTrusted = isTrusted};
    const std::string counted = isTrusted ? std::string() : peer.address;
    const Strand strand = socket.get_executor();
    std::shared_ptr<Connection> connection;
    {
        const std::scoped_lock lock(mutex);
        const auto found = ofPeer.find(counted);
        if (isStopping || connections.size() >= limits.maxConnections
            || (!isTrusted && found != ofPeer.end() && found->second >= limits.maxConnectionsOfPeer)) {
            ++metrics.refusedConnections;
            return;
        }
        connection = std::make_shared<Connection>(
            std::move(socket), certificate ? certificate->context() : nullptr, std::move(peer), shared);
        connections.emplace(connection.get(), std::pair(std::weak_ptr(connection), strand));
        if (!isTrusted)
            ++ofPeer[counted];
    }
    ++metrics.accepted;
    ++metrics.connections;
    const Connection* key = connection.get();
    // The completion handler owns the connection while its coroutine runs.
    asio::co_spawn(strand, connection->run(), [this, key, counted, connection](const std::exception_ptr& failed) {
        if (failed)
            ++metrics.internalErrors;
        left(key, counted);
    });
}

void HttpServer::State::left(const Connection* connection, const std::string& counted)
{
    --metrics.connections;
    const std::scoped_lock lock(mutex);
    connections.erase(connection);
    if (const auto found = ofPeer.find(counted); found != ofPeer.end() && --found->second == 0)
        ofPeer.erase(found);
    if (isStopping && connections.empty())
        stopTimer.cancel();
}

void HttpServer::State::forEachConnection(void (*call)(Connection&))
{
    const std::scoped_lock lock(mutex);
    for (const auto& [key, entry] : connections) {
        asio::post(entry.second, [call, weak = entry.first] {
            if (const auto connection = weak.lock())
                call(*connection);
        });
    }
}

void HttpServer::run()
{
    std::deque<asio::executor_work_guard<asio::io_context::executor_type>> guards;
    std::vector<std::jthread> threads;
    for (auto& context : m_state->contexts | std::views::drop(1)) {
        guards.emplace_back(asio::make_work_guard(context));
        threads.emplace_back([&context] { context.run(); });
    }
    // Runs until all connections are closed, because the timer that closes them runs on this context.
    m_state->contexts.front().run();
    guards.clear();
    threads.clear();
    m_state->workers.join();
    m_state->fetchers.join();
}

void HttpServer::stop(std::chrono::milliseconds grace)
{
    State& state = *m_state;
    state.isStopping = true;
    for (const auto& acceptor : state.acceptors) {
        asio::post(acceptor->get_executor(), [&acceptor = *acceptor] {
            boost::system::error_code ignored;
            acceptor.close(ignored);
        });
    }
    state.forEachConnection([](Connection& connection) { connection.endIfIdle(); });
    const std::scoped_lock lock(state.mutex);
    if (state.connections.empty())
        return;
    state.stopTimer.expires_after(grace);
    state.stopTimer.async_wait([&state](const boost::system::error_code& error) {
        if (!error)
            state.forEachConnection([](Connection& connection) { connection.end(); });
    });
}

} // namespace orvo::server
