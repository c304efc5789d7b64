#include "OrvoServer/api/Failures.h"

#include "OrvoServer/base/Json.h"
#include "OrvoServer/storage/BlobStore.h"
#include "OrvoServer/store/Database.h"
#include "OrvoServer/store/Uploads.h"

#include <filesystem>

namespace orvo::server {

namespace {

unsigned statusOf(const StoreError& error)
{
    switch (error.kind()) {
    case StoreError::Kind::full:
        return 507;
    case StoreError::Kind::missing:
        return 500;
    case StoreError::Kind::unauthorised:
    case StoreError::Kind::passing:
        return 503;
    case StoreError::Kind::refused:
        return 502;
    }
    return 500;
}

} // namespace

Response failureResponse(const std::exception& error)
{
    if (const auto* refused = dynamic_cast<const UploadRefused*>(&error)) {
        return jsonResponse(refused->status(),
            JsonWriter().open('{').member("error", refused->what()).member("offset", refused->offset()).close('}').take());
    }
    if (const auto* database = dynamic_cast<const DatabaseError*>(&error)) {
        const auto kind = database->kind();
        return errorResponse(kind == DatabaseError::Kind::busy ? 503
                : kind == DatabaseError::Kind::full            ? 507
                                                               : 500,
            error.what());
    }
    if (const auto* store = dynamic_cast<const StoreError*>(&error))
        return errorResponse(statusOf(*store), error.what());
    if (const auto* system = dynamic_cast<const std::system_error*>(&error)) {
        if (system->code() == std::errc::no_space_on_device)
            return errorResponse(507, "El disco del servidor está lleno. Libera espacio y vuelve a intentarlo.");
        if (system->code() == std::errc::read_only_file_system || system->code() == std::errc::permission_denied)
            return errorResponse(500, "El servidor no puede escribir en su carpeta de datos. Ejecuta «orvo-server check».");
        // Clients must not learn paths of the server.
        return errorResponse(500, "El disco del servidor ha fallado. Ejecuta «orvo-server check».");
    }
    if (dynamic_cast<const Error*>(&error))
        return errorResponse(422, error.what());
    return errorResponse(500, "El servidor ha fallado. Su registro dice por qué.");
}

bool isInternal(const std::exception& error)
{
    return failureResponse(error).status >= 500;
}

} // namespace orvo::server
