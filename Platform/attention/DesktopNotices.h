#pragma once

#include <QObject>
#include <QString>

namespace orvo {

/// Notifications of the desktop (org.freedesktop.Notifications on the session bus). Main thread only; calls neither block
/// nor fail. Without a desktop that shows notifications there are none.
class DesktopNotices : public QObject {
    Q_OBJECT
public:
    explicit DesktopNotices(QObject* parent = nullptr);

    /// Shows a notice in the place of the last one, with one button.
    void show(const QString& title, const QString& text, const QString& buttonText);
    /// Takes the notice away.
    void hide();

signals:
    /// The notice itself was clicked.
    void opened();
    /// Its button was pressed.
    void buttonPressed();

private slots:
    void invoked(uint id, const QString& action);

private:
    uint m_shown = 0; ///< What the desktop calls the last notice; 0 without one.
};

} // namespace orvo
