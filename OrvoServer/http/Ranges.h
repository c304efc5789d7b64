#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace orvo::server {

/// The bytes `first` to `last`, inclusive.
struct ByteRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;

    std::uint64_t length() const { return last - first + 1; }
    friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// A part of an upload.
struct ContentRange {
    ByteRange bytes;
    std::uint64_t size = 0; ///< Of the whole; more than `bytes.last`.

    friend bool operator==(const ContentRange&, const ContentRange&) = default;
};

/// Parses "bytes FIRST-LAST/SIZE", decimal, with FIRST <= LAST < SIZE. Returns nullopt for anything else.
std::optional<ContentRange> parseContentRange(std::string_view text);

enum class NoRange : std::uint8_t {
    whole, ///< A range that this server ignores: send the whole file.
    unsatisfiable, ///< 416
};

/// Parses a Range header for a file of `size` bytes. Ignores multiple ranges, as a server may.
std::variant<NoRange, ByteRange> parseRange(std::string_view text, std::uint64_t size);

} // namespace orvo::server
