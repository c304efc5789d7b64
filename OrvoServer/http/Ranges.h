#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace orvo::server {

/// Bytes `first` to `last`, both included.
struct ByteRange {
    std::uint64_t first = 0;
    std::uint64_t last = 0;

    std::uint64_t length() const { return last - first + 1; }
    friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// A part of a whole that is uploaded.
struct ContentRange {
    ByteRange bytes;
    std::uint64_t size = 0; ///< Of the whole; more than `bytes.last`.

    friend bool operator==(const ContentRange&, const ContentRange&) = default;
};

/// Reads "bytes FIRST-LAST/SIZE", decimal, with LAST not before FIRST and SIZE above LAST. Returns nullopt for anything
/// else.
std::optional<ContentRange> parseContentRange(std::string_view text);

enum class NoRange : std::uint8_t {
    whole, ///< Nothing that this server answers in part: send the whole.
    unsatisfiable, ///< 416
};

/// Reads a Range header for a file of `size` bytes. Of several ranges, which a server may ignore, none is served.
std::variant<NoRange, ByteRange> parseRange(std::string_view text, std::uint64_t size);

} // namespace orvo::server
