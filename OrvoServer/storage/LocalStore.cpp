#include "OrvoServer/storage/LocalStore.h"

#include "OrvoServer/storage/LinkedFile.h"
#include "VideoCore/FileIO.h"

#include <unistd.h>

#include <format>
#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

/// Creates `folder` and its missing parents; flushes each parent.
void makeFolder(const fs::path& folder)
{
    if (fs::is_directory(folder))
        return;
    makeFolder(folder.parent_path());
    fs::create_directory(folder);
    flushFolder(folder.parent_path());
}

StoreError failureOf(const fs::filesystem_error& error)
{
    using Kind = StoreError::Kind;
    if (error.code() == std::errc::no_space_on_device)
        return {Kind::full, "El disco del servidor está lleno."};
    if (error.code() == std::errc::no_such_file_or_directory)
        return {Kind::missing, "Falta un archivo en la carpeta del servidor."};
    return {Kind::refused, std::format("No se puede usar la carpeta del servidor: {}", describe(error))};
}

} // namespace

LocalStore::LocalStore(fs::path folder)
    : m_folder(std::move(folder))
{
    fs::create_directories(m_folder);
    fs::permissions(m_folder, fs::perms::owner_all);
}

fs::path LocalStore::pathOf(const std::string& key) const
{
    return m_folder / key;
}

BlobStore::Status LocalStore::status()
{
    if (::access(m_folder.c_str(), W_OK | X_OK) == 0)
        return {.isReady = true};
    return {.text = std::format("El servidor no puede escribir en «{}».", m_folder.string())};
}

void LocalStore::put(const std::string& key, const fs::path& file, const std::stop_token&)
{
    const fs::path target = pathOf(key);
    try {
        makeFolder(target.parent_path());
        linkOrCopy(file, target);
        flushFile(target);
        flushFolder(target.parent_path());
    } catch (const fs::filesystem_error& error) {
        throw failureOf(error);
    }
}

void LocalStore::fetch(const std::string& key, const fs::path& target, const std::stop_token&)
{
    try {
        fs::remove(target);
        linkOrCopy(pathOf(key), target);
    } catch (const fs::filesystem_error& error) {
        throw failureOf(error);
    }
}

void LocalStore::remove(const std::string& key, const std::stop_token&)
{
    try {
        fs::remove(pathOf(key));
    } catch (const fs::filesystem_error& error) {
        throw failureOf(error);
    }
}

std::shared_ptr<const OpenFile> LocalStore::openIfHere(const std::string& key, std::uint64_t size)
{
    try {
        return open(key, size, {});
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::shared_ptr<const OpenFile> LocalStore::open(const std::string& key, std::uint64_t size, const std::stop_token&)
{
    try {
        auto file = OpenFile::open(pathOf(key));
        if (file->size() != size)
            throw StoreError(StoreError::Kind::missing, "Un archivo de la carpeta del servidor no tiene su tamaño.");
        return file;
    } catch (const fs::filesystem_error& error) {
        throw failureOf(error);
    }
}

} // namespace orvo::server
