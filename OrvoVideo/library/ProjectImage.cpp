#include "OrvoVideo/library/ProjectImage.h"

#include "VideoCore/Error.h"
#include "VideoMedia/CopyFile.h"
#include "VideoMedia/OverlayImage.h"

#include <cstdint>
#include <format>
#include <system_error>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t maxSize = std::uintmax_t{256} << 20; ///< Bytes; larger files are not images.

} // namespace

ProjectImage::ProjectImage(
    const ProjectStore& store, const VideoProject& project, const fs::path& image, const std::stop_token& stop)
    : m_name(newMediaName(image))
{
    if (fs::file_size(image) > maxSize)
        throw fs::filesystem_error("copy", image, std::make_error_code(std::errc::file_too_large));
    if (!OverlayImage::isUsable(image, stop))
        throw captureError(std::format(
            "«{}» no es una imagen que se pueda usar: debe ser {}.", image.filename().string(), OverlayImage::kindNames()));
    const fs::path copy = store.mediaURL(project, m_name);
    copyFile(image, copy, {}, stop);
    m_file = copy;
}

ProjectImage::ProjectImage(ProjectImage&& other) noexcept
    : m_name(std::move(other.m_name))
    , m_file(std::exchange(other.m_file, {}))
{
}

ProjectImage::~ProjectImage()
{
    std::error_code ignored;
    if (!m_file.empty())
        fs::remove(m_file, ignored);
}

} // namespace orvo
