#pragma once

#include "TestSupport/ChildProcess.h"

#include <QString>
#include <QStringList>

namespace orvo::test {

/// An X11 display of its own, in memory, with nothing on it.
class VirtualDisplay {
public:
    /// Waits until it is there. Throws `std::runtime_error` when it does not come.
    explicit VirtualDisplay(const QString& size = "1280x800");
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// What DISPLAY is for programs on it.
    const QString& name() const noexcept { return m_name; }

    /// Moves the pointer and presses keys: the words of xdotool. Returns when that is done; false when it could not be.
    bool xdotool(const QStringList& words) const;

    /// Shows programs that this process starts from now on, and this process itself, this display; until the object goes.
    void enter();

private:
    ChildProcess m_server;
    QString m_name;
    bool m_entered = false;
    QByteArray m_before; ///< DISPLAY as it was.
};

} // namespace orvo::test
