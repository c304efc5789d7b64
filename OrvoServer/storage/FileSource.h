#pragma once

#include "OrvoServer/base/OpenFile.h"

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>

namespace orvo::server {

/// Opens stored files on the local disk, for sending. Thread-safe.
class FileSource {
public:
    FileSource() = default;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    virtual ~FileSource() = default;

    /// Returns the file if it is on the local disk, else null. Sends no request.
    virtual std::shared_ptr<const OpenFile> openIfHere(const std::string& key, std::uint64_t size) = 0;

    /// Fetches the file if needed and opens it. Blocks. Throws `StoreError`, file system errors and `Cancelled`.
    virtual std::shared_ptr<const OpenFile> open(
        const std::string& key, std::uint64_t size, const std::stop_token& stop) = 0;
};

} // namespace orvo::server
