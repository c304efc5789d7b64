#include "OrvoServer/app/Service.h"

#include "OrvoServer/app/ServiceHandler.h"
#include "OrvoServer/app/Stores.h"
#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/http/HttpServer.h"
#include "OrvoServer/store/Collection.h"
#include "OrvoServer/web/Assets.h"

#include <sys/resource.h>

#include <algorithm>
#include <condition_variable>
#include <format>
#include <mutex>
#include <thread>

namespace orvo::server {

namespace {

constexpr std::uint64_t gigabyte = 1'000'000'000;

/// Loads the server's key; creates it on the first run.
std::string lastingKey(Secrets& secrets)
{
    constexpr std::string_view name = "server-key";
    if (auto kept = secrets.load(name))
        return *std::move(kept);
    std::string key = randomText(32);
    secrets.save(name, key);
    return key;
}

std::string lastingInstance(Catalogue& catalogue)
{
    if (auto kept = catalogue.setting("instance"))
        return *std::move(kept);
    std::string instance = randomText(12);
    catalogue.setSetting("instance", instance);
    return instance;
}

/// Raises the descriptor limit to its maximum: each viewer needs one for the connection and one for the file.
void raiseDescriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

struct Service::State {
    State(DataFolder dataFolder, const Options& options, Log& logToWrite)
        : folder(std::move(dataFolder))
        , configuration(folder.configuration())
        , lock(folder.lock())
        , log(logToWrite)
        , clock(options.clock ? *options.clock : systemClock)
        , database(folder.openDatabase(configuration))
        , catalogue(*database, clock)
        , secrets(folder.secrets())
        , key(lastingKey(secrets))
        , stores(configuration, folder, secrets, metrics, clock)
        , uploads(configuration.uploadsFolder.empty() ? folder.uploads() : configuration.uploadsFolder, catalogue)
        , collection(*database, options.clock ? *options.clock : wallClock, Retention{})
        , statistics(*database, clock)
        , credential(catalogue, clock, metrics)
        , sessions(key, credential, *database, clock)
        , tickets(key, {.ticket = configuration.ticketSeconds}, clock)
        , videos(catalogue)
        , pages(assets(), configuration.basePath(), configuration.isSecure())
        , viewers({.address = configuration.address, .ticketLife = configuration.ticketSeconds},
              {videos, stores.files(), statistics, tickets, pages, clock, metrics})
        , storing(catalogue, uploads, stores.store(), stores.files(), log, metrics)
        , certificate(configuration.tlsCertificate.empty() || options.listen
                  ? nullptr
                  : std::make_shared<TlsCertificate>(configuration.tlsCertificate, configuration.tlsKey))
        , api({.address = configuration.address,
                  .dataFolder = folder.root(),
                  .quota = configuration.quotaGigabytes * gigabyte},
              {catalogue, uploads, storing, stores.store(), videos, credential, stores.authorisation()})
        , admin({catalogue, statistics, videos, stores.files(), credential, sessions, pages, viewers,
              HealthInputs{.dataFolder = folder.root(),
                  .reserve = gigabyte,
                  .address = configuration.address,
                  .database = database.get(),
                  .store = &stores.store(),
                  .certificate = certificate.get()},
              configuration.isSecure(), ORVO_VERSION})
        , handler({api, viewers, admin, pages, credential, *database, metrics, log, lastingInstance(catalogue)})
        , http(handler,
              HttpLimits{.maxConnections = configuration.maxConnections, .trustedProxies = configuration.trustedProxies},
              log, metrics)
    {
        const HostAndPort listen = options.listen ? *options.listen : readListen(configuration.listen);
        port = http.listen(listen.host, listen.port, certificate);
    }

    void maintain(const std::stop_token& stop);
    void collect(const std::stop_token& stop);
    void reloadCertificate();

    const DataFolder folder;
    const Configuration configuration;
    const DataFolder::Lock lock;
    Log& log;
    Metrics metrics;
    const SystemClock systemClock;
    const WallClock wallClock;
    const Clock& clock;
    std::unique_ptr<Database> database;
    Catalogue catalogue;
    FileSecrets secrets;
    const std::string key;
    Stores stores;
    Uploads uploads;
    Collection collection;
    Statistics statistics;
    Credential credential;
    AdminSessions sessions;
    Tickets tickets;
    LiveVideos videos;
    Pages pages;
    ViewerRoutes viewers;
    Storing storing;
    std::shared_ptr<TlsCertificate> certificate;
    PublishingApi api;
    AdminRoutes admin;
    ServiceHandler handler;
    HttpServer http;
    std::uint16_t port = 0;
};

Service::Service(DataFolder folder, const Options& options, Log& log)
{
    raiseDescriptorLimit();
    m_state = std::make_unique<State>(std::move(folder), options, log);
    log.info("listening",
        {{"port", std::uint64_t{m_state->port}}, {"version", std::string_view(ORVO_VERSION)},
            {"storage", m_state->stores.store().name()}, {"tls", m_state->certificate != nullptr}});
}

Service::~Service() = default;

std::uint16_t Service::port() const
{
    return m_state->port;
}

RequestHandler& Service::handler()
{
    return m_state->handler;
}

void Service::State::collect(const std::stop_token& stop)
{
    if (collection.isHeld())
        return;
    for (const auto& upload : collection.forgetOld())
        uploads.discard(upload);
    for (const auto& due : collection.dueRemovals()) {
        if (stop.stop_requested())
            return;
        stores.store().remove(due, stop);
        collection.removed(due);
    }
}

void Service::State::reloadCertificate()
{
    if (!certificate)
        return;
    try {
        if (certificate->reloadIfChanged())
            log.info("certificate-reloaded");
    } catch (const std::exception& error) {
        log.warning("certificate-not-reloaded", {{"reason", std::string_view(error.what())}});
    }
}

void Service::State::maintain(const std::stop_token& stop)
{
    std::mutex mutex;
    std::condition_variable_any wake;
    const auto attempt = [&](std::string_view what, auto work) {
        try {
            work();
        } catch (const Cancelled&) {
            return;
        } catch (const std::exception& error) {
            log.warning("maintenance-failed", {{"what", what}, {"reason", std::string_view(error.what())}});
        }
    };
    attempt("uploads", [&] {
        for (const auto& upload : uploads.all()) {
            if (!collection.isNeeded(upload))
                uploads.discard(upload);
        }
    });
    for (std::uint64_t round = 0; !stop.stop_requested(); ++round) {
        attempt("credential", [&] { credential.reload(); });
        if (round % 6 == 0)
            attempt("statistics", [&] { statistics.flush(); });
        if (round % 12 == 0) {
            // Resumes revisions whose instance has died, too.
            attempt("storing", [&] {
                for (const auto& revision : catalogue.storingRevisions())
                    storing.add(revision);
            });
        }
        if (round % 60 == 0) {
            attempt("collection", [&] { collect(stop); });
            reloadCertificate();
        }
        std::unique_lock waiting(mutex);
        wake.wait_for(waiting, stop, std::chrono::seconds(5), [] { return false; });
    }
    attempt("statistics", [&] { statistics.flush(); });
}

void Service::run()
{
    std::jthread maintenance([this](const std::stop_token& stop) { m_state->maintain(stop); });
    m_state->http.run();
    maintenance.request_stop();
    maintenance.join();
    m_state->log.info("stopped");
}

void Service::reloadCertificate()
{
    m_state->reloadCertificate();
}

void Service::stop()
{
    m_state->log.info("stopping");
    m_state->http.stop(std::chrono::seconds(m_state->configuration.graceSeconds));
}

} // namespace orvo::server
