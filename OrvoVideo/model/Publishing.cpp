#include "OrvoVideo/model/Publishing.h"

#include "OrvoVideo/model/ModelText.h"
#include "OrvoVideo/publishing/ProjectPublication.h"
#include "OrvoVideo/publishing/Sharing.h"
#include "VideoCore/Error.h"

#include <QMetaObject>
#include <QScopeGuard>
#include <QStringList>
#include <memory>

namespace orvo {

namespace {

/// The domains of a publication as the field shows them.
QString domainTextOf(const std::optional<Publication>& publication)
{
    QStringList domains;
    if (publication) {
        for (const auto& domain : publication->domains)
            domains += QString::fromStdString(domain);
    }
    return domains.join(QStringLiteral(", "));
}

} // namespace

Publishing::Publishing(const Parts& parts)
    : m_parts(parts)
{
    connect(&m_parts.library, &ProjectLibrary::opened, this, &Publishing::showPublication);
    connect(&m_parts.library, &ProjectLibrary::reloaded, this, &Publishing::noteReloaded);
    connect(&m_parts.operation, &Operation::busyChanged, this, [this] {
        if (m_parts.operation.busy())
            setRefusedCopy(std::nullopt);
    });
}

bool Publishing::isPublished() const
{
    return m_parts.open && m_parts.open->publication;
}

void Publishing::publish()
{
    if (!m_parts.open)
        return;
    m_parts.saving.flush();
    m_parts.queue.add({.title = QStringLiteral("Publicar «%1»").arg(Text::from(m_parts.open->title)),
        .key = QStringLiteral("publish ") + Text::from(m_parts.open->id),
        .work = [this, project = *m_parts.open](WorkControl control) -> QCoro::Task<> {
            setRefusedCopy(std::nullopt);
            co_await publishProject(project, std::move(control));
        }});
}

QCoro::Task<> Publishing::publishProject(VideoProject project, WorkControl control)
{
    // Edits of the fields count until they are sent, even if the project is closed and reopened meanwhile.
    m_typedPolicy = TypedPolicy{.project = project.id, .domains = m_domainText, .isPublic = m_publicLink};
    const auto done = qScopeGuard([this] { endTypedPolicy(); });
    co_await m_parts.server.saveSettings(control);
    // Called on a worker thread. The event queue delivers its status before the work resumes the coroutine.
    const auto showActivity = [this](const std::string& text) {
        QMetaObject::invokeMethod(
            this, [this, text] { m_parts.operation.setStatus(QString::fromStdString(text)); }, Qt::QueuedConnection);
    };
    const auto work = std::make_shared<ProjectPublication>(project, *m_parts.services.store, m_parts.services.probe,
        m_parts.settings.exports(), m_parts.server.makePublisher());
    while (const auto step = work->next()) {
        if (*step == ProjectPublication::Step::rendering) {
            m_parts.operation.setStatus(QStringLiteral("Preparando vídeo para publicar…"));
        } else if (*step == ProjectPublication::Step::packaging) {
            m_parts.operation.setStatus(QStringLiteral("Generando calidades de streaming…"));
            control.progress(0);
        } else if (*step == ProjectPublication::Step::uploading) {
            co_await m_parts.documents.settled(); // The document is uploaded too.
            work->setAccess(authorisedDomains(m_typedPolicy->domains.toStdString()), m_typedPolicy->isPublic);
        }
        co_await m_parts.workers.run(
            control, [work, showActivity](const std::stop_token& stop, const ProgressCallback& progress) {
                work->run(progress, stop, showActivity);
            });
        if (*step == ProjectPublication::Step::connecting)
            m_parts.server.noteStorage(work->server());
    }
    const Publication publication = work->publication();
    co_await m_parts.library.update(
        project.id, [publication](VideoProject& published) { published.publication = publication; });
    m_typedPolicy.reset();
    const auto published = QStringLiteral("Vídeo publicado");
    m_parts.operation.setStatus(published);
    const auto remarks = QString::fromStdString(work->remarks());
    copyEmbedOf(
        publication, published + QStringLiteral(". ") + (remarks.isEmpty() ? remarks : remarks + QStringLiteral(" ")));
}

/// After a failure the typed access stays in the fields, or is kept until its project is opened again.
void Publishing::endTypedPolicy()
{
    if (m_typedPolicy && m_parts.open.is(m_typedPolicy->project))
        m_typedPolicy.reset();
    else if (m_typedPolicy)
        m_typedPolicy->isUnderWay = false;
}

void Publishing::unpublish()
{
    if (!isPublished())
        return;
    m_parts.operation.perform(
        [this, id = m_parts.open->id, videoId = m_parts.open->publication->videoID](WorkControl control) -> QCoro::Task<> {
            co_await m_parts.workers.run({.stop = control.stop, .progress = {}},
                [publisher = m_parts.server.makePublisher(), videoId](
                    const std::stop_token& stop) { publisher->withdraw(videoId, stop); });
            co_await m_parts.library.update(id, [](VideoProject& withdrawn) { withdrawn.publication.reset(); });
            m_parts.operation.setStatus(QStringLiteral("Publicación retirada"));
        });
}

void Publishing::updatePolicy()
{
    if (!isPublished())
        return;
    m_parts.operation.perform(
        [this, id = m_parts.open->id, videoId = m_parts.open->publication->videoID](WorkControl control) -> QCoro::Task<> {
            const auto domains = authorisedDomains(m_domainText.toStdString());
            const bool isPublic = m_publicLink;
            co_await m_parts.workers.run({.stop = control.stop, .progress = {}},
                [publisher = m_parts.server.makePublisher(), videoId, domains, isPublic](
                    const std::stop_token& stop) { publisher->updatePolicy(videoId, domains, isPublic, stop); });
            co_await m_parts.library.update(id, [domains, isPublic](VideoProject& changed) {
                if (changed.publication) {
                    changed.publication->domains = domains;
                    changed.publication->publicLink = isPublic;
                }
            });
            m_parts.operation.setStatus(QStringLiteral("Permisos de publicación actualizados"));
        });
}

void Publishing::copyLink()
{
    if (!isPublished())
        return;
    copy({.text = m_parts.open->publication->url,
        .what = QStringLiteral("el enlace"),
        .done = m_parts.open->publication->publicLink
            ? QStringLiteral("Enlace copiado")
            : QStringLiteral("Enlace copiado; activa el enlace público para poder abrirlo")});
}

void Publishing::copyEmbed()
{
    if (isPublished())
        copyEmbedOf(*m_parts.open->publication);
}

void Publishing::copyEmbedOf(const Publication& publication, const QString& before)
{
    const auto server = m_parts.server.serverURL().toStdString();
    try {
        refuseUser(server); // The code goes into public pages.
    } catch (const Error& error) {
        m_parts.operation.setErrorMessage(QString::fromStdString(error.what()));
        return;
    }
    copy({.text = embedCode(server, publication.videoID),
             .what = QStringLiteral("el código iframe"),
             .done = QStringLiteral("Código iframe copiado")},
        before);
}

void Publishing::copy(const Copy& copy, const QString& before)
{
    m_parts.services.pasteboard->setText(copy.text, [this, copy, before](bool isSet) {
        setRefusedCopy(isSet ? std::nullopt : std::optional(copy));
        m_parts.operation.setStatus(isSet
                ? copy.done
                : before + QStringLiteral("El escritorio no ha dejado copiar %1: pulsa «Copiar».").arg(copy.what));
    });
}

void Publishing::copyAgain()
{
    if (m_refusedCopy)
        copy(*m_refusedCopy);
}

void Publishing::setRefusedCopy(std::optional<Copy> copy)
{
    const bool wasRefused = copyRefused();
    m_refusedCopy = std::move(copy);
    if (wasRefused != copyRefused())
        emit copyRefusedChanged();
}

void Publishing::showPublication()
{
    if (m_typedPolicy && m_parts.open.is(m_typedPolicy->project)) {
        const auto typed = *m_typedPolicy;
        setDomainText(typed.domains);
        setPublicLink(typed.isPublic);
        if (!typed.isUnderWay)
            m_typedPolicy.reset();
        return;
    }
    const auto& publication = m_parts.open->publication;
    setDomainText(domainTextOf(publication));
    setPublicLink(publication && publication->publicLink);
}

/// Keeps typed fields; updates fields that still have the values of the previous publication.
void Publishing::noteReloaded(const std::optional<Publication>& before)
{
    const bool untouched = m_domainText == domainTextOf(before) && m_publicLink == (before && before->publicLink);
    if (untouched && before != m_parts.open->publication)
        showPublication();
}

void Publishing::setDomainText(const QString& text)
{
    if (m_domainText == text)
        return;
    m_domainText = text;
    if (m_typedPolicy && m_parts.open.is(m_typedPolicy->project))
        m_typedPolicy->domains = text;
    emit domainTextChanged();
}

void Publishing::setPublicLink(bool isPublic)
{
    if (m_publicLink == isPublic)
        return;
    m_publicLink = isPublic;
    if (m_typedPolicy && m_parts.open.is(m_typedPolicy->project))
        m_typedPolicy->isPublic = isPublic;
    emit publicLinkChanged();
}

} // namespace orvo
