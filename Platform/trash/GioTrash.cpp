#include "Platform/trash/Trash.h"

#include "VideoCore/Error.h"

#include <format>
#include <gio/gio.h>
#include <memory>

namespace orvo {

void moveToTrash(const std::filesystem::path& file)
{
    const std::unique_ptr<GFile, decltype(&g_object_unref)> handle(g_file_new_for_path(file.c_str()), g_object_unref);
    GError* failure = nullptr;
    if (g_file_trash(handle.get(), nullptr, &failure))
        return;
    const std::unique_ptr<GError, decltype(&g_error_free)> owner(failure, g_error_free);
    if (g_error_matches(failure, G_IO_ERROR, G_IO_ERROR_NOT_SUPPORTED)) {
        throw captureError(
            std::format("El disco de {} no tiene papelera. Si no lo necesitas, borra tú esa carpeta.", file.string()));
    }
    throw captureError(std::format("{} no se puede mover a la papelera: {}", file.string(), failure->message));
}

} // namespace orvo
