#include "OrvoVideo/publishing/PublicationPackage.h"

#include "VideoCore/DocumentCodec.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/HlsLadder.h"
#include "VideoMedia/Sha256.h"

#include <format>
#include <system_error>

namespace orvo {

namespace fs = std::filesystem;

PublicationPackage::PublicationPackage(
    const VideoProject& project, const ProjectStore& store, const ExportSettings& settings)
    : m_project(project)
    , m_store(store)
    , m_settings(settings)
    , m_folder(store.directory(project.id) / "publication")
    , m_signature(signature(project, settings))
{
    m_settings.fps = project.fps;
    m_settings.isStreamed = true;
    fs::create_directories(m_folder);
    m_lock = openFolderLock(m_folder);
    if (!m_lock.tryLock())
        throw captureError("Este proyecto ya se está publicando en otra ventana u otro terminal.");
}

bool PublicationPackage::isReady() const
{
    try {
        return readFile(signatureFile()) == m_signature && fs::exists(hls() / "master.m3u8");
    } catch (const fs::filesystem_error&) {
        return false;
    }
}

void PublicationPackage::render(const MediaProbe& probe, const ProgressCallback& progress, const std::stop_token& stop)
{
    std::error_code ignored;
    fs::remove(signatureFile(), ignored); // First, because the package is incomplete from here on.
    fs::remove_all(hls(), ignored);
    m_outcome.hardwareFailed |=
        ExportService::exportVideo(m_project, m_store, movie(), m_settings, probe, progress, stop).hardwareFailed;
}

void PublicationPackage::package(const ProgressCallback& progress, const std::stop_token& stop)
{
    m_outcome.hardwareFailed |= ExportService::hls(movie(), m_project, hls(), progress, stop).hardwareFailed;
    std::error_code ignored;
    for (const auto& step : HlsLadder::of(m_project))
        fs::remove(ExportService::stepFilm(movie(), step.height), ignored); // The package has their frames.
    writeFileAtomically(signatureFile(), m_signature);
}

std::string PublicationPackage::signature(const VideoProject& project, const ExportSettings& settings)
{
    Sha256 sum;
    sum.add(encodeDocument(project));
    sum.add(std::format("{}:{}", settings.height, textOf(settings.quality)));
    return sum.finish();
}

} // namespace orvo
