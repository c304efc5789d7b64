#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct yyjson_doc;
struct yyjson_val;
struct yyjson_mut_doc;
struct yyjson_mut_val;

namespace orvo {

/// A parsed JSON object. Copies share the document.
///
/// The accessors return nullopt when the key is missing or its value has another type.
class JsonObject {
public:
    /// An empty object.
    JsonObject() = default;

    /// Parses a text; returns nullopt when it is not a JSON object.
    static std::optional<JsonObject> parse(std::string_view text);

    std::optional<std::string> text(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    /// Accepts a number with a zero fraction.
    std::optional<std::int64_t> integer(std::string_view key) const;
    /// An array whose items are all objects.
    std::optional<std::vector<JsonObject>> objects(std::string_view key) const;

private:
    friend class JsonBuilder;

    JsonObject(std::shared_ptr<yyjson_doc> document, yyjson_val* value);
    yyjson_val* find(std::string_view key) const;

    std::shared_ptr<yyjson_doc> m_document;
    yyjson_val* m_value = nullptr;
};

/// Builds a JSON object. Setting a key again replaces its value.
class JsonBuilder {
public:
    JsonBuilder();
    /// Starts with a copy of an object.
    explicit JsonBuilder(const JsonObject& object);

    JsonBuilder& set(std::string_view key, std::string_view value);
    JsonBuilder& set(std::string_view key, const char* value) { return set(key, std::string_view(value)); }
    JsonBuilder& set(std::string_view key, bool value);
    JsonBuilder& set(std::string_view key, std::int64_t value);
    JsonBuilder& set(std::string_view key, std::span<const std::string> values);
    /// Appends an empty object to the array `key`, creating it if needed. `set` applies to it until `endItem`.
    JsonBuilder& beginItem(std::string_view key);
    JsonBuilder& endItem();

    /// The object as UTF-8 on one line. Throws `captureError` for a string that is not UTF-8.
    std::string text() const;

private:
    void put(std::string_view key, yyjson_mut_val* value);
    yyjson_mut_val* copyOf(std::string_view text);

    struct Free {
        void operator()(yyjson_mut_doc* document) const;
    };
    std::unique_ptr<yyjson_mut_doc, Free> m_document;
    yyjson_mut_val* m_root = nullptr;
    yyjson_mut_val* m_target = nullptr; ///< The root, or the open item.
};

} // namespace orvo
