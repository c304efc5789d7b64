#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvo::test {

/// A new empty folder that is removed with everything in it when this object goes.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Absolute and free of links.
    const std::filesystem::path& path() const noexcept { return m_path; }

    friend std::filesystem::path operator/(const TemporaryFolder& folder, const std::filesystem::path& name)
    {
        return folder.m_path / name;
    }

private:
    std::filesystem::path m_path;
};

/// The names of everything in a folder, hidden or not, sorted; none without the folder.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace orvo::test
