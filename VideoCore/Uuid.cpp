#include "VideoCore/Uuid.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/random.h>
#include <system_error>

namespace orvo {

namespace {

constexpr std::size_t textLength = 36;

constexpr bool hyphenAt(std::size_t position)
{
    return position == 8 || position == 13 || position == 18 || position == 23;
}

/// The value of each hexadecimal digit, 0xFF for any other character.
constexpr auto digitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(0xFF);
    for (std::uint8_t i = 0; i < 10; ++i)
        values[static_cast<std::size_t>('0') + i] = i;
    for (std::uint8_t i = 0; i < 6; ++i) {
        values[static_cast<std::size_t>('A') + i] = static_cast<std::uint8_t>(10 + i);
        values[static_cast<std::size_t>('a') + i] = static_cast<std::uint8_t>(10 + i);
    }
    return values;
}();

} // namespace

Uuid Uuid::random()
{
    Uuid id;
    std::size_t filled = 0;
    while (filled < id.bytes.size()) {
        const ssize_t got = getrandom(id.bytes.data() + filled, id.bytes.size() - filled, 0);
        if (got > 0)
            filled += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            throw std::system_error(errno, std::system_category(), "getrandom");
    }
    id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0F) | 0x40);
    id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3F) | 0x80);
    return id;
}

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != textLength)
        return std::nullopt;
    Uuid id;
    std::size_t position = 0;
    for (auto& byte : id.bytes) {
        if (hyphenAt(position)) {
            if (text[position] != '-')
                return std::nullopt;
            ++position;
        }
        const auto high = digitValues[static_cast<unsigned char>(text[position])];
        const auto low = digitValues[static_cast<unsigned char>(text[position + 1])];
        if ((high | low) == 0xFF)
            return std::nullopt;
        byte = static_cast<std::uint8_t>(high << 4 | low);
        position += 2;
    }
    return id;
}

void Uuid::write(char* out) const
{
    static constexpr auto pairs = [] {
        constexpr std::string_view digits = "0123456789ABCDEF";
        std::array<std::array<char, 2>, 256> result{};
        for (std::size_t byte = 0; byte < result.size(); ++byte)
            result[byte] = {digits[byte >> 4], digits[byte & 0x0F]};
        return result;
    }();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            *out++ = '-';
        out = std::ranges::copy(pairs[bytes[i]], out).out;
    }
}

std::string Uuid::text() const
{
    std::string result(textLength, '\0');
    write(result.data());
    return result;
}

} // namespace orvo

std::size_t std::hash<orvo::Uuid>::operator()(const orvo::Uuid& id) const noexcept
{
    std::array<std::size_t, 2> halves{};
    std::memcpy(halves.data(), id.bytes.data(), sizeof halves);
    return halves[0] ^ halves[1];
}
