#pragma once

#include "TestSupport/SessionBus.h"

#include <QString>

namespace orvo::test {

/// A `SessionBus` for tests with Qt.
class PrivateBus {
public:
    const QString& address() const noexcept { return m_address; }

private:
    SessionBus m_bus;
    QString m_address = QString::fromStdString(m_bus.address());
};

} // namespace orvo::test
