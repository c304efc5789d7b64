#include "OrvoVideo/model/BrowserIntegration.h"

#include "VideoCore/FileIO.h"
#include "VideoCore/UserFolders.h"
#include "VideoMedia/ProcessRunner.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <yyjson.h>

namespace orvo {

namespace fs = std::filesystem;

namespace {

/// Folders below the user's settings folder in which browsers look for the helpers of extensions.
constexpr const char* browsers[] = {"google-chrome", "chromium", "BraveSoftware/Brave-Browser"};

std::string trimmed(const std::string& text)
{
    constexpr const char* space = " \t\r\n";
    const auto begin = text.find_first_not_of(space);
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

std::string manifest(const fs::path& helper, const std::string& origin)
{
    const std::unique_ptr<yyjson_mut_doc, void (*)(yyjson_mut_doc*)> document(
        yyjson_mut_doc_new(nullptr), yyjson_mut_doc_free);
    yyjson_mut_val* root = yyjson_mut_obj(document.get());
    yyjson_mut_doc_set_root(document.get(), root);
    yyjson_mut_obj_add_str(document.get(), root, "name", "es.orvo.video");
    yyjson_mut_obj_add_str(document.get(), root, "description", "Orvo Video Native Bridge");
    yyjson_mut_obj_add_strcpy(document.get(), root, "path", helper.c_str());
    yyjson_mut_obj_add_str(document.get(), root, "type", "stdio");
    yyjson_mut_val* origins = yyjson_mut_obj_add_arr(document.get(), root, "allowed_origins");
    yyjson_mut_arr_add_strcpy(document.get(), origins, origin.c_str());
    const std::unique_ptr<char, decltype(&std::free)> text(
        yyjson_mut_write(document.get(), YYJSON_WRITE_PRETTY | YYJSON_WRITE_ALLOW_INVALID_UNICODE, nullptr), &std::free);
    return std::string(text.get()) + '\n';
}

} // namespace

BrowserIntegration::Places BrowserIntegration::usualPlaces()
{
    std::error_code error;
    fs::path bundle;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    const fs::path found = ProcessRunner::bundlePath();
    if (executable.string().starts_with(found.string() + '/'))
        bundle = found;
    const char* home = std::getenv("HOME");
    return {.bundle = bundle, .data = dataFolder(), .config = configurationHome(), .home = home ? home : "/"};
}

BrowserIntegration::BrowserIntegration(Places places)
    : m_places(std::move(places))
{
}

void BrowserIntegration::setUp() const
{
    const fs::path contents = m_places.bundle / "Contents";
    const fs::path source = contents / "Resources/Extension";
    if (m_places.bundle.extension() != ".app" || !fs::is_directory(source))
        return;
    const std::string origin = trimmed(readFile(contents / "Resources/extension-origin.txt"));

    const fs::path earlier = m_places.data / "Extension";
    for (const fs::path& target : {extensionFolder(), earlier}) {
        if (target == earlier && !fs::exists(earlier))
            continue;
        fs::remove_all(target);
        fs::create_directories(target.parent_path());
        fs::copy(source, target, fs::copy_options::recursive);
    }

    const std::string text = manifest(contents / "Helpers/OrvoBridge", origin);
    for (const char* browser : browsers) {
        const fs::path folder = m_places.config / browser / "NativeMessagingHosts";
        fs::create_directories(folder);
        writeFileAtomically(folder / "es.orvo.video.json", text);
    }
}

fs::path BrowserIntegration::extensionFolder() const
{
    return m_places.home / "Orvo Video/Extensión";
}

} // namespace orvo
