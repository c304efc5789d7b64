#pragma once

#include "OrvoServer/app/Configuration.h"
#include "OrvoServer/store/Database.h"
#include "VideoCore/FileLock.h"

#include <filesystem>
#include <memory>
#include <string>

namespace orvo::server {

/// The folder that holds all data of a server.
///
///     orvo-server.conf    the configuration
///     orvo-server.sqlite  the database
///     files/              stored files (storage = local)
///     uploads/            bytes of unfinished uploads
///     cache/              files of a remote store
///     secrets/            keys and authorisations, sealed; not part of backups
///     lock                held by the running server
class DataFolder {
public:
    explicit DataFolder(std::filesystem::path root)
        : m_root(std::move(root))
    {
    }

    /// Creates the data folder and returns the credential, of which only a hash is stored. Returns empty if another instance
    /// already uses the database; its credential stays valid. Throws `Error` if the folder holds a server, `DatabaseError`
    /// and file system errors.
    std::string init(const NewServer& server) const;

    /// Throws `Error` if the folder holds no server or its configuration is invalid.
    Configuration configuration() const;

    /// Opens and migrates the configured database. Throws `DatabaseError`.
    std::unique_ptr<Database> openDatabase(const Configuration& configuration) const;

    /// Exclusive right to change the folder. The constructor throws `Error` if another program holds it.
    class Lock {
    public:
        explicit Lock(const std::filesystem::path& file);

    private:
        FileLock m_lock;
    };

    const std::filesystem::path& root() const { return m_root; }
    std::filesystem::path configurationFile() const { return m_root / "orvo-server.conf"; }
    std::filesystem::path database() const { return m_root / "orvo-server.sqlite"; }
    std::filesystem::path files() const { return m_root / "files"; }
    std::filesystem::path uploads() const { return m_root / "uploads"; }
    std::filesystem::path cache() const { return m_root / "cache"; }
    /// Creates the folder if it is missing; only its owner can read it. Throws file system errors.
    std::filesystem::path secrets() const;
    std::filesystem::path lock() const { return m_root / "lock"; }

private:
    std::filesystem::path m_root;
};

} // namespace orvo::server
