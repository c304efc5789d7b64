#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace orvo {

/// Answers `org.freedesktop.Application` on the session bus under the name of the desktop entry, "es.orvo.video". Desktops
/// start the application by calling it there, or wake the running one, and hand it the files that a person opens with it.
///
/// Without a session bus, or where another process has the name, it does nothing. Main thread only.
class DesktopActivation final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit DesktopActivation(QObject* parent = nullptr);
    ~DesktopActivation() override;
    DesktopActivation(const DesktopActivation&) = delete;
    DesktopActivation& operator=(const DesktopActivation&) = delete;

signals:
    /// The desktop wants the window, with these local files. `activationToken` is for `MainWindow::bringToFront`; it may be
    /// empty.
    void activated(const QStringList& files, const QString& activationToken);

public slots:
    // The interface; called by the bus.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData); // NOLINT(readability-identifier-naming)
    // NOLINTNEXTLINE(readability-identifier-naming)
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    // NOLINTNEXTLINE(readability-identifier-naming): there are no actions, so it only shows the window.
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData);
};

} // namespace orvo
