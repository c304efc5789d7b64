#pragma once

#include "VideoCore/FileLock.h"

#include <QLocalServer>
#include <QObject>
#include <QStringList>
#include <filesystem>

class QLocalSocket;

namespace orvo {

/// Sees to it that one library is open in one running application only.
///
/// The library's lock belongs to the process that has it and goes with it, however it ends. Another process that finds it
/// taken hands what it was started with to the one that has it, which comes to the front. Main thread only.
class SingleInstance final : public QObject {
    Q_OBJECT
public:
    /// Takes the lock of the library in this folder. Throws `std::filesystem::filesystem_error` when the lock cannot be
    /// had for another reason than being taken.
    explicit SingleInstance(const std::filesystem::path& library, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether this process has the library. Only then `activated` is emitted.
    bool isFirst() const noexcept { return m_isFirst; }

    /// Brings the first one to the front and gives it these arguments (movies to import, for example). Blocks until it has
    /// answered, at most `limit` milliseconds. False when it has not: the text for the user is `notAnsweringText`.
    bool handOver(const QStringList& arguments, int limit = 5000) const;

    static QString notAnsweringText();

signals:
    /// Another process was started: show the window. `activationToken` is what the desktop gave it for that, or empty; it
    /// goes into the environment variable XDG_ACTIVATION_TOKEN before the window is raised.
    void activated(const QStringList& arguments, const QString& activationToken);

private:
    void serve(QLocalSocket* socket);

    QString m_address;
    FileLock m_lock;
    bool m_isFirst = false;
    QLocalServer m_server;
};

} // namespace orvo
