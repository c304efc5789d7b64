#include "OrvoServer/store/SqliteDatabase.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <format>
#include <map>

namespace orvo::server {

namespace {

DatabaseError failureOf(sqlite3* handle, int code)
{
    using Kind = DatabaseError::Kind;
    const std::string detail = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code);
    switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {Kind::busy, "La base de datos está ocupada. Inténtalo de nuevo en unos segundos."};
    case SQLITE_FULL:
        return {Kind::full, "El disco del servidor está lleno."};
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_IOERR:
        return {Kind::other, std::format("No se puede usar la base de datos del servidor ({}).", detail)};
    default:
        return {Kind::other, std::format("La base de datos del servidor ha fallado ({}).", detail)};
    }
}

} // namespace

class SqliteDatabase::Connection final : public Session {
public:
    enum class File : std::uint8_t { mayBeNew, exists };

    Connection(const std::filesystem::path& file, File state)
    {
        // A missing database must not look like an empty one.
        const int create = state == File::mayBeNew ? SQLITE_OPEN_CREATE : 0;
        const int code = sqlite3_open_v2(
            file.c_str(), &m_handle, SQLITE_OPEN_READWRITE | create | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW, nullptr);
        if (code != SQLITE_OK) {
            const auto error = failureOf(m_handle, code);
            sqlite3_close(m_handle);
            throw error;
        }
        sqlite3_busy_timeout(m_handle, 10000);
        try {
            for (const auto* pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA foreign_keys=ON",
                     "PRAGMA trusted_schema=OFF"})
                run(pragma);
        } catch (...) {
            close();
            throw;
        }
    }
    ~Connection() override { close(); }

    std::vector<Row> run(std::string_view sql, const std::vector<Value>& parameters = {}) override
    {
        sqlite3_stmt* statement = prepared(sql);
        // Resets the statement on every exit, which releases its locks.
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> reset(statement, &sqlite3_reset);
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            // For SQLite, "$2" is a name; its index is the order of first appearance in the text.
            const int index = sqlite3_bind_parameter_index(statement, std::format("${}", i + 1).c_str());
            if (index > 0)
                bind(statement, index, parameters[i]);
        }
        std::vector<Row> rows;
        while (true) {
            const int code = sqlite3_step(statement);
            if (code == SQLITE_DONE)
                return rows;
            if (code != SQLITE_ROW)
                throw failureOf(m_handle, code);
            Row row;
            const int columns = sqlite3_column_count(statement);
            row.reserve(static_cast<std::size_t>(columns));
            for (int i = 0; i < columns; ++i)
                row.push_back(column(statement, i));
            rows.push_back(std::move(row));
        }
    }

    sqlite3* handle() { return m_handle; }
    bool isInTransaction() const { return sqlite3_get_autocommit(m_handle) == 0; }

private:
    void close()
    {
        for (const auto& [sql, statement] : m_statements)
            sqlite3_finalize(statement);
        m_statements.clear();
        sqlite3_close(m_handle);
        m_handle = nullptr;
    }

    sqlite3_stmt* prepared(std::string_view sql)
    {
        if (const auto found = m_statements.find(sql); found != m_statements.end())
            return found->second;
        sqlite3_stmt* statement = nullptr;
        const int code = sqlite3_prepare_v3(
            m_handle, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
        if (code != SQLITE_OK)
            throw failureOf(m_handle, code);
        m_statements.emplace(sql, statement);
        return statement;
    }

    void bind(sqlite3_stmt* statement, int index, const Value& value)
    {
        int code = SQLITE_OK;
        if (value.isNull())
            code = sqlite3_bind_null(statement, index);
        else if (value.isText())
            code =
                sqlite3_bind_text64(statement, index, value.text().data(), value.text().size(), SQLITE_STATIC, SQLITE_UTF8);
        else
            code = sqlite3_bind_int64(statement, index, value.number());
        if (code != SQLITE_OK)
            throw failureOf(m_handle, code);
    }

    static Value column(sqlite3_stmt* statement, int index)
    {
        switch (sqlite3_column_type(statement, index)) {
        case SQLITE_INTEGER:
            return {std::int64_t{sqlite3_column_int64(statement, index)}};
        case SQLITE_TEXT: {
            const void* text = sqlite3_column_text(statement, index);
            return {std::string_view(
                static_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(statement, index)))};
        }
        default:
            return {};
        }
    }

    sqlite3* m_handle = nullptr;
    std::map<std::string, sqlite3_stmt*, std::less<>> m_statements;
};

SqliteDatabase::SqliteDatabase(std::filesystem::path file)
    : m_file(std::move(file))
{
    const mode_t mask = ::umask(077);
    try {
        m_idle.push_back(std::make_unique<Connection>(m_file, Connection::File::mayBeNew));
    } catch (...) {
        ::umask(mask);
        throw;
    }
    ::umask(mask);
}

SqliteDatabase::~SqliteDatabase() = default;

void SqliteDatabase::run(std::string_view begin, const std::function<void(Session&)>& work)
{
    std::unique_ptr<Connection> connection;
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_idle.empty()) {
            connection = std::move(m_idle.back());
            m_idle.pop_back();
        }
    }
    if (!connection)
        connection = std::make_unique<Connection>(m_file, Connection::File::exists);
    try {
        connection->run(begin);
        work(*connection);
        connection->run("COMMIT");
    } catch (...) {
        // Some errors, such as a full disk, roll back by themselves. Discards a connection that cannot roll back.
        try {
            if (connection->isInTransaction())
                connection->run("ROLLBACK");
        } catch (const DatabaseError&) {
            connection.reset();
        }
        if (connection) {
            const std::scoped_lock lock(m_mutex);
            m_idle.push_back(std::move(connection));
        }
        throw;
    }
    const std::scoped_lock lock(m_mutex);
    m_idle.push_back(std::move(connection));
}

void SqliteDatabase::read(const std::function<void(Session&)>& work)
{
    run("BEGIN", work);
}

void SqliteDatabase::write(const std::function<void(Session&)>& work)
{
    const std::scoped_lock lock(m_writing);
    run("BEGIN IMMEDIATE", work);
}

void SqliteDatabase::backup(const std::filesystem::path& target)
{
    Connection source(m_file, Connection::File::exists);
    sqlite3* copy = nullptr;
    int code = sqlite3_open_v2(target.c_str(), &copy, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closing(copy, &sqlite3_close);
    if (code != SQLITE_OK)
        throw failureOf(copy, code);
    sqlite3_backup* backup = sqlite3_backup_init(copy, "main", source.handle(), "main");
    if (!backup)
        throw failureOf(copy, sqlite3_errcode(copy));
    // Copies in one step, because WAL does not block the writers meanwhile.
    sqlite3_backup_step(backup, -1);
    code = sqlite3_backup_finish(backup);
    if (code != SQLITE_OK)
        throw failureOf(copy, code);
}

std::string SqliteDatabase::problem()
{
    std::string found;
    read([&](Session& session) {
        const auto rows = session.run("PRAGMA quick_check(1)");
        if (rows.empty() || rows[0][0].text() != "ok")
            found = rows.empty() ? "sin respuesta" : rows[0][0].text();
    });
    return found;
}

} // namespace orvo::server
