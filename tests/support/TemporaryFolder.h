#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvo::test {

/// A new empty folder, removed with its contents when the object is destroyed.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Absolute, without symbolic links.
    const std::filesystem::path& path() const noexcept { return m_path; }

    friend std::filesystem::path operator/(const TemporaryFolder& folder, const std::filesystem::path& name)
    {
        return folder.m_path / name;
    }

private:
    std::filesystem::path m_path;
};

/// The sorted names of all entries in a folder, including hidden ones; empty if the folder does not exist.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace orvo::test
