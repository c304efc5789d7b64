#pragma once

#include "OrvoServer/app/Configuration.h"
#include "OrvoServer/store/Database.h"
#include "VideoCore/FileLock.h"

#include <filesystem>
#include <memory>
#include <string>

namespace orvo::server {

/// Where a server keeps everything.
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

    /// Makes a new data folder and returns the credential, which is kept nowhere else: empty when the database is one that
    /// another instance has begun, whose credential stays. Throws `Error` when there is a server already, `DatabaseError`
    /// and file system errors.
    std::string init(const NewServer& server) const;

    /// Throws `Error` when there is no server here or its configuration is wrong.
    Configuration configuration() const;

    /// The database that the configuration names, brought up to date. Throws `DatabaseError`.
    std::unique_ptr<Database> openDatabase(const Configuration& configuration) const;

    /// Held by the one program that may change the folder. Throws `Error` when another one does.
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
    /// Made when it is missing, so that only its owner can read it. Throws file system errors.
    std::filesystem::path secrets() const;
    std::filesystem::path lock() const { return m_root / "lock"; }

private:
    std::filesystem::path m_root;
};

} // namespace orvo::server
