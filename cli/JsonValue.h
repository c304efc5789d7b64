#pragma once

#include "VideoCore/Uuid.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvo::cli {

/// A JSON value, built from nested initialisers: `JsonValue::Object{{"id", id}, {"cuts", JsonValue::Array{…}}}`. Keys
/// keep their order.
class JsonValue {
public:
    using Array = std::vector<JsonValue>;
    using Object = std::vector<std::pair<std::string, JsonValue>>;
    using Content = std::variant<bool, std::int64_t, double, std::string, Array, Object>;

    JsonValue(std::same_as<bool> auto value) // NOLINT(google-explicit-constructor): for initialiser lists.
        : m_content(value)
    {
    }
    JsonValue(std::integral auto value) // NOLINT(google-explicit-constructor)
        requires(!std::same_as<decltype(value), bool>)
        : m_content(static_cast<std::int64_t>(value))
    {
    }
    JsonValue(double value) // NOLINT(google-explicit-constructor)
        : m_content(value)
    {
    }
    JsonValue(std::convertible_to<std::string_view> auto const& text) // NOLINT(google-explicit-constructor)
        : m_content(std::string(std::string_view(text)))
    {
    }
    JsonValue(const Uuid& id) // NOLINT(google-explicit-constructor)
        : m_content(id.text())
    {
    }
    JsonValue(Array items) // NOLINT(google-explicit-constructor)
        : m_content(std::move(items))
    {
    }
    JsonValue(Object members) // NOLINT(google-explicit-constructor)
        : m_content(std::move(members))
    {
    }

    const Content& content() const noexcept { return m_content; }

    /// Serialises the value as pretty-printed UTF-8 with a final line break. Invalid UTF-8 becomes U+FFFD. Throws
    /// `captureError` for a non-finite number.
    std::string text() const;

private:
    Content m_content;
};

} // namespace orvo::cli
