#include "TestSupport/SmallDisk.h"

#include <csignal>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>

namespace orvo::test {

namespace {

rlimit fileSizeLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    return limit;
}

void setFileSizeLimit(std::size_t bytes)
{
    rlimit limit = fileSizeLimit();
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

SmallDisk::SmallDisk(std::size_t bytes)
{
    const std::string options = "mode=700,size=" + std::to_string(bytes);
    m_mounted = mount("tmpfs", path().c_str(), "tmpfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
}

SmallDisk::~SmallDisk()
{
    if (m_mounted)
        umount2(path().c_str(), MNT_DETACH);
}

FileSizeLimit::FileSizeLimit(std::size_t bytes)
    : m_before(fileSizeLimit().rlim_cur)
    , m_handler(std::signal(SIGXFSZ, SIG_IGN))
{
    setFileSizeLimit(bytes);
}

FileSizeLimit::~FileSizeLimit()
{
    setFileSizeLimit(m_before);
    std::signal(SIGXFSZ, m_handler);
}

} // namespace orvo::test
