#pragma once

#include "VideoCore/FileLock.h"

#include <QLocalServer>
#include <QObject>
#include <QStringList>
#include <filesystem>

class QLocalSocket;

namespace orvo {

/// Ensures that only one running application has a library open.
///
/// The system releases the library's lock when its process ends, even after a crash. A second process that finds the lock
/// taken hands its arguments over to the first, which comes to the front. Main thread only.
class SingleInstance final : public QObject {
    Q_OBJECT
public:
    /// Tries to lock the library in this folder. Throws `std::filesystem::filesystem_error` if that fails for another reason
    /// than a taken lock.
    explicit SingleInstance(const std::filesystem::path& library, QObject* parent = nullptr);
    ~SingleInstance() override;

    /// Whether this process has the lock. Only then `activated` is emitted.
    bool isFirst() const noexcept { return m_isFirst; }

    /// Brings the first process to the front and gives it these arguments (movies to import, for example). Blocks until it
    /// answers, at most `limit` milliseconds. Returns false without an answer: show `notAnsweringText` to the user.
    bool handOver(const QStringList& arguments, int limit = 5000) const;

    static QString notAnsweringText();

signals:
    /// Another process was started: show the window. `activationToken` is its token from the desktop, or empty; set the
    /// environment variable XDG_ACTIVATION_TOKEN to it before raising the window.
    void activated(const QStringList& arguments, const QString& activationToken);

private:
    void serve(QLocalSocket* socket);

    QString m_address;
    FileLock m_lock;
    bool m_isFirst = false;
    QLocalServer m_server;
};

} // namespace orvo
