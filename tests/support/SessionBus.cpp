#include "TestSupport/SessionBus.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace orvo::test {

namespace {

constexpr auto variable = "DBUS_SESSION_BUS_ADDRESS";

} // namespace

SessionBus::SessionBus()
{
    // Without service folders, the bus never activates installed services.
    const auto configuration = m_folder / "bus.conf";
    std::ofstream(configuration) << "<busconfig><type>session</type><listen>unix:dir=" << m_folder.path().string()
                                 << R"(</listen><policy context="default"><allow send_destination="*" eavesdrop="true"/>)"
                                 << R"(<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";
    m_daemon.emplace(
        std::vector<std::string>{"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--print-address"},
        std::map<std::string, std::string>{}, ChildProcess::Errors::hidden);
    m_address = m_daemon->readLine();
    if (m_address.empty())
        throw std::runtime_error("the bus does not start");
    if (const char* before = std::getenv(variable))
        m_before = before;
    ::setenv(variable, m_address.c_str(), 1);
}

SessionBus::~SessionBus()
{
    if (m_before)
        ::setenv(variable, m_before->c_str(), 1);
    else
        ::unsetenv(variable);
}

} // namespace orvo::test
