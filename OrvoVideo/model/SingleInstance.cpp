#include "OrvoVideo/model/SingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QThread>
#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

constexpr int streamVersion = QDataStream::Qt_6_0; // The two processes may be different versions of the program.
constexpr char received = '+';

} // namespace

SingleInstance::SingleInstance(const fs::path& library, QObject* parent)
    : QObject(parent)
{
    const fs::path canonical = fs::canonical(library);
    const auto digest = QCryptographicHash::hash(QByteArray::fromStdString(canonical.string()), QCryptographicHash::Sha1);
    m_address = QStringLiteral("orvo-video-") + QString::fromLatin1(digest.toHex());

    const fs::path file = canonical / ".lock";
    UniqueFd descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!descriptor)
        throw fs::filesystem_error("lock", file, std::error_code(errno, std::system_category()));
    m_lock = FileLock(std::move(descriptor));
    m_isFirst = m_lock.tryLock();
    if (!m_isFirst) {
        m_lock = FileLock();
        return;
    }

    // The holder of the lock owns the address; an existing socket is left over from a process that has ended.
    QLocalServer::removeServer(m_address);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { serve(socket); });
            serve(socket);
        }
    });
    m_server.listen(m_address);
}

SingleInstance::~SingleInstance()
{
    m_server.close();
}

void SingleInstance::serve(QLocalSocket* socket)
{
    QDataStream stream(socket);
    stream.setVersion(streamVersion);
    QStringList arguments;
    QString token;
    stream.startTransaction();
    stream >> arguments >> token;
    if (!stream.commitTransaction())
        return; // Incomplete: wait for the rest.
    socket->disconnect(this);
    socket->write(&received, 1);
    socket->disconnectFromServer();
    emit activated(arguments, token);
}

bool SingleInstance::handOver(const QStringList& arguments, int limit) const
{
    const QDeadlineTimer deadline(limit);
    // The first process may have the lock but not listen yet.
    do {
        QLocalSocket socket;
        socket.connectToServer(m_address);
        if (!socket.waitForConnected(static_cast<int>(deadline.remainingTime()))) {
            QThread::msleep(20);
            continue;
        }
        QDataStream stream(&socket);
        stream.setVersion(streamVersion);
        stream << arguments << qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
        char answer = 0;
        if (socket.waitForReadyRead(static_cast<int>(deadline.remainingTime())) && socket.getChar(&answer)
            && answer == received)
            return true;
    } while (!deadline.hasExpired());
    return false;
}

QString SingleInstance::notAnsweringText()
{
    return QStringLiteral("Orvo Video ya está abierto con esta biblioteca, pero no responde. Ciérralo y vuelve a abrirlo.");
}

} // namespace orvo
