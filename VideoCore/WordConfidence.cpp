#include "VideoCore/WordConfidence.h"

#include "VideoCore/FileIO.h"

#include <algorithm>
#include <charconv>
#include <format>
#include <ranges>
#include <unordered_set>

namespace orvo {

namespace {

constexpr std::size_t maxFile = 64'000'000; ///< Bytes; more than any speech needs.

} // namespace

WordConfidence WordConfidence::read(const std::filesystem::path& projectFolder)
{
    WordConfidence result;
    std::string text;
    try {
        readFile(projectFolder / fileName, text, maxFile);
    } catch (const std::exception&) {
        return result;
    }
    for (const auto part : std::views::split(std::string_view(text), '\n')) {
        const std::string_view line(part);
        const auto first = line.find(' ');
        const auto second = first == line.npos ? line.npos : line.find(' ', first + 1);
        if (second == line.npos)
            continue;
        const auto id = Uuid::parse(line.substr(0, first));
        double probability = 0;
        const auto number = line.substr(first + 1, second - first - 1);
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), probability);
        if (id && error == std::errc() && end == number.data() + number.size() && probability >= 0 && probability <= 1)
            result.m_entries.insert_or_assign(*id, Entry{std::string(line.substr(second + 1)), probability});
    }
    return result;
}

void WordConfidence::write(const std::filesystem::path& projectFolder) const
{
    std::string text;
    for (const auto& [id, entry] : m_entries)
        text += std::format("{} {:.3f} {}\n", id.text(), entry.probability, entry.text);
    writeFileAtomically(projectFolder / fileName, text);
}

void WordConfidence::add(std::span<const TranscriptWord> words, std::span<const float> probabilities)
{
    for (const auto& [word, probability] : std::views::zip(words, probabilities)) {
        // A text with a line break would end its line early.
        if (probability < kept && !word.text.contains('\n'))
            m_entries.insert_or_assign(word.id, Entry{word.text, std::max(static_cast<double>(probability), 0.0)});
    }
}

void WordConfidence::keepOnly(std::span<const TranscriptWord> words)
{
    std::unordered_set<Uuid> wanted;
    for (const auto& word : words)
        wanted.insert(word.id);
    std::erase_if(m_entries, [&](const auto& entry) { return !wanted.contains(entry.first); });
}

double WordConfidence::of(const TranscriptWord& word) const
{
    const auto found = m_entries.find(word.id);
    return found == m_entries.end() || found->second.text != word.text ? 1 : found->second.probability;
}

} // namespace orvo
