#pragma once

#include <QObject>
#include <QString>

namespace orvo {

/// One notification of the desktop (org.freedesktop.Notifications on the session bus). Main thread only; calls neither block
/// nor fail: a desktop without notifications shows nothing.
class DesktopNotice final : public QObject {
    Q_OBJECT
public:
    /// What a notice offers besides its text. Each text is empty where there is no such action.
    struct Offer {
        QString click; ///< What a click on the notice does.
        QString button;
        bool stays = false; ///< Until it is used or closed; otherwise the desktop decides.
    };

    explicit DesktopNotice(QObject* parent = nullptr);
    ~DesktopNotice() override; ///< Closes the notice.

    /// Shows a plain text in the place of the last one. A notice without an offer is not kept in the desktop's history.
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
    uint m_id = 0; ///< The desktop's number for it; 0 when nothing is shown.
    quint64 m_asked = 0; ///< Counts the calls, so that an overtaken answer is recognised.
};

} // namespace orvo
