#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/ServerAccount.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/WorkQueue.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <optional>
#include <string>

namespace orvo {

/// Publishes the open project, and holds the access settings that the user types. Main thread only.
class Publishing : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString domainText READ domainText WRITE setDomainText NOTIFY domainTextChanged)
    Q_PROPERTY(bool publicLink READ publicLink WRITE setPublicLink NOTIFY publicLinkChanged)
    Q_PROPERTY(bool copyRefused READ copyRefused NOTIFY copyRefusedChanged)
public:
    /// The collaborators of publishing; all outlive this object.
    struct Parts {
        const AppServices& services;
        const RunSettings& settings;
        ProjectDocuments& documents;
        OpenProject& open;
        Saving& saving;
        ProjectLibrary& library;
        ServerAccount& server;
        Operation& operation;
        WorkQueue& queue;
        Workers& workers;
    };
    explicit Publishing(const Parts& parts);

    /// Renders and packages the open project, unless the present version already is, then uploads it and stores its address:
    /// a job of the queue. Finally copies the embed code to the clipboard.
    Q_INVOKABLE void publish();
    /// Withdraws the open project's video from the server: a long operation. Ignored unless it is published.
    Q_INVOKABLE void unpublish();
    /// Sends the server the domains that may embed the open project's video and whether its link is public: a long
    /// operation. Ignored unless it is published.
    Q_INVOKABLE void updatePolicy();
    /// Copies the address or the embed code of the open project's video. Ignored unless it is published.
    Q_INVOKABLE void copyLink();
    Q_INVOKABLE void copyEmbed();
    /// Whether the desktop has refused the last copy to the clipboard. `copyAgain` retries it, most reliably on the press of
    /// a button.
    bool copyRefused() const { return m_refusedCopy.has_value(); }
    Q_INVOKABLE void copyAgain();

    /// The web origins that may embed the open project's video, as the user types them.
    QString domainText() const { return m_domainText; }
    void setDomainText(const QString& text);
    /// Whether its link also works outside of them.
    bool publicLink() const { return m_publicLink; }
    void setPublicLink(bool isPublic);

signals:
    void domainTextChanged();
    void publicLinkChanged();
    void copyRefusedChanged();

private:
    /// The typed domains and link of the running publication, or of one that failed while another project was open.
    struct TypedPolicy {
        Uuid project;
        QString domains;
        bool isPublic = false;
        bool isUnderWay = true;
    };
    /// A text for the clipboard, and the status after copying it.
    struct Copy {
        std::string text;
        QString what; ///< "el enlace".
        QString done;
    };

    bool isPublished() const;
    QCoro::Task<> publishProject(VideoProject project, WorkControl control);
    void endTypedPolicy();
    void showPublication();
    void noteReloaded(const std::optional<Publication>& before);
    /// If the desktop refuses the text, the status begins with `before`.
    void copy(const Copy& copy, const QString& before = {});
    void copyEmbedOf(const Publication& publication, const QString& before = {});
    void setRefusedCopy(std::optional<Copy> copy);

    const Parts m_parts;
    QString m_domainText;
    bool m_publicLink = false;
    std::optional<TypedPolicy> m_typedPolicy;
    std::optional<Copy> m_refusedCopy;
};

} // namespace orvo
