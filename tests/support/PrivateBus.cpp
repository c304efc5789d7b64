#include "PrivateBus.h"

#include <fstream>
#include <stdexcept>

namespace orvo::test {

namespace {

constexpr auto variable = "DBUS_SESSION_BUS_ADDRESS";

} // namespace

PrivateBus::PrivateBus()
    : m_before(qgetenv(variable))
{
    // Services that are installed here are not started on it.
    const auto configuration = m_folder / "bus.conf";
    std::ofstream(configuration) << R"(<busconfig>
  <type>session</type>
  <listen>unix:dir=)" << m_folder.path().string()
                                 << R"(</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    m_daemon.start(
        "dbus-daemon", {"--config-file", QString::fromStdString(configuration.string()), "--nofork", "--print-address"});
    while (!m_daemon.canReadLine()) {
        if (!m_daemon.waitForReadyRead(30'000))
            throw std::runtime_error("there is no bus");
    }
    m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    qputenv(variable, m_address.toUtf8());
}

PrivateBus::~PrivateBus()
{
    qputenv(variable, m_before);
    m_daemon.kill();
    m_daemon.waitForFinished();
}

} // namespace orvo::test
