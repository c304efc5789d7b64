#pragma once

#include "OrvoServer/store/Database.h"

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>

namespace orvo::server {

/// An SQLite file in WAL mode with full synchronisation.
class SqliteDatabase final : public Database {
public:
    /// Opens the file or creates it. Throws `DatabaseError`.
    explicit SqliteDatabase(std::filesystem::path file);
    ~SqliteDatabase() override;

    void read(const std::function<void(Session&)>& work) override;
    void write(const std::function<void(Session&)>& work) override;

    /// Copies a snapshot into a new file while the database is in use. Throws `DatabaseError`.
    void backup(const std::filesystem::path& target);

    /// Checks the file; returns its first defect, or empty if it is sound.
    std::string problem();

private:
    class Connection;

    void run(std::string_view begin, const std::function<void(Session&)>& work);

    const std::filesystem::path m_file;
    std::mutex m_writing; ///< One writer at a time: waiting here is cheaper than in SQLite.
    std::mutex m_mutex; ///< Guards `m_idle`.
    std::vector<std::unique_ptr<Connection>> m_idle;
};

} // namespace orvo::server
