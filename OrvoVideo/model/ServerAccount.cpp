#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/publishing/Sharing.h"
#include "Platform/settings/StoredSettings.h"
#include "VideoCore/Error.h"

namespace orvo {

namespace {

constexpr auto credentialAccount = "adminToken";

} // namespace

std::shared_ptr<Publisher> AppModel::makePublisher() const
{
    return std::make_shared<Publisher>(m_serverURL.toStdString(), m_adminToken.toStdString(), m_services.publisher);
}

QCoro::Task<> AppModel::loadCredential(WorkControl control, Keychain::Interaction interaction)
{
    const auto token = co_await m_workers.run(
        {.stop = control.stop, .progress = {}}, [load = m_services.loadSecret, interaction](const std::stop_token& stop) {
            return load(credentialAccount, interaction, stop);
        });
    setAdminToken(QString::fromStdString(token));
}

/// Nobody has asked for it: without a keychain that opens by itself the field stays empty.
QCoro::Task<> AppModel::loadCredentialAtStart()
{
    try {
        const auto token = co_await m_workers.run([load = m_services.loadSecret](const std::stop_token& stop) {
            return load(credentialAccount, Keychain::Interaction::forbidden, stop);
        });
        if (m_adminToken.isEmpty())
            setAdminToken(QString::fromStdString(token));
    } catch (const Error&) {
        // Publishing says what is missing.
    }
}

QCoro::Task<> AppModel::saveSettings(WorkControl control)
{
    const WorkControl quiet{.stop = control.stop, .progress = {}};
    if (m_adminToken.isEmpty())
        co_await loadCredential(quiet, Keychain::Interaction::forbidden);
    co_await m_workers.run(
        quiet, [save = m_services.saveSecret, token = m_adminToken.toStdString()](const std::stop_token& stop) {
            save(token, credentialAccount, stop);
        });
    refuseUser(m_serverURL.toStdString());
    setServerURL(QString::fromStdString(serverAddress(m_serverURL.toStdString())));
    co_await m_workers.run(
        quiet, [address = m_serverURL.toStdString()] { StoredSettings::setText(StoredSettings::serverURL, address); });
}

void AppModel::readServerCredential()
{
    if (idle())
        clearError(); // It stands beside the state of the connection.
    perform([this](WorkControl control) -> QCoro::Task<> {
        setStatus(QStringLiteral("Esperando autorización del llavero…"));
        co_await loadCredential(control, Keychain::Interaction::allowed);
        co_await lookAtServer(control);
    });
}

void AppModel::checkConnection()
{
    if (idle())
        clearError(); // It stands beside the state of the connection.
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        co_await lookAtServer(control);
    });
}

QCoro::Task<> AppModel::lookAtServer(WorkControl control)
{
    const auto server = co_await m_workers.run({.stop = control.stop, .progress = {}},
        [publisher = makePublisher()](const std::stop_token& stop) { return publisher->status(stop); });
    setUsesDrive(!server.storesByItself());
    setConnectionStatus(QString::fromStdString(server.text()));
    setStatus(m_connectionStatus);
}

void AppModel::configureOAuth()
{
    if (idle())
        clearError(); // It stands beside the state of the connection.
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher(), id = m_oauthClientID.toStdString(), secret = m_oauthClientSecret.toStdString()](
                const std::stop_token& stop) { publisher->configureDrive(id, secret, stop); });
        setOauthClientSecret({});
        setConnectionStatus(QStringLiteral("Cliente OAuth guardado en el servidor. Ya puedes conectar Drive."));
        setStatus(m_connectionStatus);
    });
}

void AppModel::connectDrive()
{
    if (idle())
        clearError(); // It stands beside the state of the connection.
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        const auto address = co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher()](const std::stop_token& stop) { return publisher->driveAuthorisation(stop); });
        if (address)
            m_services.workspace->openAddress(*address);
    });
}

QString AppModel::driveReturnAddress() const
{
    return QString::fromStdString(orvo::driveReturnAddress(m_serverURL.toStdString()));
}

void AppModel::setServerURL(const QString& address)
{
    if (m_serverURL == address)
        return;
    m_serverURL = address;
    emit serverURLChanged();
    setUsesDrive(true); // Until this server says otherwise.
}

void AppModel::setUsesDrive(bool uses)
{
    if (m_usesDrive == uses)
        return;
    m_usesDrive = uses;
    emit usesDriveChanged();
}

void AppModel::setAdminToken(const QString& token)
{
    if (m_adminToken == token)
        return;
    m_adminToken = token;
    emit adminTokenChanged();
}

void AppModel::setConnectionStatus(const QString& status)
{
    if (m_connectionStatus == status)
        return;
    m_connectionStatus = status;
    emit connectionStatusChanged();
}

void AppModel::setOauthClientID(const QString& id)
{
    if (m_oauthClientID == id)
        return;
    m_oauthClientID = id;
    emit oauthClientIDChanged();
}

void AppModel::setOauthClientSecret(const QString& secret)
{
    if (m_oauthClientSecret == secret)
        return;
    m_oauthClientSecret = secret;
    emit oauthClientSecretChanged();
}

} // namespace orvo
