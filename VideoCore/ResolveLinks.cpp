#include "VideoCore/ResolveLinks.h"

#include <algorithm>
#include <system_error>
#include <vector>

namespace orvo {

namespace fs = std::filesystem;

fs::path resolveLinks(const fs::path& path)
{
    constexpr int maxLinks = 40; // The kernel's limit.

    std::vector<fs::path> pending; // Components still to resolve, the next one last.
    const auto push = [&](const fs::path& parts) {
        const auto before = static_cast<std::ptrdiff_t>(pending.size());
        pending.insert(pending.end(), parts.begin(), parts.end());
        std::reverse(pending.begin() + before, pending.end());
    };

    fs::path resolved = "/";
    int links = 0;
    push(path.relative_path());
    while (!pending.empty()) {
        const fs::path part = std::move(pending.back());
        pending.pop_back();
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            resolved = resolved.parent_path();
            continue;
        }
        const fs::path next = resolved / part;
        std::error_code error;
        const fs::path target = fs::read_symlink(next, error);
        if (!error) {
            if (++links > maxLinks)
                throw fs::filesystem_error("resolve", path, make_error_code(std::errc::too_many_symbolic_link_levels));
            if (target.is_absolute())
                resolved = "/";
            push(target.relative_path());
        } else if (error == std::errc::invalid_argument || error == std::errc::no_such_file_or_directory
            || error == std::errc::not_a_directory) {
            resolved = next; // Not a link.
        } else {
            throw fs::filesystem_error("resolve", next, error);
        }
    }
    return resolved;
}

} // namespace orvo
