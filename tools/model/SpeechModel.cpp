#include "SpeechModel.h"

#include "MelFilters.h"
#include "Vocabulary.h"
#include "WeightFile.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <ggml.h>
#include <span>
#include <utility>

namespace orvo::model {

namespace {

constexpr ggml_type packed = GGML_TYPE_Q5_1;
constexpr std::int32_t packedFileType = GGML_FTYPE_MOSTLY_Q5_1 + GGML_QNT_VERSION * GGML_QNT_VERSION_FACTOR;

/// A stored array, or one of its consecutive, equal parts.
struct Source {
    std::string name;
    std::uint32_t part = 0;
    std::uint32_t parts = 1;
};

enum class Bias { Present, Absent };
enum class Attention { Own, Cross };

std::vector<float> floats(std::string_view halves)
{
    std::vector<ggml_fp16_t> aligned(halves.size() / sizeof(ggml_fp16_t));
    std::memcpy(aligned.data(), halves.data(), halves.size());
    std::vector<float> result(aligned.size());
    ggml_fp16_to_fp32_row(aligned.data(), result.data(), static_cast<std::int64_t>(aligned.size()));
    if (!std::ranges::all_of(result, [](float value) { return std::isfinite(value); }))
        throw unusable("hay valores que no son números.");
    return result;
}

std::string_view bytesOf(std::span<const float> numbers)
{
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size_bytes()};
}

class Conversion {
public:
    explicit Conversion(const WeightFile& weights)
        : m_weights(weights)
        , m_state(weights.shape("decoder/embeddings/weight", 2)[1])
    {
    }

    std::string run(const Vocabulary& vocabulary) &&
    {
        const auto tokens = m_weights.shape("decoder/embeddings/weight", 2)[0];
        const auto bands = m_weights.shape("encoder/conv1/weight", 3)[1];
        const auto audioContext = m_weights.shape("encoder/position_encodings/encodings", 2)[0];
        const auto textContext = m_weights.shape("decoder/position_encodings/encodings", 2)[0];
        const auto audioBlocks = blocks("encoder");
        const auto textBlocks = blocks("decoder");
        if (vocabulary.total != tokens)
            throw unusable("el vocabulario es de otro modelo.");
        if (m_state == 0 || m_state % ggml_blck_size(packed) != 0 || bands == 0)
            throw unusable("tiene medidas que no se pueden empaquetar.");

        for (const std::uint32_t number : {std::uint32_t{GGML_FILE_MAGIC}, tokens, audioContext, m_state, heads("encoder"),
                 audioBlocks, textContext, m_state, heads("decoder"), textBlocks, bands})
            write(number);
        write(packedFileType);
        write(bands);
        write(melFrequencies);
        m_out += bytesOf(melFilters(bands));
        write(vocabulary.texts.size());
        for (const auto& text : vocabulary.texts) {
            write(text.size());
            m_out += text;
        }

        plain("encoder.positional_embedding", {"encoder/position_encodings/encodings"}, {audioContext, m_state});
        convolution("encoder.conv1", "encoder/conv1", bands);
        convolution("encoder.conv2", "encoder/conv2", m_state);
        for (std::uint32_t i = 0; i < audioBlocks; ++i) {
            const auto to = "encoder.blocks." + std::to_string(i);
            const auto from = "encoder/layer_" + std::to_string(i);
            attention(Attention::Own, to + ".attn", from + "/self_attention");
            feedForward(to + ".mlp", from + "/ffn");
        }
        norm("encoder.ln_post", "encoder/layer_norm");

        plain("decoder.positional_embedding", {"decoder/position_encodings/encodings"}, {textContext, m_state});
        matrix("decoder.token_embedding.weight", {"decoder/embeddings/weight"}, {tokens, m_state});
        for (std::uint32_t i = 0; i < textBlocks; ++i) {
            const auto to = "decoder.blocks." + std::to_string(i);
            const auto from = "decoder/layer_" + std::to_string(i);
            attention(Attention::Own, to + ".attn", from + "/self_attention");
            attention(Attention::Cross, to + ".cross_attn", from + "/attention");
            feedForward(to + ".mlp", from + "/ffn");
        }
        norm("decoder.ln", "decoder/layer_norm");
        return std::move(m_out);
    }

private:
    std::uint32_t blocks(const std::string& side) const
    {
        std::uint32_t count = 0;
        while (m_weights.contains(side + "/layer_" + std::to_string(count) + "/self_attention/linear_0/weight"))
            ++count;
        return count;
    }

    std::uint32_t heads(const std::string& side) const
    {
        const int count = m_weights.integer(side + "/num_heads");
        if (count <= 0 || m_state % static_cast<std::uint32_t>(count) != 0)
            throw unusable("tiene un reparto imposible.");
        return static_cast<std::uint32_t>(count);
    }

    std::string_view halves(const Source& from, Shape shape) const
    {
        shape[0] *= from.parts;
        const auto whole = m_weights.halves(from.name, shape);
        const auto size = whole.size() / from.parts;
        return whole.substr(from.part * size, size);
    }

    void write(std::integral auto number)
    {
        const auto stored = static_cast<std::int32_t>(number);
        m_out.append(reinterpret_cast<const char*>(&stored), sizeof stored);
    }

    void tensor(const std::string& name, const Shape& shape, ggml_type type, std::string_view data)
    {
        write(shape.size());
        write(name.size());
        write(std::to_underlying(type));
        for (auto size = shape.rbegin(); size != shape.rend(); ++size)
            write(*size);
        m_out += name;
        m_out += data;
    }

    void plain(const std::string& to, const Source& from, const Shape& shape)
    {
        tensor(to, shape, GGML_TYPE_F32, bytesOf(floats(halves(from, shape))));
    }

    void matrix(const std::string& to, const Source& from, const Shape& shape)
    {
        const auto numbers = floats(halves(from, shape));
        const std::int64_t rows = shape[0];
        const std::int64_t columns = shape[1];
        std::string data(ggml_row_size(packed, columns) * shape[0], '\0');
        ggml_quantize_chunk(packed, numbers.data(), data.data(), 0, rows, columns, nullptr);
        tensor(to, shape, packed, data);
    }

    /// `from` is the folder of a weight and its bias.
    void linear(const std::string& to, const Source& from, const Shape& shape, Bias bias = Bias::Present)
    {
        matrix(to + ".weight", {from.name + "/weight", from.part, from.parts}, shape);
        if (bias == Bias::Present)
            plain(to + ".bias", {from.name + "/bias", from.part, from.parts}, {shape[0]});
    }

    void norm(const std::string& to, const std::string& from)
    {
        plain(to + ".weight", {from + "/gamma"}, {m_state});
        plain(to + ".bias", {from + "/beta"}, {m_state});
    }

    void convolution(const std::string& to, const std::string& from, std::uint32_t channels)
    {
        const Shape shape = {m_state, channels, 3};
        const auto weight = halves({from + "/weight"}, shape);
        floats(weight); // Stored as half precision, but checked to be finite.
        tensor(to + ".weight", shape, GGML_TYPE_F16, weight);
        tensor(to + ".bias", {m_state, 1}, GGML_TYPE_F32, bytesOf(floats(halves({from + "/bias"}, {m_state}))));
    }

    /// Projections of the same input are stored as one. The bias of keys is zero and omitted.
    void attention(Attention kind, const std::string& to, const std::string& from)
    {
        const Shape square = {m_state, m_state};
        const std::string first = from + "/linear_0";
        const std::string second = from + "/linear_1";
        const bool own = kind == Attention::Own;
        linear(to + ".query", own ? Source(first, 0, 3) : Source(first), square);
        linear(to + ".key", own ? Source(first, 1, 3) : Source(second, 0, 2), square, Bias::Absent);
        linear(to + ".value", own ? Source(first, 2, 3) : Source(second, 1, 2), square);
        linear(to + ".out", {own ? second : from + "/linear_2"}, square);
        norm(to + "_ln", from + "/layer_norm");
    }

    void feedForward(const std::string& to, const std::string& from)
    {
        linear(to + ".0", {from + "/linear_0"}, {4 * m_state, m_state});
        linear(to + ".2", {from + "/linear_1"}, {m_state, 4 * m_state});
        norm(to + "_ln", from + "/layer_norm");
    }

    const WeightFile& m_weights;
    std::uint32_t m_state; ///< The width of the model: numbers per position.
    std::string m_out;
};

} // namespace

std::string speechModel(const WeightFile& weights, const Vocabulary& vocabulary)
{
    return Conversion(weights).run(vocabulary);
}

} // namespace orvo::model
