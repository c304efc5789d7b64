#pragma once

#include "TemporaryFolder.h"

#include <QProcess>
#include <QString>

namespace orvo::test {

/// A session bus of its own with no services on it, which this process and those that it starts take for theirs.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const QString& address() const noexcept { return m_address; }

private:
    TemporaryFolder m_folder;
    QProcess m_daemon;
    QString m_address;
    QByteArray m_before;
};

} // namespace orvo::test
