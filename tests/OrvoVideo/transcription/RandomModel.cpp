#include "RandomModel.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <format>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace orvo::test {

namespace {

using Shape = std::vector<std::int32_t>; ///< The innermost dimension first, as in the file.

constexpr std::int32_t magic = 0x67676d6c;
constexpr std::int32_t typeFloat = 0, typeHalf = 1;
constexpr std::int32_t fileOfHalves = 1;
constexpr std::int32_t audioContext = 1'500, textContext = 448;
constexpr std::int32_t frequencies = 201;

class Writer {
public:
    Writer(const std::filesystem::path& file, const ModelShape& shape)
        : m_out(file, std::ios::binary)
        , m_shape(shape)
    {
    }

    void run()
    {
        const auto [vocabulary, state, heads, audioLayers, textLayers, bands] = m_shape;
        for (const std::int32_t number : {magic, vocabulary, audioContext, state, heads, audioLayers, textContext, state,
                 heads, textLayers, bands, fileOfHalves, bands, frequencies})
            write(number);
        for (int i = 0; i < bands * frequencies; ++i)
            write(0.01F);
        constexpr std::int32_t texts = 50'257;
        write(texts);
        for (int i = 0; i < texts; ++i) {
            // The recogniser looks for these.
            const std::string text =
                i < 3 ? std::array{" ", " -", " '"}[static_cast<std::size_t>(i)] : std::format(" p{}", i);
            write(static_cast<std::int32_t>(text.size()));
            m_out << text;
        }

        floats("encoder.positional_embedding", {state, audioContext});
        halves("encoder.conv1.weight", {3, bands, state});
        floats("encoder.conv1.bias", {1, state});
        halves("encoder.conv2.weight", {3, state, state});
        floats("encoder.conv2.bias", {1, state});
        for (int i = 0; i < audioLayers; ++i) {
            const auto block = std::format("encoder.blocks.{}.", i);
            attention(block + "attn");
            feedForward(block + "mlp");
        }
        norm("encoder.ln_post");
        floats("decoder.positional_embedding", {state, textContext});
        halves("decoder.token_embedding.weight", {state, vocabulary});
        for (int i = 0; i < textLayers; ++i) {
            const auto block = std::format("decoder.blocks.{}.", i);
            attention(block + "attn");
            attention(block + "cross_attn");
            feedForward(block + "mlp");
        }
        norm("decoder.ln");
    }

private:
    void write(auto number)
        requires std::integral<decltype(number)> || std::floating_point<decltype(number)>
    {
        m_out.write(reinterpret_cast<const char*>(&number), sizeof number);
    }

    std::size_t begin(const std::string& name, const Shape& shape, std::int32_t type)
    {
        write(static_cast<std::int32_t>(shape.size()));
        write(static_cast<std::int32_t>(name.size()));
        write(type);
        std::size_t count = 1;
        for (const auto size : shape) {
            write(size);
            count *= static_cast<std::size_t>(size);
        }
        m_out << name;
        return count;
    }

    void floats(const std::string& name, const Shape& shape, float mean = 0)
    {
        std::vector<float> numbers(begin(name, shape, typeFloat));
        std::uniform_real_distribution<float> spread(mean - 0.02F, mean + 0.02F);
        for (auto& number : numbers)
            number = spread(m_random);
        m_out.write(reinterpret_cast<const char*>(numbers.data()), static_cast<std::streamsize>(numbers.size() * 4));
    }

    /// Half-precision numbers between 2^-8 and 2^-4, of either sign.
    std::uint16_t half() { return static_cast<std::uint16_t>((m_random() & 0x8FFFU) % 0x9000U | 0x1C00U); }

    void halves(const std::string& name, const Shape& shape)
    {
        if (m_halves.empty()) {
            for (int i = 0; i < pool; ++i) {
                const std::uint16_t number = half();
                m_halves.append(reinterpret_cast<const char*>(&number), sizeof number);
            }
        }
        fill(m_halves, begin(name, shape, typeHalf) * sizeof(std::uint16_t));
    }

    /// Writes `count` bytes by repeating `bytes`.
    void fill(const std::string& bytes, std::size_t count)
    {
        for (std::size_t written = 0; written < count; written += bytes.size())
            m_out.write(bytes.data(), static_cast<std::streamsize>(std::min(bytes.size(), count - written)));
    }

    void norm(const std::string& name)
    {
        floats(name + ".weight", {m_shape.state}, 1);
        floats(name + ".bias", {m_shape.state});
    }

    void attention(const std::string& name)
    {
        const auto state = m_shape.state;
        for (const auto* part : {"query", "key", "value", "out"}) {
            halves(std::format("{}.{}.weight", name, part), {state, state});
            if (std::string_view(part) != "key")
                floats(std::format("{}.{}.bias", name, part), {state});
        }
        norm(name + "_ln");
    }

    void feedForward(const std::string& name)
    {
        const auto state = m_shape.state;
        halves(name + ".0.weight", {state, 4 * state});
        floats(name + ".0.bias", {4 * state});
        halves(name + ".2.weight", {4 * state, state});
        floats(name + ".2.bias", {state});
        norm(name + "_ln");
    }

    std::ofstream m_out;
    ModelShape m_shape;
    std::mt19937 m_random; // The same weights each time.
    static constexpr int pool = 100'003; ///< Random numbers; a prime, so that rows differ.
    std::string m_halves;
};

} // namespace

void writeRandomModel(const std::filesystem::path& file, const ModelShape& shape)
{
    Writer(file, shape).run();
}

} // namespace orvo::test
