#pragma once

#include "VideoCore/Error.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::model {

/// The error for a damaged, incomplete or unrelated file. `what` continues a sentence in Spanish.
Error unusable(const std::string& what);

/// The dimensions, the outermost first.
using Shape = std::vector<std::uint32_t>;

/// The named arrays of a speech model in the binary container of version 6, little-endian:
///
///     version u32, kind text, revision u32
///     count u32, then for each: name text, dimensions u8 and each as u32, type u8, bytes u32, the numbers
///     count u32, then for each alias: its name and its target
///
/// where a text is its length as u16, including a final NUL, and its characters.
class WeightFile {
public:
    /// Throws `unusable` unless the content is one complete container of a Whisper model.
    explicit WeightFile(std::string content);
    WeightFile(const WeightFile&) = delete; // Its views point into its own content.
    WeightFile& operator=(const WeightFile&) = delete;

    bool contains(std::string_view name) const { return m_entries.contains(name); }

    /// The shape of the array. Throws `unusable` when it is missing or has another number of dimensions.
    const Shape& shape(std::string_view name, std::size_t dimensions) const;

    /// The half-precision numbers of the array, valid as long as this object. Throws `unusable` when they are missing or
    /// have another shape.
    std::string_view halves(std::string_view name, const Shape& shape) const;

    /// A single 16-bit integer. Throws `unusable` when it is missing.
    std::int16_t integer(std::string_view name) const;

private:
    enum class Type : std::uint8_t { Float, Int8, Int16, Int32, Half, BrainFloat };
    struct Entry {
        Shape shape;
        Type type;
        std::string_view data;
    };

    const Entry& entry(std::string_view name, Type type) const;

    std::string m_content;
    std::map<std::string_view, Entry> m_entries;
};

} // namespace orvo::model
