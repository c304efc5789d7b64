#include "OrvoVideo/model/ExportChoice.h"

#include "OrvoVideo/model/ModelText.h"

#include "Platform/settings/StoredSettings.h"
#include "VideoMedia/ExportPresets.h"

#include <QVariantMap>
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
    if (const auto stored = StoredSettings::text(StoredSettings::exportPreset); stored && ExportPreset::find(*stored))
        m_preset = Text::from(*stored);
}

QString ExportChoice::subtitles() const
{
    const auto name = nameOf(m_subtitles);
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

void ExportChoice::setSubtitles(const QString& subtitles)
{
    const auto cues = cuesNamed(subtitles.toStdString());
    if (!cues || *cues == m_subtitles)
        return;
    m_subtitles = *cues;
    store();
}

void ExportChoice::setBurnIn(bool burnIn)
{
    if (std::exchange(m_burnIn, burnIn) != burnIn)
        store();
}

void ExportChoice::setPreset(const QString& preset)
{
    if (m_preset == preset || !(preset.isEmpty() || ExportPreset::find(preset.toStdString())))
        return;
    m_preset = preset;
    store();
}

QVariantList ExportChoice::presets()
{
    const auto text = [](std::string_view value) { return Text::from(std::string(value)); };
    QVariantList list;
    for (const auto& preset : ExportPreset::all())
        list << QVariantMap{{QStringLiteral("id"), text(preset.id)}, {QStringLiteral("name"), text(preset.name)},
            {QStringLiteral("note"), text(preset.note)}, {QStringLiteral("needsSpan"), preset.needsSpan}};
    return list;
}

void ExportChoice::apply(ExportSettings& settings) const
{
    settings.subtitles = m_subtitles;
    settings.burnIn = m_burnIn;
}

ExportSettings ExportChoice::settings(const VideoProject& project, ExportSettings own) const
{
    apply(own);
    const auto* preset = ExportPreset::find(m_preset.toStdString());
    return preset ? preset->settings(project, own) : own;
}

void ExportChoice::store()
{
    emit changed();
    StoredSettings::remember(StoredSettings::exportSubtitles, nameOf(m_subtitles));
    StoredSettings::remember(StoredSettings::exportBurnIn, m_burnIn ? "true" : "false");
    StoredSettings::remember(StoredSettings::exportPreset, m_preset.toStdString());
}

} // namespace orvo
