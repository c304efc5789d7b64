#include "VideoCore/Error.h"

#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>

namespace orvo {

namespace {

std::string describeCode(const std::error_code& code)
{
    if (code.category() != std::generic_category() && code.category() != std::system_category())
        return code.message();
    switch (code.value()) {
    case ENOSPC:
    case EDQUOT:
        return "no queda espacio en el disco";
    case EROFS:
        return "el disco es de solo lectura";
    case EACCES:
    case EPERM:
        return "no hay permiso";
    case ENOENT:
        return "no existe";
    case EEXIST:
        return "ya existe";
    case ENOTDIR:
        return "no es una carpeta";
    case EISDIR:
        return "es una carpeta";
    case ENAMETOOLONG:
        return "el nombre es demasiado largo";
    case ELOOP:
        return "los enlaces forman un bucle";
    case EIO:
        return "el disco ha fallado";
    case EMFILE:
    case ENFILE:
        return "hay demasiados archivos abiertos";
    case ENOMEM:
        return "no queda memoria";
    case EFBIG:
        return "el archivo es demasiado grande";
    case ENOTEMPTY:
        return "la carpeta no está vacía";
    case EBUSY:
    case ETXTBSY:
        return "otro programa lo está usando";
    case EAGAIN:
        return "el sistema no admite más procesos";
    case EXDEV:
        return "está en otro disco";
    case ENOEXEC:
        return "no es un programa de este sistema";
    case EINVAL:
        return "el nombre o el valor no es válido";
    default:
        return code.message();
    }
}

} // namespace

Error captureError(const std::string& message)
{
    return {"OrvoVideo", 1, message};
}

std::string describe(const std::exception& error)
{
    if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
        if (file->path1().empty())
            return describeCode(file->code());
        return "«" + file->path1().string() + "»: " + describeCode(file->code());
    }
    if (const auto* system = dynamic_cast<const std::system_error*>(&error))
        return describeCode(system->code());
    if (dynamic_cast<const std::bad_alloc*>(&error))
        return "no queda memoria";
    return error.what();
}

} // namespace orvo
