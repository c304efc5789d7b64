#pragma once

#include <algorithm>
#include <thread>

namespace orvo {

/// The number of processor cores that this program may use, at least 1.
inline int availableCores()
{
    return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

} // namespace orvo
