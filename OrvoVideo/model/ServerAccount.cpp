#include "OrvoVideo/model/ServerAccount.h"

#include "OrvoVideo/publishing/Sharing.h"
#include "Platform/settings/StoredSettings.h"
#include "VideoCore/Error.h"

namespace orvo {

namespace {

constexpr auto credentialAccount = "adminToken";

} // namespace

ServerAccount::ServerAccount(const AppServices& services, Operation& operation, Workers& workers)
    : m_services(services)
    , m_operation(operation)
    , m_workers(workers)
{
    if (const auto address = StoredSettings::text(StoredSettings::serverURL))
        m_serverURL = QString::fromStdString(*address);
    m_operation.start(loadCredentialAtStart());
}

void ServerAccount::perform(Operation::Work work)
{
    if (m_operation.idle())
        m_operation.clearError();
    m_operation.perform(std::move(work));
}

std::shared_ptr<Publisher> ServerAccount::makePublisher() const
{
    return std::make_shared<Publisher>(m_serverURL.toStdString(), m_adminToken.toStdString(), m_services.publisher);
}

QCoro::Task<> ServerAccount::loadCredential(WorkControl control, Keychain::Interaction interaction)
{
    const auto token = co_await m_workers.run(
        {.stop = control.stop, .progress = {}}, [load = m_services.loadSecret, interaction](const std::stop_token& stop) {
            return load(credentialAccount, interaction, stop);
        });
    setAdminToken(QString::fromStdString(token));
}

/// Never prompts the user: with a locked keychain the field stays empty.
QCoro::Task<> ServerAccount::loadCredentialAtStart()
{
    try {
        const auto token = co_await m_workers.run([load = m_services.loadSecret](const std::stop_token& stop) {
            return load(credentialAccount, Keychain::Interaction::forbidden, stop);
        });
        if (m_adminToken.isEmpty())
            setAdminToken(QString::fromStdString(token));
    } catch (const Error&) {
        // Publishing will report the missing credential.
    }
}

QCoro::Task<> ServerAccount::saveSettings(WorkControl control)
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

void ServerAccount::readServerCredential()
{
    perform([this](WorkControl control) -> QCoro::Task<> {
        m_operation.setStatus(QStringLiteral("Esperando autorización del llavero…"));
        co_await loadCredential(control, Keychain::Interaction::allowed);
        co_await lookAtServer(control);
    });
}

void ServerAccount::checkConnection()
{
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        co_await lookAtServer(control);
    });
}

QCoro::Task<> ServerAccount::lookAtServer(WorkControl control)
{
    const auto server = co_await m_workers.run({.stop = control.stop, .progress = {}},
        [publisher = makePublisher()](const std::stop_token& stop) { return publisher->status(stop); });
    noteStorage(server);
    setConnectionStatus(QString::fromStdString(server.text()));
    m_operation.setStatus(m_connectionStatus);
}

void ServerAccount::configureOAuth()
{
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher(), id = m_oauthClientID.toStdString(), secret = m_oauthClientSecret.toStdString()](
                const std::stop_token& stop) { publisher->configureDrive(id, secret, stop); });
        setOauthClientSecret({});
        setConnectionStatus(QStringLiteral("Cliente OAuth guardado en el servidor. Ya puedes conectar Drive."));
        m_operation.setStatus(m_connectionStatus);
    });
}

void ServerAccount::connectDrive()
{
    perform([this](WorkControl control) -> QCoro::Task<> {
        co_await saveSettings(control);
        const auto address = co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher()](const std::stop_token& stop) { return publisher->driveAuthorisation(stop); });
        if (address)
            m_services.workspace->openAddress(*address);
    });
}

QString ServerAccount::driveReturnAddress() const
{
    return QString::fromStdString(orvo::driveReturnAddress(m_serverURL.toStdString()));
}

void ServerAccount::setServerURL(const QString& address)
{
    if (m_serverURL == address)
        return;
    m_serverURL = address;
    emit serverURLChanged();
    setUsesDrive(true); // Until this server reports otherwise.
}

void ServerAccount::setUsesDrive(bool uses)
{
    if (m_usesDrive == uses)
        return;
    m_usesDrive = uses;
    emit usesDriveChanged();
}

void ServerAccount::setAdminToken(const QString& token)
{
    if (m_adminToken == token)
        return;
    m_adminToken = token;
    emit adminTokenChanged();
}

void ServerAccount::setConnectionStatus(const QString& status)
{
    if (m_connectionStatus == status)
        return;
    m_connectionStatus = status;
    emit connectionStatusChanged();
}

void ServerAccount::setOauthClientID(const QString& id)
{
    if (m_oauthClientID == id)
        return;
    m_oauthClientID = id;
    emit oauthClientIDChanged();
}

void ServerAccount::setOauthClientSecret(const QString& secret)
{
    if (m_oauthClientSecret == secret)
        return;
    m_oauthClientSecret = secret;
    emit oauthClientSecretChanged();
}

} // namespace orvo
