#include "WeightFile.h"

#include <array>
#include <bit>
#include <concepts>
#include <cstring>
#include <utility>

namespace orvo::model {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");

namespace {

constexpr std::uint32_t containerVersion = 6;
constexpr std::string_view whisper = "WhisperSpec";
constexpr std::array<std::uint64_t, 6> bytesOfType = {4, 1, 2, 4, 2, 2};

/// Reads values from bytes that may end anywhere.
class Reader {
public:
    explicit Reader(std::string_view rest)
        : m_rest(rest)
    {
    }

    std::string_view bytes(std::size_t count)
    {
        if (count > m_rest.size())
            throw unusable("termina antes de tiempo.");
        const auto result = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return result;
    }

    template <std::integral T> T number()
    {
        T value{};
        const auto taken = bytes(sizeof value);
        std::memcpy(&value, taken.data(), taken.size());
        return value;
    }

    std::string_view text()
    {
        auto result = bytes(number<std::uint16_t>());
        if (!result.ends_with('\0'))
            throw unusable("hay un nombre mal formado.");
        result.remove_suffix(1);
        return result;
    }

    std::size_t left() const { return m_rest.size(); }

private:
    std::string_view m_rest;
};

} // namespace

Error unusable(const std::string& what)
{
    return captureError("El modelo de origen no sirve: " + what);
}

WeightFile::WeightFile(std::string content)
    : m_content(std::move(content))
{
    Reader reader(m_content);
    if (reader.number<std::uint32_t>() != containerVersion || reader.text() != whisper)
        throw unusable("no es un modelo de voz del tipo esperado.");
    reader.number<std::uint32_t>(); // The revision describes options that this program does not use.

    for (auto count = reader.number<std::uint32_t>(); count > 0; --count) {
        const auto name = reader.text();
        Entry entry{};
        entry.shape.resize(reader.number<std::uint8_t>());
        std::uint64_t numbers = 1;
        for (auto& size : entry.shape) {
            size = reader.number<std::uint32_t>();
            numbers *= size;
            if (numbers > m_content.size())
                throw unusable("hay una medida imposible.");
        }
        const auto type = reader.number<std::uint8_t>();
        const auto bytes = reader.number<std::uint32_t>();
        if (type >= bytesOfType.size() || bytes != numbers * bytesOfType[type])
            throw unusable("hay una medida que no corresponde a sus datos.");
        entry.type = static_cast<Type>(type);
        entry.data = reader.bytes(bytes);
        m_entries.insert_or_assign(name, std::move(entry));
    }
    for (auto count = reader.number<std::uint32_t>(); count > 0; --count) {
        reader.text();
        reader.text();
    }
    if (reader.left() > 0)
        throw unusable("tiene más datos de los que anuncia.");
}

const Shape& WeightFile::shape(std::string_view name, std::size_t dimensions) const
{
    const auto& shape = entry(name, Type::Half).shape;
    if (shape.size() != dimensions)
        throw unusable("«" + std::string(name) + "» tiene otra forma.");
    return shape;
}

std::string_view WeightFile::halves(std::string_view name, const Shape& shape) const
{
    const auto& found = entry(name, Type::Half);
    if (found.shape != shape)
        throw unusable("«" + std::string(name) + "» tiene otra forma.");
    return found.data;
}

std::int16_t WeightFile::integer(std::string_view name) const
{
    return Reader(entry(name, Type::Int16).data).number<std::int16_t>();
}

const WeightFile::Entry& WeightFile::entry(std::string_view name, Type type) const
{
    const auto found = m_entries.find(name);
    if (found == m_entries.end() || found->second.type != type)
        throw unusable("falta «" + std::string(name) + "».");
    return found->second;
}

} // namespace orvo::model
