#include "OrvoServer/app/Backup.h"
#include "OrvoServer/app/OutsideChecks.h"
#include "OrvoServer/app/Service.h"
#include "OrvoServer/app/Stores.h"
#include "OrvoServer/base/Json.h"
#include "OrvoServer/store/Credential.h"

#include <CLI/CLI.hpp>

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <format>
#include <string>
#include <thread>

namespace {

using namespace orvo::server;

struct Arguments {
    std::string data = "/var/lib/orvo-server";
    std::string address;
    std::string listen;
    std::string folder;
    std::string database;
    bool json = false;
};

void print(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void showCredential(const Arguments& arguments, const std::string& credential)
{
    if (arguments.json)
        return print(JsonWriter().open('{').member("credential", credential).close('}').take() + "\n");
    print(std::format("Credencial: {}\nEscríbela en Orvo Video, en Ajustes. No se vuelve a mostrar.\n", credential));
}

int init(const Arguments& arguments)
{
    const DataFolder folder(arguments.data);
    NewServer server{.address = arguments.address, .database = arguments.database};
    if (!arguments.listen.empty())
        server.listen = arguments.listen;
    const std::string credential = folder.init(server);
    if (credential.empty() && !arguments.json)
        print("La base de datos ya tiene un servidor: vale su credencial. Copia aquí su carpeta «secrets».\n");
    else
        showCredential(arguments, credential);
    if (!arguments.json)
        print(std::format("Configuración: {}\nPonlo en marcha: orvo-server run --data {}\n",
            folder.configurationFile().string(), arguments.data));
    return 0;
}

/// Passes the operator's signals to a service, on a separate thread.
class Signals {
public:
    /// Call before starting threads: they inherit the mask, so only the waiting thread receives the signals.
    static void block() { ::pthread_sigmask(SIG_BLOCK, &set(), nullptr); }

    explicit Signals(Service& service)
        : m_service(service)
        , m_thread([this] { wait(); })
    {
    }

    ~Signals()
    {
        m_isEnding = true;
        ::pthread_kill(m_thread.native_handle(), wake);
        m_thread.join();
    }

    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

private:
    static constexpr int wake = SIGUSR1; ///< Ends the wait.

    static const sigset_t& set()
    {
        static const sigset_t signals = [] {
            sigset_t all;
            sigemptyset(&all);
            for (const int signal : {SIGTERM, SIGINT, SIGHUP, wake})
                sigaddset(&all, signal);
            return all;
        }();
        return signals;
    }

    void wait()
    {
        for (bool isStopping = false; !m_isEnding;) {
            int signal = 0;
            sigwait(&set(), &signal);
            if (signal == wake)
                continue;
            if (signal == SIGHUP) {
                m_service.reloadCertificate();
                continue;
            }
            // A second request exits at once.
            if (isStopping)
                ::_exit(1);
            isStopping = true;
            m_service.stop();
        }
    }

    Service& m_service;
    std::atomic<bool> m_isEnding = false;
    std::thread m_thread;
};

int run(const Arguments& arguments)
{
    std::signal(SIGPIPE, SIG_IGN);
    // A core dump would contain keys and tickets.
    ::prctl(PR_SET_DUMPABLE, 0);
    Signals::block();
    Log log(STDERR_FILENO);
    Service service(DataFolder(arguments.data),
        {.listen = arguments.listen.empty() ? std::optional<HostAndPort>() : readListen(arguments.listen)}, log);
    const Signals signals(service);
    service.run();
    return 0;
}

int check(const Arguments& arguments)
{
    const DataFolder folder(arguments.data);
    const Configuration configuration = folder.configuration();
    const auto database = folder.openDatabase(configuration);
    const SystemClock clock;
    Catalogue catalogue(*database, clock);
    Metrics metrics;
    FileSecrets secrets(folder.secrets());
    Stores stores(configuration, folder, secrets, metrics, clock);
    std::unique_ptr<TlsCertificate> certificate;
    std::vector<HealthCheck> checks;
    if (!configuration.tlsCertificate.empty()) {
        try {
            certificate = std::make_unique<TlsCertificate>(configuration.tlsCertificate, configuration.tlsKey);
        } catch (const orvo::Error& error) {
            checks.push_back(
                {.name = "Certificado", .detail = error.what(), .remedy = "Corrige «tls_certificate» y «tls_key»."});
        }
    }
    std::ranges::copy(healthChecks({.dataFolder = folder.root(),
                          .reserve = 1'000'000'000,
                          .address = configuration.address,
                          .database = database.get(),
                          .store = &stores.store(),
                          .certificate = certificate.get()}),
        std::back_inserter(checks));
    std::ranges::copy(
        outsideChecks(configuration.address, catalogue.setting("instance").value_or("")), std::back_inserter(checks));
    const bool isGood = std::ranges::all_of(checks, &HealthCheck::isGood);
    if (arguments.json) {
        JsonWriter json;
        json.open('{').member("ok", isGood).key("checks").open('[');
        for (const auto& found : checks) {
            json.open('{').member("name", found.name).member("ok", found.isGood).member("detail", found.detail);
            json.member("remedy", found.remedy).close('}');
        }
        print(json.close(']').close('}').take() + "\n");
    } else {
        for (const auto& found : checks) {
            print(std::format("{} {}: {}\n", found.isGood ? "bien" : "MAL ", found.name, found.detail));
            if (!found.remedy.empty())
                print(std::format("     {}\n", found.remedy));
        }
    }
    return isGood ? 0 : 1;
}

int token(const Arguments& arguments)
{
    const DataFolder folder(arguments.data);
    const auto database = folder.openDatabase(folder.configuration());
    const SystemClock clock;
    Catalogue catalogue(*database, clock);
    showCredential(arguments, Credential::renew(catalogue));
    if (!arguments.json)
        print("La anterior deja de valer en unos segundos.\n");
    return 0;
}

/// The library's English help with Spanish headings.
std::shared_ptr<CLI::Formatter> spanishHelp()
{
    auto help = std::make_shared<CLI::Formatter>();
    for (const auto& [english, spanish] :
        {std::pair{"Usage", "Uso"}, {"OPTIONS", "OPCIONES"}, {"Options", "Opciones"}, {"SUBCOMMAND", "ORDEN"},
            {"SUBCOMMANDS", "ÓRDENES"}, {"Subcommand", "Orden"}, {"Subcommands", "Órdenes"}, {"POSITIONALS", "ARGUMENTOS"},
            {"Positionals", "Argumentos"}, {"REQUIRED", "obligatorio"}, {"TEXT", "TEXTO"}, {"TEXT:PATH(existing)", "TEXTO"}})
        help->label(english, spanish);
    return help;
}

int transferred(const BackupResult& result)
{
    print(std::format("Hecho: {} archivos, {:.1f} MB.\n", result.files, static_cast<double>(result.bytes) / 1e6));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App program("El servidor de publicación de Orvo Video.", "orvo-server");
    program.formatter(spanishHelp());
    program.require_subcommand(1);
    program.set_help_flag("-h,--help", "Muestra esta ayuda");
    program.set_version_flag("--version", "orvo-server " ORVO_VERSION, "Muestra la versión");
    const auto command = [&](const char* name, const char* description) {
        CLI::App* made = program.add_subcommand(name, description);
        made->set_help_flag("-h,--help", "Muestra esta ayuda");
        made->add_option("--data", arguments.data, "Carpeta de datos")->capture_default_str();
        return made;
    };
    CLI::App* initCommand = command("init", "Crea un servidor y su credencial");
    initCommand->add_option("--address", arguments.address, "Dirección pública, como https://videos.ejemplo.es")->required();
    initCommand->add_option("--listen", arguments.listen, "Dónde escucha: HOST:PUERTO");
    initCommand->add_option("--database", arguments.database, "Base de datos de varias máquinas: postgresql://…");
    initCommand->add_flag("--json", arguments.json, "Responde en JSON");
    CLI::App* runCommand = command("run", "Sirve hasta que se le pide que pare");
    runCommand->add_option("--listen", arguments.listen, "HOST:PUERTO sin TLS, en lugar de lo configurado");
    CLI::App* checkCommand = command("check", "Dice qué está mal y cómo arreglarlo");
    checkCommand->add_flag("--json", arguments.json, "Responde en JSON");
    CLI::App* tokenCommand = command("token", "Crea otra credencial");
    tokenCommand->add_flag("--json", arguments.json, "Responde en JSON");
    CLI::App* backupCommand = command("backup", "Copia el servidor, también en marcha, a una carpeta nueva");
    backupCommand->add_option("folder", arguments.folder, "Carpeta nueva")->required();
    CLI::App* restoreCommand = command("restore", "Recupera un servidor de una copia");
    restoreCommand->add_option("folder", arguments.folder, "Carpeta de la copia")->required();
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& answer) {
        return program.exit(answer);
    } catch (const CLI::ParseError&) {
        std::fputs("orvo-server: No se entiende la orden. «orvo-server --help» y «orvo-server ORDEN --help» la explican.\n",
            stderr);
        return 2;
    }
    try {
        if (*initCommand)
            return init(arguments);
        if (*runCommand)
            return run(arguments);
        if (*checkCommand)
            return check(arguments);
        if (*tokenCommand)
            return token(arguments);
        if (*backupCommand)
            return transferred(backUp(DataFolder(arguments.data), arguments.folder));
        return transferred(restoreBackup(arguments.folder, DataFolder(arguments.data)));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvo-server: %s\n", orvo::describe(error).c_str());
        return 1;
    }
}
