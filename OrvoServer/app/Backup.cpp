#include "OrvoServer/app/Backup.h"

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/storage/LinkedFile.h"
#include "OrvoServer/store/Collection.h"
#include "OrvoServer/store/SqliteDatabase.h"
#include "VideoCore/FileIO.h"

#include <format>
#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

namespace {

/// Copies or links the stored files that the database of `to` names.
BackupResult transferFiles(const DataFolder& from, const DataFolder& to)
{
    BackupResult result;
    SqliteDatabase database(to.database());
    std::vector<std::pair<std::string, std::uint64_t>> blobs;
    database.read([&](Session& session) {
        for (const auto& row : session.run("SELECT key, size FROM blobs"))
            blobs.emplace_back(row[0].text(), static_cast<std::uint64_t>(row[1].number()));
    });
    for (const auto& [key, size] : blobs) {
        const fs::path file = from.files() / key;
        if (fs::file_size(file) != size)
            throw captureError(std::format("El archivo «{}» no tiene su tamaño: la copia no sería buena.", file.string()));
        const fs::path copy = to.files() / key;
        fs::create_directories(copy.parent_path());
        linkOrCopy(file, copy);
        ++result.files;
        result.bytes += size;
    }
    return result;
}

/// Keeps the server from removing stored files during its life.
class RemovalPause {
public:
    RemovalPause(Database& database, const Clock& clock)
        : m_collection(database, clock, Retention{})
    {
        m_collection.hold(clock.now() + std::int64_t{6} * 3600);
    }
    ~RemovalPause()
    {
        try {
            m_collection.hold(0);
        } catch (const std::exception&) {
            // The hold expires by itself.
        }
    }
    RemovalPause(const RemovalPause&) = delete;
    RemovalPause& operator=(const RemovalPause&) = delete;

private:
    Collection m_collection;
};

/// Fills a new folder; removes it if that fails.
BackupResult fill(const fs::path& target, const std::function<BackupResult(const DataFolder&)>& work)
{
    const bool isNew = !fs::exists(target);
    if (!isNew && !fs::is_empty(target))
        throw captureError(std::format("«{}» no está vacía. Elige una carpeta nueva.", target.string()));
    fs::create_directories(target);
    fs::permissions(target, fs::perms::owner_all);
    try {
        const auto result = work(DataFolder(target));
        flushFolder(target);
        return result;
    } catch (...) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(target, ignored))
            fs::remove_all(entry.path(), ignored);
        if (isNew)
            fs::remove(target, ignored);
        throw;
    }
}

} // namespace

BackupResult backUp(const DataFolder& folder, const fs::path& target)
{
    const Configuration configuration = folder.configuration();
    if (!configuration.database.empty())
        throw captureError("La base de datos es PostgreSQL: cópiala con pg_dump, y el almacén con sus propios medios.");
    return fill(target, [&](const DataFolder& copy) {
        SqliteDatabase database(folder.database());
        const SystemClock clock;
        const RemovalPause pause(database, clock);
        database.backup(copy.database());
        fs::copy_file(folder.configurationFile(), copy.configurationFile());
        if (configuration.storage != "local")
            return BackupResult{};
        return transferFiles(folder, copy);
    });
}

BackupResult restoreBackup(const fs::path& source, const DataFolder& folder)
{
    const DataFolder backup(source);
    const Configuration configuration = backup.configuration();
    return fill(folder.root(), [&](const DataFolder& copy) {
        fs::copy_file(backup.database(), copy.database());
        fs::copy_file(backup.configurationFile(), copy.configurationFile());
        {
            SqliteDatabase database(copy.database());
            if (const auto problem = database.problem(); !problem.empty())
                throw captureError(std::format("La base de datos de la copia está dañada ({}).", problem));
            migrate(database);
            const SystemClock clock;
            Collection(database, clock, Retention{}).hold(0);
        }
        if (configuration.storage != "local")
            return BackupResult{};
        return transferFiles(backup, copy);
    });
}

} // namespace orvo::server
