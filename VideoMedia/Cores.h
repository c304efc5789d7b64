#pragma once

#include <algorithm>
#include <thread>

namespace orvo {

/// How many processor cores this program may use, at least 1.
inline int availableCores()
{
    return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

} // namespace orvo
