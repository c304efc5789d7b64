#pragma once

#include "OrvoServer/base/Asset.h"

#include <span>
#include <string_view>

namespace orvo::server {

/// All files, sorted by name. player.html, unavailable.html and admin.html are templates.
///
/// Assets contain only public data. Serve them with "Access-Control-Allow-Origin: *": modules are fetched with CORS, and
/// the origin of a page in a sandboxed frame is "null".
std::span<const Asset> assets();

/// The file with this name, or null.
const Asset* findAsset(std::string_view name);

} // namespace orvo::server
