#include "OrvoVideo/library/DocumentSteps.h"

#include "VideoCore/DocumentCodec.h"
#include "VideoCore/EditNames.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/Sha256.h"

#include <algorithm>
#include <charconv>
#include <format>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace orvo::DocumentSteps {

namespace fs = std::filesystem;

namespace {

using Number = std::uint64_t;

/// The content of `present`: the number of the document's version, and its digest.
struct Present {
    Number number = 0;
    std::string digest;
};

std::optional<Number> parseNumber(std::string_view text)
{
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// The folder of the versions.
class Versions {
public:
    explicit Versions(const fs::path& projectFolder)
        : m_document(projectFolder / ProjectStore::documentName)
        , m_folder(projectFolder / folderName)
    {
    }

    fs::path file(Number number) const { return m_folder / std::format("{}.json", number); }

    /// Returns nullopt without steps.
    std::optional<Present> present() const
    {
        constexpr std::size_t maxPresentBytes = 200; // A valid file has at most 86.
        std::string text;
        try {
            readFile(presentFile(), text, maxPresentBytes);
        } catch (const fs::filesystem_error&) {
            return std::nullopt;
        }
        const auto space = text.find(' ');
        const auto number = parseNumber(std::string_view(text).substr(0, space));
        if (!number || space == std::string::npos || !text.ends_with('\n'))
            return std::nullopt;
        return Present{*number, text.substr(space + 1, text.size() - space - 2)};
    }

    void setPresent(Number number, const VideoProject& project) const
    {
        writeFileAtomically(presentFile(), std::format("{} {}\n", number, Sha256::of(encodeDocument(project))));
    }

    /// Whether the document is the one that the last step wrote.
    bool belongTo(const Present& present) const { return Sha256::of(readFile(m_document)) == present.digest; }

    /// Keeps the document as a version before it is replaced: as a hard link, which takes no space, else as a copy.
    void keepDocument(Number number) const
    {
        fs::create_directory(m_folder);
        fs::remove(file(number));
        std::error_code error;
        fs::create_hard_link(m_document, file(number), error);
        if (error)
            writeFileAtomically(file(number), readFile(m_document));
    }

    /// The numbers of the stored versions, sorted.
    std::vector<Number> numbers() const
    {
        std::vector<Number> found;
        std::error_code error;
        for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error)) {
            const auto number = parseNumber(entry->path().stem().native());
            if (number && entry->path() == file(*number))
                found.push_back(*number);
        }
        std::ranges::sort(found);
        return found;
    }

    /// Removes the current version, later ones, and the oldest ones beyond the limits.
    void trim(Number present) const
    {
        auto kept = numbers();
        const auto after = std::ranges::lower_bound(kept, present);
        for (const Number number : std::ranges::subrange(after, kept.end()))
            fs::remove(file(number));
        kept.erase(after, kept.end());
        std::uintmax_t bytes = 0;
        std::size_t count = 0;
        for (auto number = kept.rbegin(); number != kept.rend(); ++number) {
            bytes += fs::file_size(file(*number));
            if (++count > maxSteps || bytes > maxBytes)
                fs::remove(file(*number));
        }
    }

    /// Ignores errors: versions that remain match no document.
    void clear() const noexcept
    {
        std::error_code ignored;
        fs::remove(presentFile(), ignored);
        fs::remove_all(m_folder, ignored);
    }

private:
    fs::path presentFile() const { return m_folder / "present"; }

    fs::path m_document;
    fs::path m_folder;
};

bool isStep(VideoProject before, const VideoProject& after)
{
    before.publication = after.publication;
    return !EditNames::nameOf({before, after}).empty();
}

enum class Direction : std::uint8_t { back, forward };

Moved move(const ProjectStore& store, const Uuid& id, Direction direction)
{
    const bool isBack = direction == Direction::back;
    const Versions versions(store.directory(id));
    const auto from = versions.present();
    if (!from)
        throw captureError(
            isBack ? "No hay nada que deshacer: orvo no ha cambiado este proyecto." : "No hay nada que rehacer.");
    if (!versions.belongTo(*from)) {
        throw captureError("El proyecto ha cambiado desde la última orden de orvo, y volver atrás quitaría también esos "
                           "cambios. No se ha tocado nada. Lo que se hizo en la aplicación se deshace en ella, con Ctrl+Z.");
    }
    const Number to = isBack ? from->number - 1 : from->number + 1;
    auto numbers = versions.numbers();
    std::erase(numbers, from->number); // A killed process may have left the current version.
    if (!std::ranges::contains(numbers, to))
        throw captureError(isBack ? "No hay nada más que deshacer." : "No hay nada que rehacer.");

    const VideoProject present = store.load(id);
    std::string document;
    readFile(versions.file(to), document, ProjectStore::maxDocumentBytes);
    VideoProject version = decodeDocument(std::move(document));
    if (version.id != id || version.schemaVersion != present.schemaVersion)
        throw captureError("La versión anterior que guardó orvo no es de este proyecto. No se ha tocado nada.");
    version.publication = present.publication;
    version.updatedAt = now();

    versions.keepDocument(from->number);
    store.save(version);
    Moved moved{.step = isBack ? EditNames::nameOf({version, present}) : EditNames::nameOf({present, version})};
    try {
        versions.setPresent(to, version);
        moved.undoable = static_cast<std::size_t>(std::ranges::count_if(numbers, [to](Number each) { return each < to; }))
            + (isBack ? 0 : 1);
        moved.redoable = static_cast<std::size_t>(std::ranges::count_if(numbers, [to](Number each) { return each > to; }))
            + (isBack ? 1 : 0);
        fs::remove(versions.file(to)); // It is the document now.
    } catch (const std::exception&) {
        versions.clear();
        moved.undoable = moved.redoable = 0;
    }
    moved.project = std::move(version);
    return moved;
}

} // namespace

void save(const ProjectStore& store, const VideoProject& before, const VideoProject& after)
{
    const Versions versions(store.directory(after.id));
    const bool step = isStep(before, after);
    auto from = versions.present();
    const bool isKnown = from && versions.belongTo(*from);
    if (!isKnown && !step) {
        store.save(after);
        return;
    }
    try {
        if (!isKnown) {
            versions.clear();
            from = Present{};
        }
        if (step)
            versions.keepDocument(from->number);
    } catch (const fs::filesystem_error&) {
        versions.clear();
        from.reset();
    }
    try {
        store.save(after);
    } catch (...) {
        std::error_code ignored;
        if (!isKnown)
            versions.clear();
        else if (step && from)
            fs::remove(versions.file(from->number), ignored);
        throw;
    }
    if (!from)
        return;
    try {
        const Number to = from->number + (step ? 1 : 0);
        if (step)
            versions.trim(to);
        versions.setPresent(to, after);
    } catch (const std::exception&) {
        versions.clear();
    }
}

Moved undo(const ProjectStore& store, const Uuid& id)
{
    return move(store, id, Direction::back);
}

Moved redo(const ProjectStore& store, const Uuid& id)
{
    return move(store, id, Direction::forward);
}

} // namespace orvo::DocumentSteps
