#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

namespace orvo {

/// One notification of the desktop, which it shows above everything. Main thread only; calls neither block nor fail: a
/// desktop without notifications shows nothing.
class DesktopNotice final : public QObject {
    Q_OBJECT
public:
    explicit DesktopNotice(QObject* parent = nullptr);
    ~DesktopNotice() override; ///< Takes the notification back.

    /// Replaces what is shown. `action` is the text of its one button, or empty. With a button it stays until it is
    /// closed, otherwise the desktop removes it after some seconds.
    void show(const QString& summary, const QString& body, const QString& action = {});

    /// Takes it back.
    void close();

signals:
    /// The user has pressed the button.
    void activated();

private slots:
    void noteAction(uint id, const QString& action);

private:
    void closeShown();

    uint m_id = 0; ///< The desktop's number for it; 0 when nothing is shown.
    quint64 m_asked = 0; ///< Counts the calls, so that an overtaken answer is recognised.
};

} // namespace orvo
