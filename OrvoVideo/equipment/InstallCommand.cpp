#include "OrvoVideo/equipment/InstallCommand.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <ranges>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo {

namespace {

using namespace std::string_view_literals;

/// A family of distributions with the same packages.
struct System {
    std::string_view id; ///< The value of ID or ID_LIKE.
    std::string_view command;
    std::array<std::string_view, 5> packages; ///< In the order of `Package`; the portal's needs a back end as well.
};

constexpr std::array systems{
    System{"debian"sv, "sudo apt install "sv,
        {"ffmpeg"sv, "xdg-desktop-portal"sv, "gnome-shell-extension-appindicator"sv, "gnome-keyring"sv, "chromium"sv}},
    System{"ubuntu"sv, "sudo apt install "sv,
        {"ffmpeg"sv, "xdg-desktop-portal"sv, "gnome-shell-extension-appindicator"sv, "gnome-keyring"sv,
            "chromium-browser"sv}},
    System{"fedora"sv, "sudo dnf install "sv,
        {"ffmpeg"sv, "xdg-desktop-portal"sv, "gnome-shell-extension-appindicator"sv, "gnome-keyring"sv, "chromium"sv}},
    System{"arch"sv, "sudo pacman -S "sv,
        {"ffmpeg"sv, "xdg-desktop-portal"sv, "gnome-shell-extension-appindicator"sv, "gnome-keyring"sv, "chromium"sv}},
    System{"suse"sv, "sudo zypper install "sv,
        {"ffmpeg"sv, "xdg-desktop-portal"sv, "gnome-shell-extension-appindicator"sv, "gnome-keyring"sv, "chromium"sv}},
};

/// The values of ID and ID_LIKE, ID first.
std::vector<std::string> namesIn(const std::filesystem::path& release)
{
    std::vector<std::string> own;
    std::vector<std::string> like;
    std::ifstream file(release);
    for (std::string line; std::getline(file, line);) {
        auto& names = line.starts_with("ID=") ? own : like;
        if (!line.starts_with("ID=") && !line.starts_with("ID_LIKE="))
            continue;
        std::string value = line.substr(line.find('=') + 1);
        std::erase_if(value, [](char c) { return c == '"' || c == '\''; });
        for (const auto word : value | std::views::split(' '))
            names.emplace_back(std::string_view(word));
    }
    own.insert(own.end(), like.begin(), like.end());
    return own;
}

/// The package of the portal back end for this session's desktop, with a leading blank.
std::string_view portalOfDesktop()
{
    const char* named = std::getenv("XDG_CURRENT_DESKTOP");
    std::string desktop = named ? named : "";
    std::ranges::transform(desktop, desktop.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (desktop.contains("gnome"))
        return " xdg-desktop-portal-gnome";
    if (desktop.contains("kde"))
        return " xdg-desktop-portal-kde";
    return " xdg-desktop-portal-wlr";
}

} // namespace

std::string installCommand(Package package, const std::filesystem::path& release)
{
    for (const std::string& name : namesIn(release)) {
        const auto found = std::ranges::find_if(systems,
            [&](const System& system) { return name == system.id || name.starts_with("open" + std::string(system.id)); });
        if (found == systems.end())
            continue;
        std::string command(found->command);
        command += found->packages[static_cast<std::size_t>(package)];
        if (package == Package::portal)
            command += portalOfDesktop();
        return command;
    }
    return {};
}

} // namespace orvo
