#pragma once

#include "VideoCore/UniqueFd.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>

namespace orvo::server {

/// An open file; the last owner closes it.
class OpenFile {
public:
    /// Throws `std::filesystem::filesystem_error`.
    static std::shared_ptr<const OpenFile> open(const std::filesystem::path& file);
    OpenFile(UniqueFd descriptor, std::uint64_t size)
        : m_descriptor(std::move(descriptor))
        , m_size(size)
    {
    }

    int descriptor() const { return m_descriptor.get(); }
    std::uint64_t size() const { return m_size; }

private:
    UniqueFd m_descriptor;
    std::uint64_t m_size;
};

} // namespace orvo::server
