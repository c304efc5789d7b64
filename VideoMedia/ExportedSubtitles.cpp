#include "VideoMedia/ExportedSubtitles.h"

#include "VideoCore/FileIO.h"
#include "VideoMedia/Sha256.h"

#include <array>
#include <format>
#include <string>
#include <sys/xattr.h>

namespace orvo::ExportedSubtitles {

namespace fs = std::filesystem;

namespace {

constexpr auto exportMark = "user.orvo.sha256";

bool isMarkedAsExported(const fs::path& file, std::string_view content)
{
    std::array<char, 64> digest{};
    const ssize_t size = ::getxattr(file.c_str(), exportMark, digest.data(), digest.size());
    return size == static_cast<ssize_t>(digest.size())
        && std::string_view(digest.data(), digest.size()) == Sha256::of(content);
}

} // namespace

void mark(const fs::path& file, std::string_view content)
{
    const std::string digest = Sha256::of(content);
    ::setxattr(file.c_str(), exportMark, digest.data(), digest.size(), 0);
}

std::optional<fs::path> keepForeign(const fs::path& file, std::string_view content)
{
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored))
        return std::nullopt;
    const std::string present = readFile(file);
    if (present == content || isMarkedAsExported(file, present))
        return std::nullopt;
    for (int number = 1;; ++number) {
        fs::path copy = file;
        copy += number == 1 ? ".bak" : std::format(".bak{}", number);
        if (fs::is_regular_file(copy, ignored) && readFile(copy) == present)
            return std::nullopt;
        if (fs::exists(fs::symlink_status(copy, ignored)))
            continue;
        writeFileAtomically(copy, present);
        return copy;
    }
}

} // namespace orvo::ExportedSubtitles
