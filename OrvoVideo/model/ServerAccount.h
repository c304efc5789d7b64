#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/publishing/Publisher.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace orvo {

/// The account on the publishing server: address, credential, connection status, and the OAuth client with which the server
/// uses the user's Drive. Main thread only. The invokable functions are long operations.
class ServerAccount : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString serverURL READ serverURL WRITE setServerURL NOTIFY serverURLChanged)
    Q_PROPERTY(QString driveReturnAddress READ driveReturnAddress NOTIFY serverURLChanged)
    Q_PROPERTY(QString adminToken READ adminToken WRITE setAdminToken NOTIFY adminTokenChanged)
    Q_PROPERTY(QString connectionStatus READ connectionStatus NOTIFY connectionStatusChanged)
    Q_PROPERTY(bool usesDrive READ usesDrive NOTIFY usesDriveChanged)
    Q_PROPERTY(QString oauthClientID READ oauthClientID WRITE setOauthClientID NOTIFY oauthClientIDChanged)
    Q_PROPERTY(QString oauthClientSecret READ oauthClientSecret WRITE setOauthClientSecret NOTIFY oauthClientSecretChanged)
public:
    /// Loads the stored address; reads the credential in the background if the keychain is unlocked.
    ServerAccount(const AppServices& services, Operation& operation, Workers& workers);

    QString serverURL() const { return m_serverURL; }
    void setServerURL(const QString& address);
    /// The redirect address for the authorisation of Drive, with which the OAuth client must be registered.
    QString driveReturnAddress() const;
    /// The credential of the server's administrator; stored in the keychain.
    QString adminToken() const { return m_adminToken; }
    void setAdminToken(const QString& token);
    /// The result of the last check of the server, for the user.
    QString connectionStatus() const { return m_connectionStatus; }
    /// Whether the server stores videos in the user's Drive rather than itself; true until the server reports it.
    bool usesDrive() const { return m_usesDrive; }
    /// The OAuth client for the server; not stored here.
    QString oauthClientID() const { return m_oauthClientID; }
    void setOauthClientID(const QString& id);
    QString oauthClientSecret() const { return m_oauthClientSecret; }
    void setOauthClientSecret(const QString& secret);

    /// Reads the credential, asking the user if needed, and checks the server.
    Q_INVOKABLE void readServerCredential();
    /// Saves the settings and checks the server.
    Q_INVOKABLE void checkConnection();
    /// Saves the settings and sends the OAuth client to the server.
    Q_INVOKABLE void configureOAuth();
    /// Saves the settings and opens the page on which the user authorises Drive.
    Q_INVOKABLE void connectDrive();

    /// Stores the credential in the keychain, or loads it from there if the field is empty, then stores the server's
    /// address. Throws as `Keychain` and `StoredSettings`.
    QCoro::Task<> saveSettings(WorkControl control);
    /// Updates `usesDrive` from the server's status.
    void noteStorage(const ServerStatus& server) { setUsesDrive(!server.storesByItself()); }
    /// A client of the server with the present settings.
    std::shared_ptr<Publisher> makePublisher() const;

signals:
    void serverURLChanged();
    void adminTokenChanged();
    void connectionStatusChanged();
    void oauthClientIDChanged();
    void oauthClientSecretChanged();
    void usesDriveChanged();

private:
    /// Performs an operation, after clearing the previous error.
    void perform(Operation::Work work);
    QCoro::Task<> loadCredential(WorkControl control, Keychain::Interaction interaction);
    QCoro::Task<> loadCredentialAtStart();
    QCoro::Task<> lookAtServer(WorkControl control);
    void setConnectionStatus(const QString& status);
    void setUsesDrive(bool uses);

    const AppServices& m_services;
    Operation& m_operation;
    Workers& m_workers;
    QString m_serverURL;
    QString m_adminToken;
    QString m_connectionStatus = QStringLiteral("Sin comprobar");
    bool m_usesDrive = true;
    QString m_oauthClientID;
    QString m_oauthClientSecret;
};

} // namespace orvo
