#pragma once

#include "VideoCore/Error.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvo::server {

/// A failure of the database, with a text for the author.
class DatabaseError : public Error {
public:
    enum class Kind : std::uint8_t {
        busy, ///< Locked or unreachable; a retry may help.
        full, ///< The disk is full.
        other,
    };

    DatabaseError(Kind kind, const std::string& message)
        : Error(captureError(message))
        , m_kind(kind)
    {
    }
    Kind kind() const noexcept { return m_kind; }

private:
    Kind m_kind;
};

/// A value of a column or a parameter.
class Value {
public:
    Value() = default;
    Value(std::nullptr_t) { }
    Value(std::int64_t number)
        : m_value(number)
    {
    }
    Value(int number)
        : m_value(std::int64_t{number})
    {
    }
    Value(std::uint64_t number)
        : m_value(static_cast<std::int64_t>(number))
    {
    }
    Value(bool value)
        : m_value(std::int64_t{value})
    {
    }
    Value(std::string text)
        : m_value(std::move(text))
    {
    }
    Value(std::string_view text)
        : m_value(std::string(text))
    {
    }
    Value(const char* text)
        : m_value(std::string(text))
    {
    }

    bool isNull() const { return std::holds_alternative<std::monostate>(m_value); }
    bool isText() const { return std::holds_alternative<std::string>(m_value); }
    /// 0 for anything but a number.
    std::int64_t number() const
    {
        const auto* number = std::get_if<std::int64_t>(&m_value);
        return number ? *number : 0;
    }
    /// Empty for anything but a text.
    const std::string& text() const
    {
        static const std::string none;
        const auto* text = std::get_if<std::string>(&m_value);
        return text ? *text : none;
    }

private:
    std::variant<std::monostate, std::int64_t, std::string> m_value;
};

using Row = std::vector<Value>;

/// Runs statements within one transaction. Parameters are "$1", "$2" and so on, in order.
class Session {
public:
    Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    virtual ~Session() = default;

    /// Throws `DatabaseError`.
    virtual std::vector<Row> run(std::string_view sql, const std::vector<Value>& parameters = {}) = 0;
};

/// Stores everything but the files. Calls block, so use worker threads. Thread-safe.
///
/// Callers use the common SQL of SQLite and PostgreSQL.
class Database {
public:
    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    virtual ~Database() = default;

    /// Calls `work` with one consistent view. Throws `DatabaseError` and the exceptions of `work`.
    virtual void read(const std::function<void(Session&)>& work) = 0;

    /// Calls `work`, then commits durably; rolls back if it throws. Throws like `read`.
    virtual void write(const std::function<void(Session&)>& work) = 0;
};

/// Creates the tables or migrates those of an older version. Throws `DatabaseError`, also for a newer version.
void migrate(Database& database);

} // namespace orvo::server
