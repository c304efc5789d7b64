#pragma once

#include "VideoMedia/Cores.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvo {

/// The results of `job(0)` to `job(count - 1)`, in order, from as many threads as there are cores. The calling thread is
/// one of them. Blocks until all jobs have ended.
///
/// Rethrows the exception of the first job that failed, and throws `std::system_error` if no thread can be started.
template <typename Job> auto inParallel(std::size_t count, const Job& job)
{
    using Result = std::invoke_result_t<const Job&, std::size_t>;
    std::vector<std::optional<Result>> results(count);
    std::vector<std::exception_ptr> failures(count);
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            try {
                results[i] = job(i);
            } catch (...) {
                failures[i] = std::current_exception();
            }
        }
    };
    {
        std::vector<std::jthread> helpers;
        while (helpers.size() + 1 < std::min(count, static_cast<std::size_t>(availableCores())))
            helpers.emplace_back(work);
        work();
    }
    if (const auto failure = std::ranges::find_if(failures, [](const auto& each) { return each != nullptr; });
        failure != failures.end())
        std::rethrow_exception(*failure);
    std::vector<Result> all;
    all.reserve(count);
    for (auto& result : results)
        all.push_back(std::move(*result));
    return all;
}

} // namespace orvo
