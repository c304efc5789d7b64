#include "OrvoServer/web/Assets.h"

#include <algorithm>

namespace orvo::server {

const Asset* findAsset(std::string_view name)
{
    const auto all = assets();
    const auto found = std::ranges::lower_bound(all, name, {}, &Asset::name);
    return found != all.end() && found->name == name ? &*found : nullptr;
}

} // namespace orvo::server
