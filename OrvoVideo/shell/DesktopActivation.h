#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace orvo {

/// Implements `org.freedesktop.Application` on the session bus under the name of the desktop entry, "es.orvo.video".
/// Desktops call it to start the application or to activate the running one, and pass the files that the user opens.
///
/// Does nothing without a session bus or if another process owns the name. Main thread only.
class DesktopActivation final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit DesktopActivation(QObject* parent = nullptr);
    ~DesktopActivation() override;
    DesktopActivation(const DesktopActivation&) = delete;
    DesktopActivation& operator=(const DesktopActivation&) = delete;

signals:
    /// The desktop asks to show the window and to open these local files. `activationToken` is for
    /// `MainWindow::bringToFront` and may be empty.
    void activated(const QStringList& files, const QString& activationToken);

public slots:
    // The interface, called over the bus.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData); // NOLINT(readability-identifier-naming)
    // NOLINTNEXTLINE(readability-identifier-naming)
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    // NOLINTNEXTLINE(readability-identifier-naming): there are no actions, so it only shows the window.
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);
};

} // namespace orvo
