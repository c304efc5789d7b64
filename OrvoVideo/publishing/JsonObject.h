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

/// A JSON object as it was read. Copies share what was read.
///
/// Every question answers nothing when the key is missing or its value is of another kind.
class JsonObject {
public:
    /// The object without keys.
    JsonObject() = default;

    /// Reads a text; nothing when it is no JSON or another value than an object.
    static std::optional<JsonObject> parse(std::string_view text);

    std::optional<std::string> text(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    /// Also a number with a fraction of zero.
    std::optional<std::int64_t> integer(std::string_view key) const;
    /// A list in which every item is an object.
    std::optional<std::vector<JsonObject>> objects(std::string_view key) const;

private:
    friend class JsonBuilder;

    JsonObject(std::shared_ptr<yyjson_doc> document, yyjson_val* value);
    yyjson_val* find(std::string_view key) const;

    std::shared_ptr<yyjson_doc> m_document;
    yyjson_val* m_value = nullptr;
};

/// A JSON object under construction. A key that is set again gets the new value.
class JsonBuilder {
public:
    JsonBuilder();
    /// Begins with everything that an object has.
    explicit JsonBuilder(const JsonObject& object);

    JsonBuilder& set(std::string_view key, std::string_view value);
    JsonBuilder& set(std::string_view key, const char* value) { return set(key, std::string_view(value)); }
    JsonBuilder& set(std::string_view key, bool value);
    JsonBuilder& set(std::string_view key, std::int64_t value);
    JsonBuilder& set(std::string_view key, std::span<const std::string> values);
    /// Appends an empty object to the list `key`, which is made when needed; what is set next goes there until `end`.
    JsonBuilder& beginItem(std::string_view key);
    JsonBuilder& endItem();

    /// The object as UTF-8 on one line. Throws `captureError` for a text in it that is not UTF-8.
    std::string text() const;

private:
    void put(std::string_view key, yyjson_mut_val* value);
    yyjson_mut_val* copyOf(std::string_view text);

    struct Free {
        void operator()(yyjson_mut_doc* document) const;
    };
    std::unique_ptr<yyjson_mut_doc, Free> m_document;
    yyjson_mut_val* m_root = nullptr;
    yyjson_mut_val* m_target = nullptr; ///< The root, or the item that was begun.
};

} // namespace orvo
