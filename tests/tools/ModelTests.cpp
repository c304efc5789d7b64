#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"

#include <concepts>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <numeric>
#include <string>
#include <vector>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint16_t one = 0x3C00; ///< As a half-precision number; so are the next ones.
constexpr std::uint16_t two = 0x4000;
constexpr std::uint16_t three = 0x4200;
constexpr std::uint16_t notANumber = 0x7E00;

std::string bytes(std::integral auto number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

std::string text(const std::string& characters)
{
    return bytes(static_cast<std::uint16_t>(characters.size() + 1)) + characters + '\0';
}

/// The smallest speech model there can be: 32 numbers, 5 tokens, a block on each side.
class Origin {
public:
    std::map<std::string, std::string> entries; ///< Everything that follows each name.
    std::string vocabulary = "a\nĠa\nÃ©\n<|endoftext|>\n<|es|>\n";

    Origin()
    {
        add("encoder/position_encodings/encodings", {4, 32}, {one});
        add("encoder/conv1/weight", {32, 2, 3}, {one});
        add("encoder/conv1/bias", {32}, {one});
        add("encoder/conv2/weight", {32, 32, 3}, {two});
        add("encoder/conv2/bias", {32}, {one});
        add("decoder/position_encodings/encodings", {3, 32}, {one});
        add("decoder/embeddings/weight", {5, 32}, {one});
        for (const std::string side : {"encoder", "decoder"}) {
            entries[side + "/num_heads"] =
                bytes(std::uint8_t{0}) + bytes(std::uint8_t{2}) + bytes(2U) + bytes(std::uint16_t{1});
            addNorm(side);
            const auto block = side + "/layer_0";
            addNorm(block + "/self_attention");
            addLinear(block + "/self_attention/linear_0", 96, 32, {one, two, three});
            addLinear(block + "/self_attention/linear_1", 32, 32, {one});
            addNorm(block + "/ffn");
            addLinear(block + "/ffn/linear_0", 128, 32, {one});
            addLinear(block + "/ffn/linear_1", 32, 128, {one});
        }
        addNorm("decoder/layer_0/attention");
        addLinear("decoder/layer_0/attention/linear_0", 32, 32, {one});
        addLinear("decoder/layer_0/attention/linear_1", 64, 32, {two, three});
        addLinear("decoder/layer_0/attention/linear_2", 32, 32, {one});
    }

    /// Half-precision numbers: as many equal parts as there are values, each filled with one.
    void add(const std::string& name, const std::vector<std::uint32_t>& shape, const std::vector<std::uint16_t>& values)
    {
        std::string entry = bytes(static_cast<std::uint8_t>(shape.size()));
        for (const auto size : shape)
            entry += bytes(size);
        const auto count = std::accumulate(shape.begin(), shape.end(), 1U, std::multiplies<>());
        entry += bytes(std::uint8_t{4}) + bytes(2 * count);
        for (std::size_t i = 0; i < count; ++i)
            entry += bytes(values[i * values.size() / count]);
        entries[name] = entry;
    }

    std::string weights() const
    {
        std::string result = bytes(6U) + text("WhisperSpec") + bytes(3U) + bytes(static_cast<std::uint32_t>(entries.size()));
        for (const auto& [name, entry] : entries)
            result += text(name) + entry;
        return result + bytes(1U) + text("decoder/projection/weight") + text("decoder/embeddings/weight");
    }

private:
    void addLinear(
        const std::string& name, std::uint32_t rows, std::uint32_t columns, const std::vector<std::uint16_t>& values)
    {
        add(name + "/weight", {rows, columns}, values);
        add(name + "/bias", {rows}, values);
    }

    void addNorm(const std::string& folder)
    {
        add(folder + "/layer_norm/gamma", {32}, {three});
        add(folder + "/layer_norm/beta", {32}, {two});
    }
};

class Model : public testing::Test {
protected:
    void write(const std::string& weights, const std::string& vocabulary)
    {
        fs::create_directories(origin);
        std::ofstream(origin / "model.bin.part1", std::ios::binary) << weights.substr(0, weights.size() / 2);
        std::ofstream(origin / "model.bin.part2", std::ios::binary) << weights.substr(weights.size() / 2);
        std::ofstream(origin / "vocabulary.txt", std::ios::binary) << vocabulary;
    }

    void convert() { ProcessRunner::run(ORVO_MODEL_PROGRAM, {origin, destination}); }

    /// What the program says when it fails, as it should, and leaves nothing.
    std::string refusal()
    {
        try {
            convert();
        } catch (const Error& error) {
            EXPECT_TRUE(fs::is_empty(destination.parent_path()));
            return error.what();
        }
        fs::remove(destination);
        return "accepted";
    }

    std::string refusal(const std::string& weights, const std::string& vocabulary)
    {
        write(weights, vocabulary);
        return refusal();
    }

    std::string refusal(const Origin& damaged) { return refusal(damaged.weights(), damaged.vocabulary); }

    TemporaryFolder folder;
    fs::path origin = folder / "origin";
    fs::path destination = fs::path(folder / "result") / "model.bin";

    void SetUp() override { fs::create_directory(destination.parent_path()); }
};

/// Takes numbers and texts from a written model.
class Written {
public:
    explicit Written(const fs::path& file)
        : m_content(readFile(file))
    {
    }

    std::string take(std::size_t count)
    {
        if (count > m_content.size() - m_at)
            throw std::runtime_error("the model ends early");
        m_at += count;
        return m_content.substr(m_at - count, count);
    }

    template <typename T = std::int32_t> T number()
    {
        T value{};
        std::memcpy(&value, take(sizeof value).data(), sizeof value);
        return value;
    }

    std::vector<std::int32_t> numbers(std::size_t count)
    {
        std::vector<std::int32_t> result(count);
        for (auto& value : result)
            value = number();
        return result;
    }

    bool atEnd() const { return m_at == m_content.size(); }

private:
    std::string m_content;
    std::size_t m_at = 0;
};

struct Tensor {
    std::vector<std::int32_t> sizes;
    std::string data;

    /// The number that a matrix of one value, packed in blocks, begins with.
    std::uint16_t packedValue() const
    {
        std::uint16_t value{};
        std::memcpy(&value, data.data() + sizeof value, sizeof value);
        return value;
    }
};

TEST_F(Model, HoldsTheSameNumbers)
{
    const Origin whole;
    write(whole.weights(), whole.vocabulary);
    convert();

    Written file(destination);
    EXPECT_THAT(file.numbers(12), ElementsAre(0x67676d6c, 5, 4, 32, 1, 1, 3, 32, 1, 1, 2, 2009));
    EXPECT_THAT(file.numbers(2), ElementsAre(2, 201));
    file.take(std::size_t{2} * 201 * sizeof(float));
    std::vector<std::string> tokens(static_cast<std::size_t>(file.number()));
    for (auto& token : tokens)
        token = file.take(static_cast<std::size_t>(file.number()));
    EXPECT_THAT(tokens, ElementsAre("a", " a", "é"));

    std::map<std::string, Tensor> tensors;
    while (!file.atEnd()) {
        const auto header = file.numbers(3);
        Tensor tensor{.sizes = file.numbers(static_cast<std::size_t>(header[0])), .data = {}};
        const auto name = file.take(static_cast<std::size_t>(header[1]));
        const auto count = std::accumulate(tensor.sizes.begin(), tensor.sizes.end(), std::size_t{1},
            [](std::size_t product, std::int32_t size) { return product * static_cast<std::size_t>(size); });
        const std::map<std::int32_t, std::size_t> bytesOf32 = {{0, 128}, {1, 64}, {7, 24}};
        tensor.data = file.take(count / 32 * bytesOf32.at(header[2]));
        EXPECT_TRUE(tensors.emplace(name, tensor).second) << name;
    }
    EXPECT_EQ(tensors.size(), 50U);
    EXPECT_THAT(tensors.at("encoder.conv1.weight").sizes, ElementsAre(3, 2, 32));
    EXPECT_THAT(tensors.at("encoder.conv1.bias").sizes, ElementsAre(1, 32));
    EXPECT_THAT(tensors.at("encoder.blocks.0.mlp.0.weight").sizes, ElementsAre(32, 128));
    EXPECT_EQ(tensors.at("encoder.conv2.weight").data.substr(0, 2), bytes(two));
    for (const std::string attention :
        {"encoder.blocks.0.attn.", "decoder.blocks.0.attn.", "decoder.blocks.0.cross_attn."}) {
        EXPECT_EQ(tensors.at(attention + "query.weight").packedValue(), one);
        EXPECT_EQ(tensors.at(attention + "key.weight").packedValue(), two);
        EXPECT_EQ(tensors.at(attention + "value.weight").packedValue(), three);
        float bias = 0;
        std::memcpy(&bias, tensors.at(attention + "value.bias").data.data(), sizeof bias);
        EXPECT_EQ(bias, 3);
        EXPECT_FALSE(tensors.contains(attention + "key.bias"));
    }
}

TEST_F(Model, RefusesWhatEndsEarly)
{
    const Origin whole;
    const auto weights = whole.weights();
    ASSERT_EQ(refusal(whole), "accepted");
    const auto early =
        AnyOf(HasSubstr("no sirve: termina antes de tiempo"), HasSubstr("no sirve: hay una medida imposible"));
    const std::size_t step = weights.size() / 40;
    for (std::size_t length = 0; length < weights.size(); length += length < 40 ? 1 : step)
        ASSERT_THAT(refusal(weights.substr(0, length), whole.vocabulary), early) << length;
    EXPECT_THAT(refusal(weights.substr(0, weights.size() - 1), whole.vocabulary), early);
    EXPECT_THAT(refusal(weights + '\0', whole.vocabulary), HasSubstr("tiene más datos"));

    fs::remove(origin / "model.bin.part2");
    EXPECT_THAT(refusal(), HasSubstr("model.bin.part2"));
}

TEST_F(Model, RefusesWhatDoesNotFit)
{
    const auto refused = [this](const std::function<void(Origin&)>& damage, const std::string& reason) {
        Origin damaged;
        damage(damaged);
        EXPECT_THAT(refusal(damaged), HasSubstr("El modelo de origen no sirve: " + reason));
    };
    const std::string conv = "encoder/conv1/bias";
    refused([&](Origin& o) { o.entries.erase(conv); }, "falta «" + conv + "»");
    refused([&](Origin& o) { o.add(conv, {31}, {one}); }, "«" + conv + "» tiene otra forma");
    refused([&](Origin& o) { o.add(conv, {32}, {one, notANumber}); }, "hay valores");
    refused([&](Origin& o) { o.entries[conv].replace(1, 4, bytes(~0U)); }, "hay una medida imposible");
    refused([&](Origin& o) { o.entries[conv].replace(6, 4, bytes(66U)); }, "hay una medida que no corresponde");
    refused([&](Origin& o) { o.entries[conv][5] = 6; }, "hay una medida que no corresponde");
    refused([&](Origin& o) { o.entries["encoder/num_heads"].back() = 5; }, "tiene un reparto imposible");
    refused([&](Origin& o) { o.add("decoder/embeddings/weight", {5, 48}, {one}); }, "tiene medidas");
    refused([&](Origin& o) { o.vocabulary += "<|en|>\n"; }, "el vocabulario es de otro modelo");
    refused([&](Origin& o) { o.vocabulary = "a\nb\n"; }, "el vocabulario está incompleto");
    for (const std::string wrong : {"日", " ", "\xC4", "\xC2\x41", "\xA1"})
        refused([&](Origin& o) { o.vocabulary.insert(0, wrong); }, "el vocabulario tiene caracteres");

    const Origin whole;
    auto weights = whole.weights();
    weights[0] = 5;
    EXPECT_THAT(refusal(weights, whole.vocabulary), HasSubstr("no es un modelo de voz"));
    EXPECT_THAT(refusal(std::string(1000, 'x'), whole.vocabulary), HasSubstr("no es un modelo de voz"));
}

TEST_F(Model, KeepsAnOlderOneWhenItFails)
{
    write("", "");
    std::ofstream(destination) << "older";
    EXPECT_THROW(convert(), Error);
    EXPECT_EQ(readFile(destination), "older");
    fs::remove(destination);
    EXPECT_TRUE(fs::is_empty(destination.parent_path()));
}

} // namespace

} // namespace orvo::test
