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

/// The account on the publishing server: its address, the credential, the state of the connection, and the OAuth client by
/// which it uses the user's Drive. Main thread only. The verbs for QML are long operations.
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
    /// With the stored address; the credential is read from the keychain in the background when that opens by itself.
    ServerAccount(const AppServices& services, Operation& operation, Workers& workers);

    QString serverURL() const { return m_serverURL; }
    void setServerURL(const QString& address);
    /// Where Google returns to after the authorisation of Drive: what the OAuth client must be registered with.
    QString driveReturnAddress() const;
    /// The credential of the server's administrator; kept in the keychain.
    QString adminToken() const { return m_adminToken; }
    void setAdminToken(const QString& token);
    /// What the last look at the server has told.
    QString connectionStatus() const { return m_connectionStatus; }
    /// Whether the server keeps videos in the user's Drive, as far as it was asked. False for one that keeps them itself.
    bool usesDrive() const { return m_usesDrive; }
    /// The OAuth client that the server is to use Drive with; not stored here.
    QString oauthClientID() const { return m_oauthClientID; }
    void setOauthClientID(const QString& id);
    QString oauthClientSecret() const { return m_oauthClientSecret; }
    void setOauthClientSecret(const QString& secret);

    /// Reads the credential, asking the user where that is needed, and looks at the server.
    Q_INVOKABLE void readServerCredential();
    /// Saves the settings and looks at the server.
    Q_INVOKABLE void checkConnection();
    /// Saves the settings and gives the server the OAuth client.
    Q_INVOKABLE void configureOAuth();
    /// Saves the settings and opens the page where the user lets the server use Drive.
    Q_INVOKABLE void connectDrive();

    /// Stores the credential in the keychain, or takes it from there when none is typed, then the server's address. Throws
    /// what `Keychain` and `StoredSettings` throw.
    QCoro::Task<> saveSettings(WorkControl control);
    /// The server has said where it stores videos.
    void noteStorage(const ServerStatus& server) { setUsesDrive(!server.storesByItself()); }
    /// Speaks to the server with the present settings.
    std::shared_ptr<Publisher> makePublisher() const;

signals:
    void serverURLChanged();
    void adminTokenChanged();
    void connectionStatusChanged();
    void oauthClientIDChanged();
    void oauthClientSecretChanged();
    void usesDriveChanged();

private:
    /// Performs an operation whose errors stand beside the state of the connection.
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
