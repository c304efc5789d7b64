#pragma once

#include <QObject>
#include <QString>

namespace orvo {

/// One notification of the desktop (org.freedesktop.Notifications on the session bus). Main thread only; calls neither block
/// nor fail: a desktop without notifications shows nothing.
class DesktopNotice final : public QObject {
    Q_OBJECT
public:
    /// The actions of a notice. An empty text means no such action.
    struct Offer {
        QString click; ///< The name of the action for a click on the notice.
        QString button; ///< The text of the button.
        bool stays = false; ///< Whether it stays until it is used or closed; otherwise the desktop decides.
    };

    explicit DesktopNotice(QObject* parent = nullptr);
    ~DesktopNotice() override; ///< Closes the notice.

    /// Shows a plain text, replacing the last one. The desktop's history omits a notice without actions.
    void show(const QString& title, const QString& text, const Offer& offer);
    void show(const QString& title, const QString& text) { show(title, text, Offer()); }
    void close();

signals:
    /// The notice itself was clicked. The desktop closes it.
    void clicked();
    /// Its button was pressed. The desktop closes it.
    void buttonPressed();

private slots:
    void invoked(uint id, const QString& action);

private:
    uint m_id = 0; ///< The desktop's number for the notice; 0 when no notice is shown.
    quint64 m_asked = 0; ///< Counts the calls, to recognise outdated replies.
};

} // namespace orvo
