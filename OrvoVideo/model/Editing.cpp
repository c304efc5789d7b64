#include "OrvoVideo/model/AppModel.h"
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

void AppModel::rename(const QString& title)
{
    update([&](VideoProject& project) { project.title = title.toStdString(); });
}

void AppModel::setSelectedSpan(const Span& span)
{
    if (m_selectedSpan == span)
        return;
    m_selectedSpan = span;
    emit selectedSpanChanged();
}

void AppModel::startSelectionHere()
{
    setSelectedSpan({m_playhead, m_selectedSpan.end});
}

void AppModel::endSelectionHere()
{
    setSelectedSpan({m_selectedSpan.start, m_playhead});
}

void AppModel::cutSelection()
{
    emit commitWanted(); // Its bounds may be being typed.
    const TimeSpan span{m_selectedSpan.start, m_selectedSpan.end};
    if (span.duration() > Edits::shortestCut)
        update([&](VideoProject& project) { Edits::cut(project, span); });
}

void AppModel::cutWord(const QString& wordId)
{
    cutWords({wordId});
}

void AppModel::cutWords(const QStringList& wordIds)
{
    std::unordered_set<Uuid> wanted;
    for (const auto& id : wordIds)
        wanted.insert(Text::toId(id));
    update([&](VideoProject& project) {
        auto cuts = project.edit.cuts.items();
        for (const auto& word : project.edit.words) {
            if (wanted.contains(word.id))
                cuts.push_back({word.start, word.end});
        }
        project.edit.cuts = SharedList(Timeline::merged(cuts, project.duration));
    });
}

void AppModel::restoreCut(double start, double end)
{
    update([&](VideoProject& project) { Edits::restore(project, {start, end}); });
}

void AppModel::moveCut(double start, double end, double newStart, double newEnd)
{
    update([&](VideoProject& project) {
        if (Edits::restore(project, {start, end}) > 0)
            Edits::cut(project, {newStart, newEnd});
    });
}

void AppModel::correctWord(const QString& wordId, const QString& text)
{
    update([&](VideoProject& project) { Edits::correctWord(project, Text::toId(wordId), text.toStdString()); });
}

void AppModel::addText(const QString& text)
{
    update([&](VideoProject& project) {
        project.edit.overlays.edit().push_back(
            Edits::makeOverlay(project, Overlay::Kind::text, text.toStdString(), m_playhead));
    });
}

void AppModel::addImage()
{
    if (m_project && !isRecording())
        start(pickImage());
}

QCoro::Task<> AppModel::pickImage()
{
    const Answer<std::optional<fs::path>> chosen;
    m_services.panels->openImage([chosen](auto image) { chosen.give(std::move(image)); });
    if (const auto image = co_await chosen)
        co_await copyImage(*image);
}

void AppModel::addImageFile(const QUrl& file)
{
    if (m_project && !isRecording())
        start(copyImage(file.toLocalFile().toStdString()));
}

QCoro::Task<> AppModel::copyImage(fs::path image)
{
    if (!m_project || isRecording())
        co_return;
    const Uuid id = m_project->id;
    const auto name = co_await m_workers.run([store = store(), project = *m_project, image](const std::stop_token& stop) {
        return copyIntoProject(store, project, image, stop);
    });
    if (!m_project || m_project->id != id)
        co_return; // Another project was opened meanwhile.
    update([&](VideoProject& project) {
        project.edit.overlays.edit().push_back(Edits::makeOverlay(project, Overlay::Kind::image, name, m_playhead));
    });
}

void AppModel::removeOverlay(const QString& overlayId)
{
    update([&](VideoProject& project) { Edits::removeOverlay(project, Text::toId(overlayId)); });
}

void AppModel::setOverlayValue(const QString& overlayId, const QString& key, double value)
{
    setOverlayValues(overlayId, {{key, value}});
}

void AppModel::setOverlayValues(const QString& overlayId, const QVariantMap& values)
{
    const auto changes = numberChanges<Overlay>(values);
    if (!changes)
        return;
    update([&](VideoProject& project) {
        for (const auto& change : *changes)
            Edits::setOverlayValue(project, Text::toId(overlayId), change.field, change.value);
    });
}

void AppModel::setOverlayText(const QString& overlayId, const QString& text)
{
    update([&](VideoProject& project) {
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

void AppModel::addZoom()
{
    update([&](VideoProject& project) { project.edit.events.edit().push_back(Edits::makeZoom(m_playhead)); });
}

void AppModel::removeEvent(const QString& eventId)
{
    update([&](VideoProject& project) { Edits::removeEvent(project, Text::toId(eventId)); });
}

void AppModel::setEventValue(const QString& eventId, const QString& key, double value)
{
    setEventValues(eventId, {{key, value}});
}

void AppModel::setEventValues(const QString& eventId, const QVariantMap& values)
{
    const auto changes = numberChanges<PointerEvent>(values);
    if (!changes)
        return;
    update([&](VideoProject& project) {
        for (const auto& change : *changes)
            Edits::setEventValue(project, Text::toId(eventId), change.field, change.value);
    });
}

void AppModel::setFlag(const QString& key, bool value)
{
    if (const auto flag = Edits::flagNamed(key.toStdString()))
        update([&](VideoProject& project) { project.edit.*flag = value; });
}

void AppModel::setValue(const QString& key, double value)
{
    setValues({{key, value}});
}

void AppModel::setValues(const QVariantMap& values)
{
    const auto changes = numberChanges<EditState>(values);
    if (!changes)
        return;
    update([&](VideoProject& project) {
        for (const auto& change : *changes)
            project.edit.*change.field = change.value;
    });
}

void AppModel::setVolume(const QString& trackId, double value)
{
    if (std::isfinite(value))
        update([&](VideoProject& project) { Edits::setVolume(project, Text::toId(trackId), value); });
}

void AppModel::findSuggestions()
{
    m_suggestions.setSuggestions(m_project ? SharedList(Suggestions::generate(*m_project)) : SharedList<EditSuggestion>());
}

void AppModel::applySuggestion(const EditSuggestion& suggestion)
{
    update([&](VideoProject& project) { Edits::apply(project, suggestion); });
    auto left = m_suggestions.suggestions();
    std::erase_if(left.edit(), [&](const EditSuggestion& other) { return other.id == suggestion.id; });
    m_suggestions.setSuggestions(std::move(left));
}

void AppModel::applySuggestion(const QString& suggestionId)
{
    const auto& suggestions = m_suggestions.suggestions();
    const auto found = std::ranges::find(suggestions, Text::toId(suggestionId), &EditSuggestion::id);
    if (found != suggestions.end())
        applySuggestion(EditSuggestion(*found));
}

} // namespace orvo
