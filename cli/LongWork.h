#pragma once

#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"
#include "cli/Interruption.h"
#include "cli/ProgressBar.h"

#include <exception>
#include <string>

namespace orvo::cli {

/// Runs blocking work with a progress bar, so that a signal stops it cleanly. Throws `Cancelled` after one.
template <typename Work> auto runInterruptibly(const std::string& label, Work work)
{
    const Interruption interruption;
    try {
        ProgressBar bar(label);
        return work([&](double fraction) { bar.report(fraction); }, interruption.token());
    } catch (const std::exception&) {
        // Ctrl-C reaches the child processes too, and one of them may have failed of it first.
        if (interruption.requested())
            throw Cancelled();
        throw;
    }
}

} // namespace orvo::cli
