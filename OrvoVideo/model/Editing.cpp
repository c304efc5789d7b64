#include "OrvoVideo/model/Editing.h"

#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/DocumentSchema.h"
#include "VideoCore/Edits.h"
#include "VideoCore/Error.h"
#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"
#include "VideoMedia/CopyFile.h"
#include "VideoMedia/OverlayImage.h"

#include <algorithm>
#include <cmath>
#include <format>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// The number field of a record with this document key; null when it has none.
template <typename Record> double Record::* numberNamed(const QString& key)
{
    double Record::* member = nullptr;
    const auto look = [&]<typename Value>(const schema::Field<Record, Value>& field) {
        if constexpr (std::is_same_v<Value, double>) {
            if (key == QLatin1String(field.key.data(), static_cast<qsizetype>(field.key.size())))
                member = field.member;
        }
    };
    std::apply([&](const auto&... fields) { (look(fields), ...); }, schema::fieldsOf<Record>);
    return member;
}

template <typename Record> struct NumberChange {
    double Record::* field;
    double value;
};

/// The number fields of a record named by `values`. Nothing when there is one that has no such field, or a value that no
/// document can hold.
template <typename Record> std::optional<std::vector<NumberChange<Record>>> numberChanges(const QVariantMap& values)
{
    std::vector<NumberChange<Record>> changes;
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        double Record::* const field = numberNamed<Record>(entry.key());
        const double value = entry.value().toDouble();
        if (!field || !std::isfinite(value))
            return std::nullopt;
        changes.push_back({field, value});
    }
    return changes;
}

/// Copies an image into the project and returns its path in it.
std::string copyIntoProject(
    const ProjectStore& store, const VideoProject& project, const fs::path& image, const std::stop_token& stop)
{
    if (fs::is_regular_file(image) && !OverlayImage::isUsable(image, stop))
        throw captureError(std::format(
            "«{}» no es una imagen que se pueda usar: debe ser {}.", image.filename().string(), OverlayImage::kindNames()));
    const std::string extension = image.extension().string();
    const auto name = std::format("media/{}{}", Uuid::random().text(), extension.empty() ? "." : extension);
    copyFile(image, store.mediaURL(project, name), {}, stop);
    return name;
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
    m_parts.saving.commitTyped(); // Its bounds may be being typed.
    const TimeSpan span{m_parts.open.selectedSpan().start, m_parts.open.selectedSpan().end};
    if (span.duration() > Edits::shortestCut)
        m_parts.open.update([&](VideoProject& project) { Edits::cut(project, span); });
}

void Editing::cutWords(const QStringList& wordIds)
{
    std::unordered_set<Uuid> wanted;
    for (const auto& id : wordIds)
        wanted.insert(Text::toId(id));
    m_parts.open.update([&](VideoProject& project) {
        auto cuts = project.edit.cuts.items();
        for (const auto& word : project.edit.words) {
            if (wanted.contains(word.id))
                cuts.push_back({word.start, word.end});
        }
        project.edit.cuts = SharedList(Timeline::merged(cuts, project.duration));
    });
}

void Editing::restoreCut(double start, double end)
{
    m_parts.open.update([&](VideoProject& project) { Edits::restore(project, {start, end}); });
}

void Editing::moveCut(double start, double end, double newStart, double newEnd)
{
    m_parts.open.update([&](VideoProject& project) {
        if (Edits::restore(project, {start, end}) > 0)
            Edits::cut(project, {newStart, newEnd});
    });
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
    const auto name = co_await m_parts.workers.run(
        [store = *m_parts.services.store, project = *m_parts.open, image](
            const std::stop_token& stop) { return copyIntoProject(store, project, image, stop); });
    if (!m_parts.open.is(id))
        co_return; // Another project was opened meanwhile.
    m_parts.open.update([&](VideoProject& project) {
        project.edit.overlays.edit().push_back(
            Edits::makeOverlay(project, Overlay::Kind::image, name, m_parts.playback.playhead()));
    });
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
    m_parts.open.update([&](VideoProject& project) {
        const Uuid id = Text::toId(overlayId);
        const auto& overlays = project.edit.overlays;
        const auto found = std::ranges::find_if(
            overlays, [&](const Overlay& overlay) { return overlay.id == id && overlay.kind == Overlay::Kind::text; });
        if (found == overlays.end())
            return;
        const auto index = static_cast<std::size_t>(found - overlays.begin());
        project.edit.overlays.edit()[index].content = text.toStdString();
    });
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
    if (const auto flag = Edits::flagNamed(key.toStdString()))
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
    // Applied suggestions are not offered; after an undo they are.
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
