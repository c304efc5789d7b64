#include "OrvoServer/api/RevisionRequest.h"

#include "OrvoServer/base/Json.h"
#include "VideoCore/Error.h"

#include <algorithm>
#include <format>
#include <ranges>
#include <set>

namespace orvo::server {

namespace {

constexpr std::size_t maxFiles = 50000;
constexpr std::size_t maxPath = 1024;
constexpr std::uint64_t maxSize = std::uint64_t{1} << 42U; // 4 TiB

bool fitsRole(const AnnouncedFile& file)
{
    if (file.role == "source")
        return file.path.starts_with("media/");
    if (file.role == "project")
        return file.path == "project.json";
    return file.role == "stream" && file.path.starts_with("hls/");
}

bool isDigest(std::string_view text)
{
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return text.size() == 64 && std::ranges::all_of(text, isDigit);
}

} // namespace

bool isSafePath(std::string_view path)
{
    if (path.empty() || path.size() > maxPath || path.contains('\0') || path.contains('\\'))
        return false;
    return std::ranges::none_of(std::views::split(path, '/'), [](const auto part) {
        const std::string_view name(part);
        return name.empty() || name == "." || name == "..";
    });
}

std::vector<AnnouncedFile> readRevision(std::string_view body)
{
    const JsonDocument document(body);
    const JsonValue list = document.root()["files"];
    if (!list.isArray())
        throw captureError("La lista de archivos no es válida.");
    std::vector<AnnouncedFile> files;
    std::set<std::string, std::less<>> paths;
    std::uint64_t total = 0;
    list.forEach([&](JsonValue entry) {
        AnnouncedFile file{.path = entry["path"].text().value_or(""),
            .role = entry["role"].text().value_or(""),
            .size = entry["size"].number().value_or(0),
            .sha256 = entry["sha256"].text().value_or("")};
        if (files.size() == maxFiles)
            throw captureError(std::format("La publicación tiene más de {} archivos.", maxFiles));
        if (!isSafePath(file.path) || !paths.insert(file.path).second || !fitsRole(file) || file.size == 0
            || file.size > maxSize || !isDigest(file.sha256))
            throw captureError(std::format("El servidor no puede guardar el archivo «{}».", file.path.substr(0, 200)));
        total += file.size;
        if (total > maxSize)
            throw captureError("La publicación es demasiado grande.");
        files.push_back(std::move(file));
    });
    return files;
}

} // namespace orvo::server
