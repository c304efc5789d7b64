#include "OrvoVideo/model/AppServices.h"

#include "VideoCore/Error.h"

namespace orvo {

std::unique_ptr<const ProjectStore> AppServices::openLibrary(const std::optional<std::filesystem::path>& libraryRoot)
{
    try {
        return std::make_unique<const ProjectStore>(libraryRoot);
    } catch (const std::exception& error) {
        throw captureError("No se ha podido abrir la biblioteca: " + describe(error));
    }
}

} // namespace orvo
