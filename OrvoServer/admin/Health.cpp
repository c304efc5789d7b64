#include "OrvoServer/admin/Health.h"

#include "OrvoServer/viewers/Domains.h"
#include "VideoCore/Error.h"

#include <sys/timex.h>

#include <chrono>
#include <format>

namespace orvo::server {

namespace {

constexpr double gigabyte = 1e9;

HealthCheck addressCheck(const HealthInputs& inputs)
{
    const auto origin = originOf(inputs.address);
    const bool isLocal = origin && (origin->host == "localhost" || origin->host == "127.0.0.1");
    HealthCheck check{
        .name = "Dirección", .isGood = origin && (origin->scheme == "https" || isLocal), .detail = inputs.address};
    if (!check.isGood)
        check.remedy = "Escribe en «address» la dirección pública con https://; Orvo Video no publica en otra.";
    return check;
}

HealthCheck diskCheck(const HealthInputs& inputs)
{
    std::error_code error;
    const auto space = std::filesystem::space(inputs.dataFolder, error);
    HealthCheck check{.name = "Disco", .isGood = !error && space.available > inputs.reserve};
    check.detail = error ? "No se puede leer la carpeta de datos."
                         : std::format("Quedan {:.1f} GB libres.", static_cast<double>(space.available) / gigabyte);
    if (!check.isGood)
        check.remedy = "Libera espacio en el disco o retira vídeos que ya no se ven.";
    return check;
}

HealthCheck databaseCheck(const HealthInputs& inputs)
{
    HealthCheck check{.name = "Base de datos", .isGood = true, .detail = "Responde."};
    try {
        inputs.database->read([](Session& session) { session.run("SELECT count(*) FROM videos"); });
    } catch (const std::exception& error) {
        check.isGood = false;
        check.detail = error.what();
        check.remedy = "Comprueba el disco y los permisos de la carpeta de datos, y reinicia el servidor.";
    }
    return check;
}

HealthCheck storeCheck(const HealthInputs& inputs)
{
    const auto status = inputs.store->status();
    HealthCheck check{
        .name = "Almacén", .isGood = status.isReady, .detail = status.isReady ? "Guarda y entrega vídeos." : status.text};
    if (!check.isGood)
        check.remedy = inputs.store->name() == "drive" ? "Autoriza Google Drive desde Ajustes en Orvo Video."
                                                       : "Comprueba la configuración del almacén y sus permisos.";
    return check;
}

HealthCheck clockCheck()
{
    struct timex state{};
    const int answer = ::adjtimex(&state); // Some sandboxes forbid it.
    const bool isSynchronised = answer >= 0 && answer != TIME_ERROR;
    // No build is older than 2025, so an earlier date is certainly wrong.
    const auto year =
        std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now())).year();
    HealthCheck check{.name = "Reloj", .isGood = year >= std::chrono::year(2025)};
    check.detail = !check.isGood ? "La fecha es falsa."
        : isSynchronised         ? "Está sincronizado."
                                 : "El sistema no dice si está sincronizado.";
    if (!check.isGood || !isSynchronised)
        check.remedy = "Activa la hora de red: timedatectl set-ntp true.";
    return check;
}

HealthCheck certificateCheck(const TlsCertificate& certificate)
{
    const int days = certificate.daysLeft();
    HealthCheck check{.name = "Certificado", .isGood = days >= 7, .detail = std::format("Vale {} días más.", days)};
    if (days < 0)
        check.detail = "Ha caducado.";
    if (!check.isGood)
        check.remedy = "Renueva el certificado; el servidor lee el nuevo sin reiniciarse.";
    return check;
}

} // namespace

std::vector<HealthCheck> healthChecks(const HealthInputs& inputs)
{
    std::vector<HealthCheck> checks{
        addressCheck(inputs), diskCheck(inputs), databaseCheck(inputs), storeCheck(inputs), clockCheck()};
    if (inputs.certificate)
        checks.push_back(certificateCheck(*inputs.certificate));
    return checks;
}

} // namespace orvo::server
