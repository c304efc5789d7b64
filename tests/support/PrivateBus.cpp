#include "PrivateBus.h"

#include <stdexcept>

namespace orvo::test {

namespace {

constexpr auto variable = "DBUS_SESSION_BUS_ADDRESS";

} // namespace

PrivateBus::PrivateBus()
    : m_before(qgetenv(variable))
{
    m_daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
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
