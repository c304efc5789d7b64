#include "cli/Library.h"

#include "VideoCore/CaptureSession.h"
#include "cli/ExitStatus.h"
#include "cli/Interruption.h"
#include "cli/ProjectLock.h"
#include "cli/TextColumns.h"

#include <algorithm>
#include <format>
#include <ranges>
#include <system_error>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t idLength = 36;

/// The text in upper case if it can be a prefix of an identifier, else nullopt.
std::optional<std::string> beginning(std::string_view reference)
{
    if (reference.size() < minReference || reference.size() > idLength)
        return std::nullopt;
    std::string result(reference);
    for (std::size_t i = 0; i < result.size(); ++i) {
        char& c = result[i];
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 32);
        const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
        const bool digit = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
        if (hyphen ? c != '-' : !digit)
            return std::nullopt;
    }
    return result;
}

} // namespace

bool looksLikeId(std::string_view reference)
{
    return beginning(reference).has_value();
}

std::optional<std::size_t> findById(std::string_view reference, std::span<const Uuid> ids, std::string_view what)
{
    const auto start = beginning(reference);
    if (!start) {
        throw UsageError(std::format("{} no es un identificador de {}: escribe al menos sus {} primeros caracteres.",
            inQuotes(reference), what, minReference));
    }
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (ids[i].text().starts_with(*start))
            found.push_back(i);
    }
    if (found.empty())
        return std::nullopt;
    // A damaged document may contain an identifier twice, which is as ambiguous as a prefix.
    if (found.size() > 1) {
        constexpr std::size_t shown = 5;
        std::string message = std::format("{} es ambiguo. Puede ser:", inQuotes(reference));
        for (const std::size_t index : found | std::views::take(shown))
            message += "\n  " + ids[index].text();
        if (found.size() > shown)
            message += std::format("\n  y {} más", found.size() - shown);
        throw UsageError(message);
    }
    return found.front();
}

std::vector<std::string> shortIds(std::span<const Uuid> ids)
{
    std::vector<std::string> texts;
    for (const Uuid& id : ids)
        texts.push_back(id.text());
    std::size_t length = 8;
    auto sorted = texts;
    std::ranges::sort(sorted);
    for (std::size_t i = 1; i < sorted.size(); ++i) {
        const auto differs = std::ranges::mismatch(sorted[i - 1], sorted[i]).in1;
        length = std::max(length, static_cast<std::size_t>(differs - sorted[i - 1].begin()) + 1);
    }
    for (auto& text : texts)
        text.resize(std::min(length, text.size()));
    return texts;
}

Library::Library(std::optional<fs::path> folder)
    : m_folder(std::move(folder))
{
}

const ProjectStore& Library::store()
{
    if (!m_store)
        m_store.emplace(m_folder);
    return *m_store;
}

bool Library::exists() const
{
    return !m_folder || fs::exists(*m_folder);
}

void Library::requireExisting() const
{
    if (!exists())
        throw fs::filesystem_error("open", *m_folder, std::make_error_code(std::errc::no_such_file_or_directory));
}

std::vector<VideoProject> Library::list()
{
    return exists() ? store().list() : std::vector<VideoProject>();
}

std::vector<Uuid> Library::ids()
{
    std::vector<Uuid> result;
    if (!exists())
        return result;
    for (const auto& entry : fs::directory_iterator(store().root())) {
        const std::string name = entry.path().filename().string();
        const auto id = Uuid::parse(name);
        std::error_code ignored;
        if (id && id->text() == name && fs::exists(entry.path() / ProjectStore::documentName, ignored))
            result.push_back(*id);
    }
    std::ranges::sort(result);
    return result;
}

Uuid Library::find(std::string_view reference)
{
    const auto known = ids();
    const auto index = findById(reference, known, "proyecto");
    if (!index) {
        throw NoSuchProject(std::format("No hay ningún proyecto {} en la biblioteca {}.", inQuotes(reference),
            inQuotes(exists() ? store().root().string() : m_folder->string())));
    }
    return known[*index];
}

VideoProject Library::load(std::string_view reference)
{
    return load(find(reference));
}

VideoProject Library::load(const Uuid& id)
{
    VideoProject project = store().load(id);
    if (project.id != id) {
        throw captureError(std::format("El documento de la carpeta {} es de otro proyecto ({}).",
            inQuotes(store().directory(id).string()), project.id.text()));
    }
    return project;
}

VideoProject Library::edit(std::string_view reference, const std::function<void(VideoProject&)>& change)
{
    const Uuid id = find(reference);
    const ProjectLock lock(store().directory(id));
    const VideoProject before = load(id);
    requireEditable(before);
    // A signal between the first changed file and the document would leave a partial change.
    const SignalsHeld held;
    VideoProject after = before;
    change(after);
    saveStep(before, after);
    return after;
}

void Library::saveStep(const VideoProject& before, VideoProject& after)
{
    const SignalsHeld held;
    after.updatedAt = now();
    DocumentSteps::save(store(), before, after);
}

DocumentSteps::Moved Library::move(
    std::string_view reference, DocumentSteps::Moved (*step)(const ProjectStore&, const Uuid&))
{
    const Uuid id = find(reference);
    const ProjectLock lock(store().directory(id));
    requireEditable(load(id));
    const SignalsHeld held;
    return step(store(), id);
}

void Library::requireEditable(const VideoProject& project)
{
    if (CaptureSession::isMarkedRecording(project))
        throw captureError("Termina esta grabación antes de editarla.");
}

} // namespace orvo::cli
