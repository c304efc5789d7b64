#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

/// A 128-bit universally unique identifier (RFC 9562).
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    /// A random (version 4) identifier from the system's secure generator.
    static Uuid random();

    /// Parses the 36-character form in upper or lower case; returns nullopt for any other text.
    static std::optional<Uuid> parse(std::string_view text);

    /// The canonical 36-character form with upper-case digits.
    std::string text() const;

    /// Writes the canonical form, 36 characters, without a terminator.
    void write(char* out) const;

    friend bool operator==(const Uuid&, const Uuid&) = default;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

} // namespace orvo

template <> struct std::hash<orvo::Uuid> {
    std::size_t operator()(const orvo::Uuid& id) const noexcept;
};
