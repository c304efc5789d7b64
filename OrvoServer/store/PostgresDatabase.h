#pragma once

#include "OrvoServer/store/Database.h"

#include <memory>
#include <mutex>

namespace orvo::server {

/// A PostgreSQL database that several instances of the server share.
///
/// Writers of all instances take turns by an advisory lock, as SQLite's do by its file lock, so that read-then-write
/// statements behave the same on both. Replaces connections that the database server has closed.
class PostgresDatabase final : public Database {
public:
    /// `address` is a connection string or URL ("postgresql://user@host/name"). Throws `DatabaseError`.
    explicit PostgresDatabase(std::string address);
    ~PostgresDatabase() override;

    void read(const std::function<void(Session&)>& work) override;
    void write(const std::function<void(Session&)>& work) override;

private:
    class Connection;

    void run(const std::vector<std::string_view>& begin, const std::function<void(Session&)>& work);
    std::unique_ptr<Connection> begun(const std::vector<std::string_view>& begin);

    const std::string m_address;
    std::mutex m_mutex; ///< Guards `m_idle`.
    std::vector<std::unique_ptr<Connection>> m_idle;
};

} // namespace orvo::server
