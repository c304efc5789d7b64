#include "VideoCore/EditNames.h"

#include "VideoCore/Suggestions.h"
#include "VideoCore/Timeline.h"
#include "VideoCore/Transcript.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <format>
#include <span>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace orvo::EditNames {

namespace {

using Names = std::vector<std::string>;
using Spans = std::vector<TimeSpan>;

constexpr double minChange = 0.001; ///< Seconds; smaller differences between cuts are ignored.
constexpr std::size_t maxQuote = 24; ///< Characters of a text that a name quotes.

/// The singular and plural of a noun.
struct Noun {
    std::string_view one; ///< With the article.
    std::string_view many;
};
constexpr Noun wordNoun{.one = "una palabra", .many = "palabras"};
constexpr Noun pauseNoun{.one = "una pausa", .many = "pausas"};
constexpr Noun fillerNoun{.one = "una muletilla", .many = "muletillas"};
constexpr Noun zoomNoun{.one = "un zoom", .many = "zooms"};
constexpr Noun textNoun{.one = "un texto", .many = "textos"};
constexpr Noun imageNoun{.one = "una imagen", .many = "imágenes"};
constexpr Noun clipNoun{.one = "un vídeo", .many = "vídeos"};
constexpr Noun thingNoun{.one = "un elemento", .many = "elementos"};

std::string counted(std::string_view verb, std::size_t count, const Noun& noun)
{
    return count == 1 ? std::format("{} {}", verb, noun.one) : std::format("{} {} {}", verb, count, noun.many);
}

std::string secondsText(double seconds)
{
    if (seconds >= 59.95) {
        const auto whole = std::llround(seconds);
        return whole % 60 == 0 ? std::format("{} min", whole / 60) : std::format("{} min {} s", whole / 60, whole % 60);
    }
    auto text = seconds < 0.1 ? std::format("{:.2f} s", seconds) : std::format("{:.1f} s", seconds);
    std::ranges::replace(text, '.', ',');
    return text;
}

/// A text in quotes, on one line, shortened to `maxQuote` characters.
std::string inQuotes(std::string_view text)
{
    std::string result;
    std::size_t characters = 0;
    for (const char c : text) {
        const bool begins = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        if (begins && characters++ == maxQuote)
            return std::format("«{}…»", result);
        result += c == '\n' || c == '\r' || c == '\t' ? ' ' : c;
    }
    return std::format("«{}»", result);
}

/// The parts of `spans` that are not in `others`. Both are disjoint and sorted.
Spans without(const Spans& spans, const Spans& others)
{
    Spans result;
    auto other = others.begin();
    for (TimeSpan rest : spans) {
        while (other != others.end() && other->end <= rest.start)
            ++other;
        for (auto each = other; each != others.end() && each->start < rest.end; ++each) {
            if (each->start - rest.start > minChange)
                result.push_back({rest.start, each->start});
            rest.start = std::max(rest.start, each->end);
        }
        if (rest.end - rest.start > minChange)
            result.push_back(rest);
    }
    return result;
}

/// Names the cutting of `changed`, which is cut in `with` and not in `before`; or, with these swapped, its restoration.
std::string nameOfCut(const VideoProject& project, const Spans& changed, const Spans& before, const Spans& with, bool isCut)
{
    std::size_t words = 0;
    std::size_t fillers = 0;
    const TranscriptWord* first = nullptr;
    for (const auto& word : project.edit.words) {
        const auto touching = std::ranges::upper_bound(changed, word.start, {}, &TimeSpan::end);
        if (touching == changed.end() || touching->start >= word.end)
            continue;
        if (!Transcript::isCut(word, with, project.duration) || Transcript::isCut(word, before, project.duration))
            continue;
        first = first ? first : &word;
        ++words;
        fillers += Suggestions::isFiller(word.text) ? 1U : 0U;
    }
    const std::string_view verb = isCut ? "cortar" : "restaurar";
    if (words > 0 && words == fillers)
        return counted(isCut ? "quitar" : verb, words, fillerNoun);
    if (words == 1 && !first->text.empty())
        return std::format("{} {}", verb, inQuotes(first->text));
    if (words > 0)
        return counted(verb, words, wordNoun);

    const auto pauses = Transcript::pauses(project.edit.words.items(), project.duration);
    bool isWhole = true;
    const auto isInPause = [&](const TimeSpan& span) {
        const auto pause = std::ranges::upper_bound(pauses, span.start, {}, [](const auto& each) { return each.span.end; });
        if (pause == pauses.end() || span.start < pause->span.start - minChange || span.end > pause->span.end + minChange)
            return false;
        isWhole = isWhole && Transcript::remaining(pause->span, with) < 0.05;
        return true;
    };
    if (std::ranges::all_of(changed, isInPause))
        return counted(isCut && !isWhole ? "acortar" : verb, changed.size(), pauseNoun);
    double length = 0;
    for (const auto& span : changed)
        length += span.duration();
    return std::format("{} {}", verb, secondsText(length));
}

void nameCuts(const VideoProject& before, const VideoProject& after, Names& names)
{
    if (before.edit.cuts == after.edit.cuts)
        return;
    const auto cutBefore = Timeline::merged(before.edit.cuts, before.duration);
    const auto cutAfter = Timeline::merged(after.edit.cuts, after.duration);
    const auto cut = without(cutAfter, cutBefore);
    const auto restored = without(cutBefore, cutAfter);
    if (cut.empty() == restored.empty())
        names.emplace_back("ajustar un corte");
    else if (restored.empty())
        names.push_back(nameOfCut(after, cut, cutBefore, cutAfter, true));
    else
        names.push_back(nameOfCut(after, restored, cutAfter, cutBefore, false));
}

void nameWords(const SharedList<TranscriptWord>& before, const SharedList<TranscriptWord>& after, const CommonEnds& common,
    Names& names)
{
    const auto& a = before.items();
    const auto& b = after.items();
    const auto from = common.head;
    const auto endBefore = a.size() - common.tail;
    const auto endAfter = b.size() - common.tail;
    if (from == endBefore && from == endAfter)
        return;
    if (after.empty())
        return names.emplace_back("quitar la transcripción"), void();
    std::unordered_set<Uuid> known;
    for (std::size_t i = from; i < endBefore; ++i)
        known.insert(a[i].id);
    std::size_t kept = 0;
    std::size_t corrected = 0;
    for (std::size_t i = from; i < endAfter; ++i)
        kept += known.contains(b[i].id) ? 1U : 0U;
    if (kept == 0 && endAfter > from)
        return names.emplace_back("transcribir"), void();
    if (endBefore == endAfter) {
        for (std::size_t i = from; i < endAfter; ++i)
            corrected += a[i].text != b[i].text ? 1U : 0U;
    } else {
        corrected = std::max<std::size_t>(endBefore, endAfter) - from;
    }
    if (corrected == 0)
        names.emplace_back("mover palabras");
    else if (corrected == 1 && endBefore == endAfter)
        names.push_back("corregir " + inQuotes(b[from].text));
    else
        names.push_back(counted("corregir", corrected, wordNoun));
}

/// The records in only one of two lists, and those in both whose values differ.
template <typename T> struct Difference {
    std::vector<const T*> added;
    std::vector<const T*> removed;
    std::vector<std::pair<const T*, const T*>> changed;

    Difference(const SharedList<T>& before, const SharedList<T>& after)
        : Difference(before, after, CommonEnds::of(before, after))
    {
    }
    Difference(const SharedList<T>& before, const SharedList<T>& after, const CommonEnds& common)
    {
        const auto between = [&](const SharedList<T>& list) {
            return std::span(list.items()).subspan(common.head, list.size() - common.head - common.tail);
        };
        std::unordered_map<Uuid, const T*> left;
        for (const auto& item : between(before))
            left.emplace(item.id, &item);
        for (const auto& item : between(after)) {
            const auto same = left.extract(item.id);
            if (!same)
                added.push_back(&item);
            else if (!(*same.mapped() == item))
                changed.emplace_back(same.mapped(), &item);
        }
        for (const auto& [id, item] : left)
            removed.push_back(item);
    }
};

const Noun& nounOf(const std::vector<const Overlay*>& overlays)
{
    const auto isText = [](const Overlay* overlay) { return overlay->kind == Overlay::Kind::text; };
    if (std::ranges::all_of(overlays, isText))
        return textNoun;
    return std::ranges::none_of(overlays, isText) ? imageNoun : thingNoun;
}

std::string nameOfOverlay(const Overlay& before, const Overlay& after)
{
    const std::string_view noun = nounOf({&after}).one;
    if (before.content != after.content)
        return std::format("cambiar {}", noun);
    if (before.width != after.width)
        return std::format("cambiar el tamaño de {}", noun);
    if (before.start != after.start || before.end != after.end)
        return std::format("cambiar cuándo se ve {}", noun);
    return std::format("mover {}", noun);
}

void nameOverlays(const SharedList<Overlay>& before, const SharedList<Overlay>& after, Names& names)
{
    const Difference difference(before, after);
    if (!difference.added.empty())
        names.push_back(counted("añadir", difference.added.size(), nounOf(difference.added)));
    if (!difference.removed.empty())
        names.push_back(counted("quitar", difference.removed.size(), nounOf(difference.removed)));
    if (difference.changed.size() == 1)
        names.push_back(nameOfOverlay(*difference.changed.front().first, *difference.changed.front().second));
    else if (!difference.changed.empty())
        names.push_back(counted("cambiar", difference.changed.size(), thingNoun));
}

std::string nameOfZoom(const PointerEvent& before, const PointerEvent& after)
{
    if (before.scale != after.scale && before.x == after.x && before.y == after.y)
        return "cambiar el aumento de un zoom";
    if (before.scale != after.scale)
        return "encuadrar un zoom";
    if (before.time != after.time || before.duration != after.duration)
        return "cambiar cuándo se ve un zoom";
    return "mover un zoom";
}

void nameEvents(
    const SharedList<PointerEvent>& before, const SharedList<PointerEvent>& after, const CommonEnds& common, Names& names)
{
    Difference difference(before, after, common);
    const auto isOther = [](const PointerEvent* event) { return event->kind != PointerKind::zoom; };
    const std::size_t others = std::erase_if(difference.added, isOther) + std::erase_if(difference.removed, isOther)
        + std::erase_if(difference.changed, [](const auto& pair) {
              return pair.first->kind != PointerKind::zoom || pair.second->kind != PointerKind::zoom;
          });
    if (!difference.added.empty())
        names.push_back(counted("añadir", difference.added.size(), zoomNoun));
    if (!difference.removed.empty())
        names.push_back(counted("quitar", difference.removed.size(), zoomNoun));
    if (difference.changed.size() == 1)
        names.push_back(nameOfZoom(*difference.changed.front().first, *difference.changed.front().second));
    else if (!difference.changed.empty())
        names.push_back(counted("cambiar", difference.changed.size(), zoomNoun));
    if (others > 0)
        names.emplace_back("cambiar el puntero");
}

void nameSettings(const EditState& before, const EditState& after, Names& names)
{
    struct Flag {
        bool EditState::* field;
        std::string_view on;
        std::string_view off;
    };
    static constexpr std::array<Flag, 6> flags{{
        {&EditState::cameraVisible, "mostrar la cámara", "ocultar la cámara"},
        {&EditState::clickHalo, "poner el halo al hacer clic", "quitar el halo al hacer clic"},
        {&EditState::pointerHighlight, "resaltar el puntero", "no resaltar el puntero"},
        {&EditState::noiseReduction, "reducir el ruido", "no reducir el ruido"},
        {&EditState::normalizeVoice, "normalizar la voz", "no normalizar la voz"},
        {&EditState::sharpen, "poner nitidez suave", "quitar la nitidez suave"},
    }};
    for (const auto& flag : flags) {
        if (before.*flag.field != after.*flag.field)
            names.emplace_back(after.*flag.field ? flag.on : flag.off);
    }
    if (before.cameraWidth != after.cameraWidth)
        names.emplace_back("cambiar el tamaño de la cámara");
    else if (before.cameraX != after.cameraX || before.cameraY != after.cameraY)
        names.emplace_back("mover la cámara");
    if (before.fade != after.fade)
        names.emplace_back(after.fade == 0 ? "quitar el fundido" : "cambiar el fundido");
}

void nameTracks(const VideoProject& before, const VideoProject& after, Names& names)
{
    const Difference difference(before.tracks, after.tracks);
    if (!difference.added.empty())
        names.push_back(counted("añadir", difference.added.size(), clipNoun));
    if (!difference.removed.empty())
        names.emplace_back("quitar pistas");
    if (!difference.changed.empty()) {
        const bool onlyVolumes = std::ranges::all_of(difference.changed, [](const auto& pair) {
            MediaTrack louder = *pair.first;
            louder.volume = pair.second->volume;
            return louder == *pair.second;
        });
        names.emplace_back(onlyVolumes ? "cambiar el volumen" : "cambiar las pistas");
    }
}

void namePublication(const std::optional<Publication>& before, const std::optional<Publication>& after, Names& names)
{
    if (before == after)
        return;
    if (!after)
        names.emplace_back("retirar la publicación");
    else
        names.emplace_back(before && before->videoID == after->videoID ? "cambiar la publicación" : "publicar");
}

} // namespace

std::string nameOf(const ProjectChange& change)
{
    const VideoProject& before = change.before;
    const VideoProject& after = change.after;
    Names names;
    if (before.title != after.title)
        names.emplace_back("cambiar el título");
    nameTracks(before, after, names);
    nameWords(before.edit.words, after.edit.words, change.words, names);
    nameCuts(before, after, names);
    nameOverlays(before.edit.overlays, after.edit.overlays, names);
    nameEvents(before.edit.events, after.edit.events, change.events, names);
    nameSettings(before.edit, after.edit, names);
    namePublication(before.publication, after.publication, names);
    if (names.empty()) {
        VideoProject dated = before;
        dated.updatedAt = after.updatedAt;
        return dated == after ? std::string() : "cambiar el proyecto";
    }
    return names.size() == 1 ? names.front() : "varios cambios";
}

} // namespace orvo::EditNames
