#include "OrvoVideo/model/ExportChoice.h"

#include "Platform/settings/StoredSettings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace orvo {

namespace {

constexpr std::array<std::pair<SubtitleCues, std::string_view>, 3> names{
    {{SubtitleCues::words, "words"}, {SubtitleCues::phrases, "phrases"}, {SubtitleCues::none, "none"}}};

std::string_view nameOf(SubtitleCues cues)
{
    return std::ranges::find(names, cues, &std::pair<SubtitleCues, std::string_view>::first)->second;
}

std::optional<SubtitleCues> cuesNamed(std::string_view name)
{
    const auto found = std::ranges::find(names, name, &std::pair<SubtitleCues, std::string_view>::second);
    return found == names.end() ? std::nullopt : std::optional(found->first);
}

} // namespace

ExportChoice::ExportChoice(QObject* parent)
    : QObject(parent)
{
    if (const auto stored = StoredSettings::text(StoredSettings::exportSubtitles))
        m_subtitles = cuesNamed(*stored).value_or(m_subtitles);
    m_burnIn = StoredSettings::text(StoredSettings::exportBurnIn) == "true";
}

QString ExportChoice::subtitles() const
{
    const auto name = nameOf(m_subtitles);
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

void ExportChoice::setSubtitles(const QString& subtitles)
{
    if (const auto cues = cuesNamed(subtitles.toStdString()))
        setAndStore(*cues, m_burnIn);
}

void ExportChoice::setBurnIn(bool burnIn)
{
    setAndStore(m_subtitles, burnIn);
}

void ExportChoice::apply(ExportSettings& settings) const
{
    settings.subtitles = m_subtitles;
    settings.burnIn = m_burnIn;
}

void ExportChoice::setAndStore(SubtitleCues subtitles, bool burnIn)
{
    if (m_subtitles == subtitles && m_burnIn == burnIn)
        return;
    m_subtitles = subtitles;
    m_burnIn = burnIn;
    emit changed();
    StoredSettings::remember(StoredSettings::exportSubtitles, nameOf(m_subtitles));
    StoredSettings::remember(StoredSettings::exportBurnIn, m_burnIn ? "true" : "false");
}

} // namespace orvo
