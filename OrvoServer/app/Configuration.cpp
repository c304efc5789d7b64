#include "OrvoServer/app/Configuration.h"

#include "OrvoServer/viewers/Domains.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <charconv>
#include <format>
#include <functional>
#include <map>
#include <ranges>

namespace orvo::server {

namespace {

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::uint64_t readNumber(std::string_view text, std::uint64_t min, std::uint64_t max)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < min || number > max)
        throw captureError(std::format("hace falta un número entero entre {} y {}", min, max));
    return number;
}

std::vector<std::string> readList(std::string_view text)
{
    std::vector<std::string> list;
    for (const auto part : std::views::split(text, ',')) {
        if (const auto item = trimmed(std::string_view(part)); !item.empty())
            list.emplace_back(item);
    }
    return list;
}

using Readers = std::map<std::string_view, std::function<void(Configuration&, std::string_view)>>;

Readers readers()
{
    const auto text = [](std::string Configuration::* member) {
        return [member](Configuration& to, std::string_view value) { to.*member = value; };
    };
    const auto path = [](std::filesystem::path Configuration::* member) {
        return [member](Configuration& to, std::string_view value) { to.*member = value; };
    };
    return {
        {"address", [](auto& to, auto value) { to.address = readAddress(value); }},
        {"listen",
            [](auto& to, auto value) {
                readListen(value);
                to.listen = value;
            }},
        {"tls_certificate", path(&Configuration::tlsCertificate)},
        {"tls_key", path(&Configuration::tlsKey)},
        {"trusted_proxies", [](auto& to, auto value) { to.trustedProxies = readList(value); }},
        {"database",
            [](auto& to, auto value) {
                if (!value.starts_with("postgres"))
                    throw captureError("hace falta una dirección postgresql://");
                to.database = value;
            }},
        {"uploads_folder", path(&Configuration::uploadsFolder)},
        {"storage",
            [](auto& to, auto value) {
                if (value != "local" && value != "s3" && value != "drive")
                    throw captureError("hace falta local, s3 o drive");
                to.storage = value;
            }},
        {"quota_gigabytes", [](auto& to, auto value) { to.quotaGigabytes = readNumber(value, 0, 1'000'000); }},
        {"cache_gigabytes", [](auto& to, auto value) { to.cacheGigabytes = readNumber(value, 1, 1'000'000); }},
        {"ticket_seconds",
            [](auto& to, auto value) { to.ticketSeconds = static_cast<std::int64_t>(readNumber(value, 2, 86400)); }},
        {"max_connections", [](auto& to, auto value) { to.maxConnections = readNumber(value, 10, 1'000'000); }},
        {"grace_seconds",
            [](auto& to, auto value) { to.graceSeconds = static_cast<std::int64_t>(readNumber(value, 0, 3600)); }},
        {"s3_endpoint", text(&Configuration::s3Endpoint)},
        {"s3_region", text(&Configuration::s3Region)},
        {"s3_bucket", text(&Configuration::s3Bucket)},
        {"s3_prefix", text(&Configuration::s3Prefix)},
        {"s3_access_key", text(&Configuration::s3AccessKey)},
        {"s3_secret_key_file", path(&Configuration::s3SecretKeyFile)},
        {"drive_api", text(&Configuration::driveApi)},
        {"drive_upload", text(&Configuration::driveUpload)},
        {"drive_authorise", text(&Configuration::driveAuthorise)},
        {"drive_token", text(&Configuration::driveToken)},
    };
}

} // namespace

std::string Configuration::basePath() const
{
    const auto host = address.find("://") + 3;
    const auto slash = address.find('/', host);
    return slash == std::string::npos ? std::string() : address.substr(slash);
}

Configuration readConfiguration(std::string_view text)
{
    const Readers known = readers();
    Configuration configuration;
    std::size_t number = 0;
    for (const auto part : std::views::split(text, '\n')) {
        ++number;
        const std::string_view line = trimmed(std::string_view(part));
        if (line.empty() || line.starts_with('#'))
            continue;
        const auto equals = line.find('=');
        const std::string_view name = trimmed(line.substr(0, equals));
        const auto reader = known.find(name);
        if (equals == std::string_view::npos || reader == known.end())
            throw captureError(std::format("Línea {} de la configuración: no existe «{}».", number, name));
        try {
            reader->second(configuration, trimmed(line.substr(equals + 1)));
        } catch (const Error& error) {
            throw captureError(std::format("Línea {} de la configuración, «{}»: {}.", number, name, error.what()));
        }
    }
    if (configuration.address.empty())
        throw captureError("Falta «address» en la configuración: la dirección pública del servidor.");
    if (configuration.tlsCertificate.empty() != configuration.tlsKey.empty())
        throw captureError("En la configuración van juntos «tls_certificate» y «tls_key».");
    return configuration;
}

std::string newConfiguration(const NewServer& server)
{
    const std::string address = readAddress(server.address);
    readListen(server.listen);
    std::string text = std::format(R"(# Configuración de orvo-server. Reinicia el servidor después de cambiarla.

# La dirección pública, la misma que escribes en Orvo Video.
address = {}

# Dónde escucha. Detrás de un proxy, solo en la propia máquina.
listen = {}

# Sin proxy: certificado y clave en PEM. El servidor lee los nuevos sin reiniciarse.
# tls_certificate = /etc/letsencrypt/live/ejemplo.es/fullchain.pem
# tls_key = /etc/letsencrypt/live/ejemplo.es/privkey.pem

# Proxies de otras máquinas cuyo X-Forwarded-For se cree, separados por comas.
# trusted_proxies = 10.0.0.2

# Varias máquinas comparten una base de datos PostgreSQL, un almacén y la carpeta de las subidas.
{}database = {}
# uploads_folder = /srv/orvo-uploads

# Dónde se guardan los vídeos: local, s3 o drive.
storage = local

# Cuánto se guarda como mucho; 0 es sin límite.
quota_gigabytes = 0

# Con s3 o drive: cuánto ocupa como mucho la caché de este disco.
# cache_gigabytes = 20

# Con s3. La clave secreta va en un archivo aparte, que las copias de seguridad no llevan, o en ORVO_S3_SECRET_KEY.
# s3_endpoint = https://s3.ejemplo.es
# s3_region = us-east-1
# s3_bucket = videos
# s3_prefix =
# s3_access_key = CLAVE
# s3_secret_key_file = /etc/orvo-server/s3-secret

# Cuánto vale el permiso de ver un vídeo antes de que el reproductor pida otro.
# ticket_seconds = 600

# Conexiones a la vez, y segundos que se espera a las abiertas al parar.
# max_connections = 20000
# grace_seconds = 30
)",
        address, server.listen, server.database.empty() ? "# " : "",
        server.database.empty() ? "postgresql://orvo@10.0.0.5/orvo" : server.database);
    readConfiguration(text);
    return text;
}

HostAndPort readListen(std::string_view text)
{
    const auto colon = text.rfind(':');
    HostAndPort listen;
    if (colon != std::string_view::npos) {
        std::string_view host = text.substr(0, colon);
        if (host.starts_with('[') && host.ends_with(']'))
            host = host.substr(1, host.size() - 2);
        const std::string_view port = text.substr(colon + 1);
        const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), listen.port);
        if (error == std::errc() && end == port.data() + port.size() && !host.empty()) {
            listen.host = host;
            return listen;
        }
    }
    throw captureError(std::format("«{}» no dice dónde escuchar: escribe por ejemplo 127.0.0.1:8080", text));
}

std::string readAddress(std::string_view text)
{
    std::string_view address = trimmed(text);
    while (address.ends_with('/'))
        address.remove_suffix(1);
    const auto isForeign = [](char c) {
        return std::string_view("?#\"").contains(c) || static_cast<unsigned char>(c) <= ' ';
    };
    if (!originOf(address) || std::ranges::any_of(address, isForeign))
        throw captureError(std::format("«{}» no es una dirección: escribe por ejemplo https://videos.ejemplo.es", text));
    return std::string(address);
}

} // namespace orvo::server
