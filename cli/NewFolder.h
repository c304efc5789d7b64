#pragma once

#include <filesystem>
#include <system_error>
#include <utility>

namespace orvo::cli {

/// The folder of a new project, removed by the destructor unless the work succeeded.
class NewFolder {
public:
    explicit NewFolder(std::filesystem::path folder)
        : m_folder(std::move(folder))
    {
    }
    ~NewFolder()
    {
        std::error_code ignored;
        if (!m_kept)
            std::filesystem::remove_all(m_folder, ignored);
    }
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    void keep() { m_kept = true; }

private:
    std::filesystem::path m_folder;
    bool m_kept = false;
};

} // namespace orvo::cli
