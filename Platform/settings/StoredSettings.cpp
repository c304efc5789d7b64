#include "Platform/settings/StoredSettings.h"

#include "VideoCore/DataFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/FileLock.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <format>
#include <memory>
#include <new>
#include <system_error>
#include <utility>
#include <yyjson.h>

namespace orvo::StoredSettings {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxFileBytes = std::size_t{1} << 20;

struct Free {
    void operator()(yyjson_doc* document) const { yyjson_doc_free(document); }
    void operator()(yyjson_mut_doc* document) const { yyjson_mut_doc_free(document); }
    void operator()(char* text) const { std::free(text); } // NOLINT(*-no-malloc,*-owning-memory): yyjson allocates so.
};
using Document = std::unique_ptr<yyjson_doc, Free>;

fs::path configurationFolder()
{
    return configurationHome() / "OrvoVideo";
}

/// Keeps other programs from changing the settings while the lock lives.
FileLock lockSettings(const fs::path& folder)
{
    UniqueFd descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor)
        throw fs::filesystem_error("lock", folder, std::error_code(errno, std::system_category()));
    FileLock lock(std::move(descriptor));
    lock.lock();
    return lock;
}

/// The stored settings; null when there is no file. Throws when it cannot be read or parsed.
Document read()
{
    std::string text;
    try {
        readFile(file(), text, maxFileBytes);
    } catch (const fs::filesystem_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory)
            return nullptr;
        throw;
    }
    Document document(yyjson_read(text.data(), text.size(), 0));
    if (!yyjson_is_obj(yyjson_doc_get_root(document.get())))
        throw captureError(std::format("Los ajustes guardados en «{}» están dañados.", file().string()));
    return document;
}

} // namespace

fs::path file()
{
    return configurationFolder() / "settings.json";
}

std::optional<std::string> text(std::string_view key)
{
    try {
        const Document document = read();
        yyjson_val* value = yyjson_obj_getn(yyjson_doc_get_root(document.get()), key.data(), key.size());
        if (yyjson_is_str(value))
            return std::string(yyjson_get_str(value), yyjson_get_len(value));
    } catch (const std::exception&) {
        // Unreadable settings count as unset; `setText` reports the error.
    }
    return std::nullopt;
}

void setText(std::string_view key, std::string_view value)
{
    const fs::path folder = configurationFolder();
    fs::create_directories(folder);
    const FileLock lock = lockSettings(folder);
    const Document old = read();
    const std::unique_ptr<yyjson_mut_doc, Free> document(
        old ? yyjson_doc_mut_copy(old.get(), nullptr) : yyjson_mut_doc_new(nullptr));
    if (!document)
        throw std::bad_alloc();
    if (!old)
        yyjson_mut_doc_set_root(document.get(), yyjson_mut_obj(document.get()));
    if (!yyjson_mut_obj_put(yyjson_mut_doc_get_root(document.get()),
            yyjson_mut_strncpy(document.get(), key.data(), key.size()),
            yyjson_mut_strncpy(document.get(), value.data(), value.size())))
        throw std::bad_alloc();
    std::size_t length = 0;
    const std::unique_ptr<char, Free> text(
        yyjson_mut_write(document.get(), YYJSON_WRITE_PRETTY_TWO_SPACES | YYJSON_WRITE_NEWLINE_AT_END, &length));
    if (!text)
        throw captureError("El valor no es UTF-8 válido.");
    writeFileAtomically(file(), {text.get(), length});
}

} // namespace orvo::StoredSettings
