#include "Fuzz.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/DocumentSchema.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>

// Random changes of bytes seldom give a valid document. This mutator decodes the document and changes a few fields, so that
// a run gets past the decoder to the code under test. In a quarter of the runs it leaves the bytes to the fuzzer's default
// mutations.

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed);

namespace orvo::fuzz {

namespace {

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t limit)
{
    return random() % limit;
}

void mutate(double& value, Random& random)
{
    constexpr std::array interesting{0.0, -0.0, 1.0, -1.0, 0.5, 1.2, 5.0, 10.0, 1e-5, 1e6, 1e22, 1e300, -1e300, 5e-324,
        1.7976931348623157e308, -1.7976931348623157e308, 9007199254740993.0, 92233720368547758.0};
    switch (below(random, 4)) {
    case 0:
        value = interesting[below(random, interesting.size())];
        break;
    case 1:
        value = std::bit_cast<double>(std::uint64_t{random()} << 32 | random());
        break;
    case 2:
        value = std::uniform_real_distribution(-1.0, 20.0)(random);
        break;
    default:
        value += std::uniform_real_distribution(-1.0, 1.0)(random);
        break;
    }
    if (!std::isfinite(value))
        value = 0;
}

void mutate(std::int64_t& value, Random& random)
{
    value = static_cast<std::int64_t>(std::uint64_t{random()} << 32 | random()) >> below(random, 64);
}

void mutate(bool& value, Random&)
{
    value = !value;
}

void mutate(std::string& text, Random& random)
{
    constexpr std::array<std::string_view, 32> pieces{"'", "\\", ":", "{", "}", "\n", "\r", "\r\n", "[", "]", ";", ",", "%",
        "=", "\"", "/", "..", "-->", "\\N", "\\'", "'\\''", "{\\pos(1,1)}", "&lt;", " ", "\t", "a", "Z9", "é", "¿", "🎬",
        "\u2028", "\u0001"};
    const auto boundary = [&] {
        auto position = below(random, text.size() + 1);
        while (position < text.size() && (static_cast<unsigned char>(text[position]) & 0xC0) == 0x80)
            --position;
        return position;
    };
    const auto a = boundary();
    const auto b = boundary();
    switch (below(random, 4)) {
    case 0:
        text.erase(std::min(a, b), std::max(a, b) - std::min(a, b));
        break;
    case 1:
        text.insert(a, 1, '\0');
        break;
    default:
        text.insert(a, pieces[below(random, pieces.size())]);
        break;
    }
}

void mutate(Uuid& id, Random& random)
{
    id.bytes[below(random, id.bytes.size())] = static_cast<std::uint8_t>(random());
}

void mutate(DateTime& instant, Random& random)
{
    instant = DateTime(std::chrono::seconds(static_cast<std::int32_t>(random())));
}

void mutate(TrackKind& kind, Random& random)
{
    kind = static_cast<TrackKind>(below(random, 5));
}

void mutate(PointerKind& kind, Random& random)
{
    kind = static_cast<PointerKind>(below(random, 3));
}

void mutate(Overlay::Kind& kind, Random& random)
{
    kind = static_cast<Overlay::Kind>(below(random, 2));
}

template <schema::Record T> void mutate(T& record, Random& random);

template <typename T> void mutate(std::vector<T>& items, Random& random)
{
    const auto at = [&] { return items.begin() + static_cast<std::ptrdiff_t>(below(random, items.size())); };
    switch (items.empty() ? 0 : below(random, 8)) {
    case 0:
        mutate(items.emplace_back(), random);
        break;
    case 1:
        items.push_back(*at());
        break;
    case 2:
        items.erase(at());
        break;
    case 3:
        std::iter_swap(at(), at());
        break;
    default:
        mutate(*at(), random);
        break;
    }
}

template <typename T> void mutate(SharedList<T>& list, Random& random)
{
    mutate(list.edit(), random);
}

template <typename T> void mutate(std::optional<T>& value, Random& random)
{
    if (value && below(random, 8) == 0)
        value.reset();
    else
        mutate(value ? *value : value.emplace(), random);
}

template <schema::Record T> void mutate(T& record, Random& random)
{
    const auto chosen = below(random, schema::fieldCount<T>);
    std::size_t index = 0;
    std::apply([&](const auto&... field) { ((index++ == chosen ? mutate(record.*field.member, random) : void()), ...); },
        schema::fieldsOf<T>);
}

} // namespace

} // namespace orvo::fuzz

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    using namespace orvo;
    fuzz::Random random(seed);
    if (fuzz::below(random, 4) == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    VideoProject project;
    try {
        project = decodeDocument(std::string(fuzz::textOf(data, size)));
    } catch (const DocumentError&) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    for (auto changes = 1 + fuzz::below(random, 4); changes > 0; --changes) {
        // Favours the edit, which matters most but is only one of many fields.
        if (fuzz::below(random, 2) == 0)
            fuzz::mutate(project, random);
        else
            fuzz::mutate(project.edit, random);
    }
    const std::string document = encodeDocument(project);
    if (document.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::memcpy(data, document.data(), document.size());
    return document.size();
}
