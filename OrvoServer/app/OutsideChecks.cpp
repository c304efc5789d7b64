#include "OrvoServer/app/OutsideChecks.h"

#include "OrvoServer/base/Json.h"
#include "OrvoServer/storage/Transfer.h"

#include <format>

namespace orvo::server {

namespace {

constexpr std::size_t chunk = std::size_t{8} << 20U;

HealthCheck identityCheck(Transfer& transfer, const std::string& address, const std::string& instance)
{
    HealthCheck check{.name = "Dirección pública"};
    try {
        const auto response = transfer.perform({.url = address + "/healthz"}, {});
        const JsonDocument body(response.body);
        if (response.status == 200 && body.root()["instance"].text() == instance) {
            check.isGood = true;
            check.detail = "Responde este servidor.";
        } else {
            check.detail = std::format("Responde otra cosa (estado {}).", response.status);
            check.remedy = "Comprueba que el DNS y el proxy llevan a este servidor, con la ruta sin cambiar.";
        }
    } catch (const std::exception& error) {
        check.detail = error.what();
        check.remedy = "Comprueba que el servidor está en marcha, el DNS, el cortafuegos (puerto 443) y el certificado.";
    }
    return check;
}

HealthCheck bodyCheck(Transfer& transfer, const std::string& address)
{
    HealthCheck check{.name = "Tamaño de las peticiones"};
    try {
        // The request has no credential, so this server, not a proxy, must refuse it.
        const auto response = transfer.perform({.method = "PUT",
                                                   .url = address + "/api/uploads/check",
                                                   .headers = {"Content-Type: application/octet-stream"},
                                                   .body = std::string(chunk, '\0')},
            {});
        check.isGood = response.status == 401 && JsonDocument(response.body).root()["error"].text().has_value();
        check.detail = check.isGood ? "Pasan fragmentos de 8 MB."
                                    : std::format("Un fragmento de 8 MB no llega (estado {}).", response.status);
    } catch (const std::exception& error) {
        check.detail = error.what();
    }
    if (!check.isGood)
        check.remedy = "En el proxy, permite cuerpos de 9 MB o más (nginx: client_max_body_size 9m).";
    return check;
}

} // namespace

std::vector<HealthCheck> outsideChecks(const std::string& address, const std::string& instance)
{
    Transfer transfer;
    std::vector<HealthCheck> checks{identityCheck(transfer, address, instance)};
    if (checks.front().isGood)
        checks.push_back(bodyCheck(transfer, address));
    return checks;
}

} // namespace orvo::server
