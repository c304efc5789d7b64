#include "cli/ImageFile.h"

#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Utf8.h"
#include "VideoMedia/OverlayImage.h"
#include "cli/TextColumns.h"

#include <format>

namespace orvo::cli {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t largestImage = std::size_t{256} << 20; ///< Bytes; larger files are not images.

std::string contentOf(const fs::path& file)
{
    std::string content;
    readFile(file, content, largestImage);
    return content;
}

} // namespace

ImageFile::ImageFile(const fs::path& file)
    : m_file(file)
    , m_content(contentOf(file))
{
    if (!isUtf8(extension()))
        throw captureError(std::format("El nombre {} no es UTF-8 válido.", inQuotes(name())));
    if (!OverlayImage::isUsable(file))
        throw captureError(
            std::format("{} no es una imagen que se pueda usar: debe ser {}.", inQuotes(name()), OverlayImage::kindNames()));
}

std::string ImageFile::extension() const
{
    return m_file.has_extension() ? m_file.extension().string() : ".";
}

ImageCopy::ImageCopy(const ImageFile& image, const ProjectStore& store, const VideoProject& project)
    : m_name(std::format("{}/{}{}", ProjectStore::mediaName, Uuid::random().text(), image.extension()))
    , m_file(store.mediaURL(project, m_name))
{
    writeFileAtomically(m_file, image.content());
}

ImageCopy::~ImageCopy()
{
    std::error_code ignored;
    if (!m_kept)
        fs::remove(m_file, ignored);
}

} // namespace orvo::cli
