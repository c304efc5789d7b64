#include "OrvoServer/app/DataFolder.h"

#include "OrvoServer/base/Clock.h"
#include "OrvoServer/store/Credential.h"
#include "OrvoServer/store/PostgresDatabase.h"
#include "OrvoServer/store/SqliteDatabase.h"
#include "VideoCore/FileIO.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <format>
#include <system_error>

namespace orvo::server {

namespace fs = std::filesystem;

std::string DataFolder::init(const NewServer& server) const
{
    const std::string text = newConfiguration(server);
    if (fs::exists(configurationFile()) || fs::exists(database()))
        throw captureError(
            std::format("En «{}» ya hay un servidor. Para una credencial nueva: orvo-server token.", m_root.string()));
    fs::create_directories(m_root);
    fs::permissions(m_root, fs::perms::owner_all);
    const auto database = openDatabase(readConfiguration(text));
    const SystemClock clock;
    Catalogue catalogue(*database, clock);
    std::string credential = Credential::isKept(catalogue) ? std::string() : Credential::renew(catalogue);
    writeFileAtomically(configurationFile(), text);
    fs::permissions(configurationFile(), fs::perms::owner_read | fs::perms::owner_write);
    return credential;
}

Configuration DataFolder::configuration() const
{
    if (!fs::exists(configurationFile())) {
        throw captureError(std::format(
            "En «{0}» no hay ningún servidor. Créalo: orvo-server init --data {0} --address https://…", m_root.string()));
    }
    return readConfiguration(readFile(configurationFile()));
}

fs::path DataFolder::secrets() const
{
    fs::path folder = m_root / "secrets";
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_all);
    return folder;
}

std::unique_ptr<Database> DataFolder::openDatabase(const Configuration& configuration) const
{
    std::unique_ptr<Database> opened;
    if (configuration.database.empty())
        opened = std::make_unique<SqliteDatabase>(database());
    else
        opened = std::make_unique<PostgresDatabase>(configuration.database);
    migrate(*opened);
    return opened;
}

DataFolder::Lock::Lock(const fs::path& file)
    : m_lock(UniqueFd(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)))
{
    if (m_lock.descriptor() < 0)
        throw fs::filesystem_error("open", file, std::error_code(errno, std::generic_category()));
    if (!m_lock.tryLock())
        throw captureError("Otro orvo-server usa ya esta carpeta de datos. Páralo antes.");
}

} // namespace orvo::server
