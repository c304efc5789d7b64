#include "OrvoVideo/publishing/PublicationPackage.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/Uuid.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/WorkFolder.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/Destination.h"
#include "cli/LongWork.h"
#include "cli/RenderOptions.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <format>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

struct PackageArguments {
    std::string project;
    std::string folder;
    std::string height;
    std::string quality;
};

/// A new folder that is renamed when it is complete and removed otherwise.
class NewPackage {
public:
    explicit NewPackage(fs::path target)
        : m_target(std::move(target))
        , m_path(m_target.parent_path() / ("." + Uuid::random().text() + ".tmp"))
    {
    }
    ~NewPackage()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    NewPackage(const NewPackage&) = delete;
    NewPackage& operator=(const NewPackage&) = delete;

    const fs::path& path() const { return m_path; }

    /// Replaces an empty folder.
    void finish() const { fs::rename(m_path, m_target); }

private:
    fs::path m_target;
    fs::path m_path;
};

fs::path emptyTarget(const std::string& argument, const ProjectStore& store)
{
    fs::path folder = fs::absolute(argument).lexically_normal();
    if (!folder.has_filename())
        folder = folder.parent_path();
    if (fs::exists(folder) && !fs::is_directory(folder))
        throw fs::filesystem_error("package", folder, std::make_error_code(std::errc::not_a_directory));
    if (fs::exists(folder) && !fs::is_empty(folder))
        throw captureError(std::format("La carpeta {} no está vacía.", inQuotes(printable(folder.string()))));
    // Checks the destination with a file that every package contains.
    destination(folder.parent_path() / "master.m3u8", store);
    return folder;
}

void package(Session& session, const PackageArguments& arguments)
{
    ExportSettings settings = renderSettings(arguments.height, arguments.quality);
    Library& library = session.library();
    const VideoProject project = library.load(arguments.project);
    if (CaptureSession::isMarkedRecording(project))
        throw captureError("Termina esta grabación antes de prepararla.");
    const auto ladder = HlsLadder::of(project);
    settings.fps = project.fps;
    settings.isStreamed = true;
    const fs::path folder = emptyTarget(arguments.folder, library.store());

    const WorkFolder work(library.store().directory(project.id), "package");
    const fs::path movie = work / "video.mp4";
    auto outcome = runInterruptibly("Preparando vídeo", [&](const ProgressCallback& progress, const std::stop_token& stop) {
        return ExportService::exportVideo(project, library.store(), movie, settings, FfprobeMediaProbe(), progress, stop);
    });
    const NewPackage made(folder);
    outcome.hardwareFailed |=
        runInterruptibly("Generando calidades", [&](const ProgressCallback& progress, const std::stop_token& stop) {
            return ExportService::hls(movie, project, made.path(), progress, stop);
        }).hardwareFailed;
    made.finish();
    if (const auto remarks = outcome.remarks(); !remarks.empty())
        session.note(remarks);
    if (session.json()) {
        JsonValue::Array renditions;
        for (const auto& step : ladder)
            renditions.push_back(
                JsonValue::Object{{"width", step.width}, {"height", step.height}, {"bandwidth", step.bandwidth}});
        return session.answer(JsonValue::Object{{"id", project.id}, {"folder", folder.string()},
            {"playlist", (folder / "master.m3u8").string()}, {"renditions", renditions}});
    }
    std::string steps;
    for (const auto& step : ladder)
        steps += std::format("{}{}×{}", steps.empty() ? "" : ", ", step.width, step.height);
    session.print(std::format("Paquete: {} ({})\n", printable((folder / "master.m3u8").string()), steps));
}

} // namespace

void addPackageCommand(CLI::App& app, Session& session)
{
    addCommand<PackageArguments>(
        app, session,
        {"package", "Resultado",
            "Prepara el vídeo para streaming en una carpeta.\nDeja las calidades cifradas (HLS), su clave, los subtítulos y "
            "una "
            "imagen."},
        [](Command& command, PackageArguments& arguments) {
            command.project(arguments.project);
            command.argument("CARPETA", arguments.folder, "Una carpeta nueva o vacía.");
            addRenderOptions(command, arguments.height, arguments.quality);
        },
        package);
}

} // namespace orvo::cli
