#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct yyjson_doc;
struct yyjson_val;

/// Reads and writes the JSON of requests and responses.
namespace orvo::server {

/// A value in a `JsonDocument`, which must outlive it. Accessors of a missing value return nullopt.
class JsonValue {
public:
    explicit JsonValue(yyjson_val* value = nullptr)
        : m_value(value)
    {
    }

    bool isObject() const;
    bool isArray() const;
    /// The member of an object.
    JsonValue operator[](std::string_view key) const;
    /// The element of an array.
    JsonValue at(std::size_t index) const;
    std::optional<std::string> text() const;
    std::optional<bool> boolean() const;
    /// A non-negative integer.
    std::optional<std::uint64_t> number() const;
    /// Calls `visit` for each element of an array.
    void forEach(const std::function<void(JsonValue)>& visit) const;
    /// The elements of an array of strings; nullopt for anything else.
    std::optional<std::vector<std::string>> texts() const;

private:
    yyjson_val* m_value;
};

class JsonDocument {
public:
    /// Parses strict UTF-8 JSON; `root()` is missing when that fails.
    explicit JsonDocument(std::string_view text);
    ~JsonDocument();
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    JsonValue root() const;

private:
    yyjson_doc* m_document;
};

/// Writes JSON. Replaces invalid UTF-8 bytes by U+FFFD.
class JsonWriter {
public:
    JsonWriter& open(char bracket);
    JsonWriter& close(char bracket);
    JsonWriter& key(std::string_view name);
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JsonWriter& value(bool value);
    JsonWriter& value(std::uint64_t value);
    JsonWriter& value(std::int64_t value);
    JsonWriter& value(double value);
    JsonWriter& null();
    JsonWriter& value(const std::vector<std::string>& texts);

    template <class T> JsonWriter& member(std::string_view name, const T& of) { return key(name).value(of); }

    std::string take() { return std::move(m_text); }
    std::string_view text() const { return m_text; }

private:
    void separate();

    std::string m_text;
};

/// {"error": text}
std::string errorJson(std::string_view text);

/// A list of strings as JSON, and its parser, which returns an empty list for anything else.
std::string listJson(const std::vector<std::string>& texts);
std::vector<std::string> listFromJson(std::string_view json);

} // namespace orvo::server
