#pragma once

#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"
#include "cli/Interruption.h"
#include "cli/ProgressBar.h"

#include <exception>
#include <string>

namespace orvo::cli {

/// Runs blocking work with a progress bar. A signal stops it cleanly: throws `Cancelled`.
template <typename Work> auto runInterruptibly(const std::string& label, Work work)
{
    const Interruption interruption;
    try {
        ProgressBar bar(label);
        return work([&](double fraction) { bar.report(fraction); }, interruption.token());
    } catch (const std::exception&) {
        // Ctrl-C also reaches the child processes; one may have failed first.
        if (interruption.requested())
            throw Cancelled();
        throw;
    }
}

} // namespace orvo::cli
