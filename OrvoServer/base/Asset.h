#pragma once

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

} // namespace orvo::server
