#include "OrvoServer/store/PostgresDatabase.h"

#include <charconv>
#include <format>
#include <libpq-fe.h>
#include <optional>
#include <utility>

namespace orvo::server {

namespace {

using Kind = DatabaseError::Kind;
using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

constexpr std::size_t maxIdle = 16;

// The advisory lock of the writers: "orvo" as a number.
constexpr std::string_view takeTurn = "SELECT pg_advisory_xact_lock(1869772399)";

/// The types of integer columns: int8, int2, int4, and numeric, the type of sums of int8.
bool isNumber(Oid type)
{
    return type == 20 || type == 21 || type == 23 || type == 1700;
}

DatabaseError awayError()
{
    return {Kind::busy, "La base de datos PostgreSQL no responde. Comprueba que está en marcha."};
}

DatabaseError failureOf(const PGresult* result)
{
    const char* field = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const std::string_view state = field ? field : "";
    // 53100: disk full. 40001, 40P01, 55P03: conflict with another transaction; 53300: too many connections; 57014: timeout.
    // 57P and 08: shutting down or disconnected.
    if (state == "53100")
        return {Kind::full, "El disco de la base de datos está lleno."};
    if (state == "40001" || state == "40P01" || state == "55P03" || state == "53300" || state == "57014")
        return {Kind::busy, "La base de datos está ocupada. Inténtalo de nuevo en unos segundos."};
    if (state.empty() || state.starts_with("57P") || state.starts_with("08"))
        return awayError();
    return {Kind::other, std::format("La base de datos PostgreSQL ha fallado ({}).", state)};
}

} // namespace

class PostgresDatabase::Connection final : public Session {
public:
    explicit Connection(const std::string& address)
        : m_handle(PQconnectdb(address.c_str()), &PQfinish)
    {
        if (PQstatus(m_handle.get()) != CONNECTION_OK)
            throw awayError();
        PQsetClientEncoding(m_handle.get(), "UTF8");
        // Notices would interrupt the log on standard error.
        run("SET client_min_messages = 'error'");
        run("SET statement_timeout = '60s'");
        run("SET idle_in_transaction_session_timeout = '60s'");
    }

    bool isOpen() const { return PQstatus(m_handle.get()) == CONNECTION_OK; }
    bool isInTransaction() const { return PQtransactionStatus(m_handle.get()) != PQTRANS_IDLE; }

    std::vector<Row> run(std::string_view sql, const std::vector<Value>& parameters = {}) override
    {
        std::vector<std::string> texts;
        texts.reserve(parameters.size());
        std::vector<const char*> values;
        for (const auto& parameter : parameters) {
            texts.push_back(parameter.isText() ? withoutNull(parameter.text()) : std::to_string(parameter.number()));
            values.push_back(parameter.isNull() ? nullptr : texts.back().c_str());
        }
        const Result result(PQexecParams(m_handle.get(), std::string(sql).c_str(), static_cast<int>(values.size()), nullptr,
                                values.data(), nullptr, nullptr, 0),
            &PQclear);
        const auto status = PQresultStatus(result.get());
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
            throw failureOf(result.get());
        std::vector<Row> rows;
        const int columns = PQnfields(result.get());
        for (int i = 0; i < PQntuples(result.get()); ++i) {
            Row row;
            row.reserve(static_cast<std::size_t>(columns));
            for (int column = 0; column < columns; ++column)
                row.push_back(valueOf(*result, i, column));
            rows.push_back(std::move(row));
        }
        return rows;
    }

private:
    /// PostgreSQL rejects NUL characters, and no stored text needs them.
    static std::string withoutNull(std::string text)
    {
        std::erase(text, '\0');
        return text;
    }

    static Value valueOf(const PGresult& result, int row, int column)
    {
        if (PQgetisnull(&result, row, column))
            return {};
        const std::string_view text(
            PQgetvalue(&result, row, column), static_cast<std::size_t>(PQgetlength(&result, row, column)));
        std::int64_t number = 0;
        if (isNumber(PQftype(&result, column))) {
            std::from_chars(text.data(), text.data() + text.size(), number);
            return {number};
        }
        return {text};
    }

    std::unique_ptr<PGconn, decltype(&PQfinish)> m_handle;
};

PostgresDatabase::PostgresDatabase(std::string address)
    : m_address(std::move(address))
{
    m_idle.push_back(std::make_unique<Connection>(m_address));
}

PostgresDatabase::~PostgresDatabase() = default;

/// Begins a transaction. Discards idle connections that the database server has closed; throws if a new one fails.
std::unique_ptr<PostgresDatabase::Connection> PostgresDatabase::begun(const std::vector<std::string_view>& begin)
{
    for (;;) {
        std::unique_ptr<Connection> connection;
        {
            const std::scoped_lock lock(m_mutex);
            if (!m_idle.empty()) {
                connection = std::move(m_idle.back());
                m_idle.pop_back();
            }
        }
        const bool isNew = !connection;
        if (isNew)
            connection = std::make_unique<Connection>(m_address);
        try {
            for (const auto statement : begin)
                connection->run(statement);
            return connection;
        } catch (const DatabaseError&) {
            if (isNew || connection->isOpen())
                throw;
        }
    }
}

void PostgresDatabase::run(const std::vector<std::string_view>& begin, const std::function<void(Session&)>& work)
{
    auto connection = begun(begin);
    try {
        work(*connection);
        connection->run("COMMIT");
    } catch (...) {
        try {
            if (connection->isOpen() && connection->isInTransaction())
                connection->run("ROLLBACK");
        } catch (const DatabaseError&) {
            connection.reset();
        }
        if (connection && connection->isOpen()) {
            const std::scoped_lock lock(m_mutex);
            m_idle.push_back(std::move(connection));
        }
        throw;
    }
    const std::scoped_lock lock(m_mutex);
    if (m_idle.size() < maxIdle)
        m_idle.push_back(std::move(connection));
}

void PostgresDatabase::read(const std::function<void(Session&)>& work)
{
    run({"BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"}, work);
}

void PostgresDatabase::write(const std::function<void(Session&)>& work)
{
    run({"BEGIN", takeTurn}, work);
}

} // namespace orvo::server
