#include "OrvoVideo/model/Editing.h"

#include "OrvoVideo/library/ProjectImage.h"
#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Edits.h"
#include "VideoCore/Suggestions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

template <typename Record> struct NumberChange {
    double Record::* field;
    double value;
};

/// The number fields of a record that `values` names. Returns nullopt for an unknown field or a value that is not finite.
template <typename Record> std::optional<std::vector<NumberChange<Record>>> numberChanges(const QVariantMap& values)
{
    std::vector<NumberChange<Record>> changes;
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        const auto field = Edits::fieldNamed<double, Record>(entry.key().toStdString());
        const double value = entry.value().toDouble();
        if (!field || !std::isfinite(value))
            return std::nullopt;
        changes.push_back({field, value});
    }
    return changes;
}

} // namespace

void Editing::rename(const QString& title)
{
    m_parts.open.update([&](VideoProject& project) { project.title = title.toStdString(); });
}

void Editing::startSelectionHere()
{
    m_parts.open.setSelectedSpan({m_parts.playback.playhead(), m_parts.open.selectedSpan().end});
}

void Editing::endSelectionHere()
{
    m_parts.open.setSelectedSpan({m_parts.open.selectedSpan().start, m_parts.playback.playhead()});
}

void Editing::cutSelection()
{
    m_parts.saving.commitTyped(); // The user may be typing its bounds.
    const TimeSpan span{m_parts.open.selectedSpan().start, m_parts.open.selectedSpan().end};
    if (span.duration() > Edits::minCut)
        m_parts.open.update([&](VideoProject& project) { Edits::cut(project, span); });
}

void Editing::cutWords(const QStringList& wordIds)
{
    std::vector<Uuid> ids;
    std::ranges::transform(wordIds, std::back_inserter(ids), &Text::toId);
    m_parts.open.update([&](VideoProject& project) { Edits::cutWords(project, ids); });
}

void Editing::restoreCut(double start, double end)
{
    m_parts.open.update([&](VideoProject& project) { Edits::restore(project, {start, end}); });
}

void Editing::moveCut(double start, double end, double newStart, double newEnd)
{
    m_parts.open.update([&](VideoProject& project) { Edits::moveCut(project, {start, end}, {newStart, newEnd}); });
}

void Editing::correctWord(const QString& wordId, const QString& text)
{
    m_parts.open.update([&](VideoProject& project) { Edits::correctWord(project, Text::toId(wordId), text.toStdString()); });
}

void Editing::addText(const QString& text)
{
    m_parts.open.update([&](VideoProject& project) {
        project.edit.overlays.edit().push_back(
            Edits::makeOverlay(project, Overlay::Kind::text, text.toStdString(), m_parts.playback.playhead()));
    });
}

void Editing::addImage()
{
    if (m_parts.open && !m_parts.open.isLocked())
        m_parts.operation.start(pickImage());
}

QCoro::Task<> Editing::pickImage()
{
    const Answer<std::optional<fs::path>> chosen;
    m_parts.services.panels->openImage([chosen](auto image) { chosen.give(std::move(image)); });
    if (const auto image = co_await chosen)
        co_await copyImage(*image);
}

void Editing::addImageFile(const QUrl& image)
{
    if (m_parts.open && !m_parts.open.isLocked())
        m_parts.operation.start(copyImage(image.toLocalFile().toStdString()));
}

QCoro::Task<> Editing::copyImage(fs::path image)
{
    if (!m_parts.open || m_parts.open.isLocked())
        co_return;
    const Uuid id = m_parts.open->id;
    auto copy =
        co_await m_parts.workers.run([store = *m_parts.services.store, project = *m_parts.open, image](
                                         const std::stop_token& stop) { return ProjectImage(store, project, image, stop); });
    if (!m_parts.open.is(id) || m_parts.open.isLocked())
        co_return; // Another project was opened meanwhile.
    m_parts.open.update([&](VideoProject& project) {
        project.edit.overlays.edit().push_back(
            Edits::makeOverlay(project, Overlay::Kind::image, copy.name(), m_parts.playback.playhead()));
    });
    copy.keep();
}

void Editing::removeOverlay(const QString& overlayId)
{
    m_parts.open.update([&](VideoProject& project) { Edits::removeOverlay(project, Text::toId(overlayId)); });
}

void Editing::setOverlayValues(const QString& overlayId, const QVariantMap& values)
{
    const auto changes = numberChanges<Overlay>(values);
    if (!changes)
        return;
    m_parts.open.update([&](VideoProject& project) {
        for (const auto& change : *changes)
            Edits::setOverlayValue(project, Text::toId(overlayId), change.field, change.value);
    });
}

void Editing::setOverlayText(const QString& overlayId, const QString& text)
{
    m_parts.open.update(
        [&](VideoProject& project) { Edits::setOverlayText(project, Text::toId(overlayId), text.toStdString()); });
}

void Editing::addZoom()
{
    m_parts.open.update(
        [&](VideoProject& project) { project.edit.events.edit().push_back(Edits::makeZoom(m_parts.playback.playhead())); });
}

void Editing::removeEvent(const QString& eventId)
{
    m_parts.open.update([&](VideoProject& project) { Edits::removeEvent(project, Text::toId(eventId)); });
}

void Editing::setEventValues(const QString& eventId, const QVariantMap& values)
{
    const auto changes = numberChanges<PointerEvent>(values);
    if (!changes)
        return;
    m_parts.open.update([&](VideoProject& project) {
        for (const auto& change : *changes)
            Edits::setEventValue(project, Text::toId(eventId), change.field, change.value);
    });
}

void Editing::setFlag(const QString& key, bool value)
{
    if (const auto flag = Edits::fieldNamed<bool, EditState>(key.toStdString()))
        m_parts.open.update([&](VideoProject& project) { project.edit.*flag = value; });
}

void Editing::setValues(const QVariantMap& values)
{
    const auto changes = numberChanges<EditState>(values);
    if (!changes)
        return;
    m_parts.open.update([&](VideoProject& project) {
        for (const auto& change : *changes)
            project.edit.*change.field = change.value;
    });
}

void Editing::setVolume(const QString& trackId, double value)
{
    if (std::isfinite(value))
        m_parts.open.update([&](VideoProject& project) { Edits::setVolume(project, Text::toId(trackId), value); });
}

void Editing::applySuggestion(const EditSuggestion& suggestion)
{
    m_parts.open.update([&](VideoProject& project) { Edits::apply(project, suggestion); });
    // Applied suggestions are no longer offered; an undo offers them again.
    if (std::ranges::contains(m_parts.open.suggestions().suggestions(), suggestion.id, &EditSuggestion::id))
        m_parts.open.dropSuggestion(suggestion.id);
}

std::optional<EditSuggestion> Editing::suggestionOf(const QString& suggestionId) const
{
    const auto& suggestions = m_parts.open.suggestions().suggestions();
    const auto found = std::ranges::find(suggestions, Text::toId(suggestionId), &EditSuggestion::id);
    return found == suggestions.end() ? std::nullopt : std::optional(EditSuggestion(*found));
}

void Editing::tryOut(const QString& suggestionId)
{
    if (const auto suggestion = suggestionOf(suggestionId))
        m_parts.playback.tryOut(*suggestion);
}

void Editing::applySuggestion(const QString& suggestionId)
{
    if (const auto suggestion = suggestionOf(suggestionId))
        applySuggestion(*suggestion);
}

void Editing::applySuggestions(const QString& kind)
{
    for (const auto each : {SuggestionKind::silence, SuggestionKind::filler, SuggestionKind::zoom}) {
        const auto offered = m_parts.open.suggestions(each).suggestions();
        if (kind == QString::fromUtf8(textOf(each)) && !offered.empty())
            m_parts.open.update([&](VideoProject& project) { project = Suggestions::applied(project, offered.items()); });
    }
}

} // namespace orvo
