#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

namespace orvo::server {

/// An open file; the last owner closes it.
class OpenFile {
public:
    /// Throws `std::filesystem::filesystem_error`.
    static std::shared_ptr<const OpenFile> open(const std::filesystem::path& file);
    explicit OpenFile(int descriptor, std::uint64_t size)
        : m_descriptor(descriptor)
        , m_size(size)
    {
    }
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor() const { return m_descriptor; }
    std::uint64_t size() const { return m_size; }

private:
    int m_descriptor;
    std::uint64_t m_size;
};

} // namespace orvo::server
