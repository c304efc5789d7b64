#pragma once

#include "OrvoServer/base/OpenFile.h"

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>

namespace orvo::server {

/// Stored files as local ones, to be sent. Any thread.
class FileSource {
public:
    FileSource() = default;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    virtual ~FileSource() = default;

    /// The file when it is on this machine's disk, else null. Quick.
    virtual std::shared_ptr<const OpenFile> openIfHere(const std::string& key, std::uint64_t size) = 0;

    /// The file, fetched first where needed; blocks. Throws `StoreError`, file system errors and `Cancelled`.
    virtual std::shared_ptr<const OpenFile> open(
        const std::string& key, std::uint64_t size, const std::stop_token& stop) = 0;
};

} // namespace orvo::server
