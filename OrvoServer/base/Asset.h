#pragma once

#include <string_view>

namespace orvo::server {

/// A file of the web pages, embedded in the program; its views never become invalid.
struct Asset {
    std::string_view name; ///< "player.js".
    std::string_view type; ///< The value of Content-Type.
    std::string_view bytes;
    std::string_view gzip; ///< The gzip-compressed bytes; empty if compression does not help.
    std::string_view hash; ///< Common to all files, so that modules find one another at relative addresses.
};

} // namespace orvo::server
