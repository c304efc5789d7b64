#pragma once

#include <span>
#include <string_view>

namespace orvo::server {

/// A file of the web pages, embedded in the program. Everything lives as long as the program.
struct Asset {
    std::string_view name; ///< "player.js".
    std::string_view type; ///< The value of Content-Type.
    std::string_view bytes;
    std::string_view gzip; ///< The same, compressed; empty where that saves nothing.
    std::string_view hash; ///< Of all files together, so that modules find one another at relative addresses.
};

/// All files, sorted by name. player.html, unavailable.html and admin.html are templates.
///
/// Assets hold nothing that is not public. Answer them with "Access-Control-Allow-Origin: *": modules are fetched with CORS,
/// and the origin of a page in a sandboxed frame is "null".
std::span<const Asset> assets();

/// The file of that name, or nullptr.
const Asset* findAsset(std::string_view name);

} // namespace orvo::server
