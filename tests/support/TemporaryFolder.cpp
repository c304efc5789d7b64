#include "TestSupport/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace orvo::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::string form = (fs::canonical(fs::temp_directory_path()) / "orvo-test-XXXXXX").string();
    if (!mkdtemp(form.data()))
        throw std::system_error(errno, std::system_category(), form);
    m_path = form;
}

TemporaryFolder::~TemporaryFolder()
{
    // Restores permissions that tests have removed, because deletion needs them.
    std::error_code ignored;
    fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (fs::recursive_directory_iterator entry(m_path, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
        if (std::error_code unknown; entry->symlink_status(unknown).type() == fs::file_type::directory)
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, unknown);
    }
    fs::remove_all(m_path, ignored);
}

std::vector<std::string> namesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

} // namespace orvo::test
