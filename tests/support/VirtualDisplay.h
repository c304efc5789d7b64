#pragma once

#include "TestSupport/ChildProcess.h"

#include <QString>
#include <QStringList>

namespace orvo::test {

/// A private, empty X11 display in memory.
class VirtualDisplay {
public:
    /// Waits until the display is available. Throws `std::runtime_error` if it does not start.
    explicit VirtualDisplay(const QString& size = "1280x800");
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// The value of DISPLAY for programs on it.
    const QString& name() const noexcept { return m_name; }

    /// Runs xdotool with these arguments, for example to move the pointer or to press keys. False if it fails.
    bool xdotool(const QStringList& words) const;

    /// Sets DISPLAY for this process and its children during the lifetime of the object.
    void enter();

private:
    ChildProcess m_server;
    QString m_name;
    bool m_entered = false;
    QByteArray m_before; ///< The previous value of DISPLAY.
};

} // namespace orvo::test
