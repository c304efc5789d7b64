#pragma once

#include "VideoCore/Error.h"

#include <string>

namespace orvo::cli {

/// Exit statuses of `orvo`; scripts rely on these numbers.
enum class ExitStatus : int {
    done = 0,
    failed = 1,
    wrongUse = 2, ///< The command line or a value in it is invalid.
    noSuchProject = 3,
    cancelled = 130, ///< SIGINT or SIGTERM.
};

/// An invalid command line.
class UsageError : public Error {
public:
    explicit UsageError(const std::string& message)
        : Error("orvo", static_cast<int>(ExitStatus::wrongUse), message)
    {
    }
};

/// The library has no project with this identifier.
class NoSuchProject : public Error {
public:
    explicit NoSuchProject(const std::string& message)
        : Error("orvo", static_cast<int>(ExitStatus::noSuchProject), message)
    {
    }
};

} // namespace orvo::cli
