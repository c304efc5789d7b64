#pragma once

#include "OrvoServer/app/DataFolder.h"

#include <cstdint>
#include <filesystem>

namespace orvo::server {

struct BackupResult {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

/// Copies the server into the new folder `target`, even while it runs: a snapshot of the database, the configuration, and
/// every file that the snapshot names (as hard links on the same disk). Leaves out unfinished uploads and secrets. Removes
/// `target` and throws `Error` or file system errors if the copy fails.
BackupResult backUp(const DataFolder& folder, const std::filesystem::path& target);

/// Creates a data folder from a backup. Throws like `backUp`, also if the folder is not empty or the backup is damaged.
BackupResult restoreBackup(const std::filesystem::path& source, const DataFolder& folder);

} // namespace orvo::server
