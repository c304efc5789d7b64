#pragma once

#include "OrvoServer/app/DataFolder.h"

#include <cstdint>
#include <filesystem>

namespace orvo::server {

struct BackupResult {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

/// Copies the server into the new folder `target`, also while it runs: the database as it is at one moment, the
/// configuration, and every file that this database names (hard links within one disk). Uploads that are not finished and
/// secrets stay behind. Throws `Error` and file system errors; `target` is then removed.
BackupResult backUp(const DataFolder& folder, const std::filesystem::path& target);

/// Makes a data folder from a backup, where there is none yet. Throws as `backUp`, also for a damaged backup.
BackupResult restoreBackup(const std::filesystem::path& source, const DataFolder& folder);

} // namespace orvo::server
