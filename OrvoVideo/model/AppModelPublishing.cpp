#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/publishing/PublicationPackage.h"
#include "OrvoVideo/publishing/Sharing.h"
#include "VideoCore/Error.h"

#include <QMetaObject>
#include <QScopeGuard>
#include <QStringList>

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

void AppModel::publish()
{
    if (!m_project)
        return;
    flushSave();
    perform([this, project = *m_project](
                WorkControl control) -> QCoro::Task<> { co_await publishProject(project, std::move(control)); });
}

QCoro::Task<> AppModel::publishProject(VideoProject project, WorkControl control)
{
    // What was typed counts until it is sent, also when the project is left and opened again meanwhile.
    m_typedPolicy = TypedPolicy{.project = project.id, .domains = m_domainText, .isPublic = m_publicLink};
    const auto done = qScopeGuard([this] { endTypedPolicy(); });
    co_await saveSettings(control);
    const auto publisher = makePublisher();
    const auto server = co_await m_workers.run({.stop = control.stop, .progress = {}},
        [publisher](const std::stop_token& stop) { return publisher->requireStorage(stop); });
    setUsesDrive(!server.storesByItself());
    const auto package = co_await preparePackage(project, control);
    co_await m_documents.settled(); // The document is among what is uploaded.
    // Called on another thread. It comes before what follows: both wait their turn in the same queue.
    const auto tell = [this](const std::string& text, double fraction) {
        QMetaObject::invokeMethod(
            this,
            [this, text, fraction] {
                setStatus(QString::fromStdString(text));
                setProgress(fraction);
            },
            Qt::QueuedConnection);
    };
    const auto publication = co_await m_workers.run({.stop = control.stop, .progress = {}},
        [publisher, package, project, store = store(), tell,
            origins = authorisedDomains(m_typedPolicy->domains.toStdString()),
            isPublic = m_typedPolicy->isPublic](const std::stop_token& stop) {
            return publisher->publish(project, store, package->hls(), origins, isPublic, tell, stop);
        });
    co_await updateProject(project.id, [publication](VideoProject& published) { published.publication = publication; });
    m_typedPolicy.reset();
    const auto published = QStringLiteral("Vídeo publicado");
    setStatus(published);
    const auto remarks = QString::fromStdString(package->remarks());
    copyEmbedOf(
        publication, published + QStringLiteral(". ") + (remarks.isEmpty() ? remarks : remarks + QStringLiteral(" ")));
}

/// What was typed for a publication that failed is still in the fields, or waits until its project is opened again.
void AppModel::endTypedPolicy()
{
    if (m_typedPolicy && m_project && m_project->id == m_typedPolicy->project)
        m_typedPolicy.reset();
    else if (m_typedPolicy)
        m_typedPolicy->isUnderWay = false;
}

QCoro::Task<std::shared_ptr<PublicationPackage>> AppModel::preparePackage(VideoProject project, WorkControl control)
{
    const ExportSettings settings{.height = m_options.height, .fps = project.fps, .quality = m_exportQuality.toStdString()};
    const auto package = co_await m_workers.run(control,
        [project, store = store(), settings] { return std::make_shared<PublicationPackage>(project, store, settings); });
    if (!package->isReady()) {
        setStatus(QStringLiteral("Preparando vídeo para publicar…"));
        co_await m_workers.run(
            control, [package, probe = m_services.probe](const std::stop_token& stop, const ProgressCallback& progress) {
                package->render(*probe, progress, stop);
            });
        setStatus(QStringLiteral("Generando calidades de streaming…"));
        setProgress(0);
        co_await m_workers.run(control,
            [package](const std::stop_token& stop, const ProgressCallback& progress) { package->package(progress, stop); });
    }
    co_return package;
}

void AppModel::unpublish()
{
    if (!m_project || !m_project->publication)
        return;
    perform([this, id = m_project->id, videoId = m_project->publication->videoID](WorkControl control) -> QCoro::Task<> {
        co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher(), videoId](const std::stop_token& stop) { publisher->withdraw(videoId, stop); });
        co_await updateProject(id, [](VideoProject& withdrawn) { withdrawn.publication.reset(); });
        setStatus(QStringLiteral("Publicación retirada"));
    });
}

void AppModel::updatePolicy()
{
    if (!m_project || !m_project->publication)
        return;
    perform([this, id = m_project->id, videoId = m_project->publication->videoID](WorkControl control) -> QCoro::Task<> {
        const auto domains = authorisedDomains(m_domainText.toStdString());
        const bool isPublic = m_publicLink;
        co_await m_workers.run({.stop = control.stop, .progress = {}},
            [publisher = makePublisher(), videoId, domains, isPublic](
                const std::stop_token& stop) { publisher->updatePolicy(videoId, domains, isPublic, stop); });
        co_await updateProject(id, [domains, isPublic](VideoProject& changed) {
            if (changed.publication) {
                changed.publication->domains = domains;
                changed.publication->publicLink = isPublic;
            }
        });
        setStatus(QStringLiteral("Permisos de publicación actualizados"));
    });
}

void AppModel::copyLink()
{
    if (!m_project || !m_project->publication)
        return;
    copy({.text = m_project->publication->url,
        .what = QStringLiteral("el enlace"),
        .done = m_project->publication->publicLink
            ? QStringLiteral("Enlace copiado")
            : QStringLiteral("Enlace copiado; activa el enlace público para poder abrirlo")});
}

void AppModel::copyEmbed()
{
    if (m_project && m_project->publication)
        copyEmbedOf(*m_project->publication);
}

void AppModel::copyEmbedOf(const Publication& publication, const QString& before)
{
    const auto server = m_serverURL.toStdString();
    try {
        refuseUser(server); // The code is for a public page.
    } catch (const Error& error) {
        setErrorMessage(QString::fromStdString(error.what()));
        return;
    }
    copy({.text = embedCode(server, publication.videoID),
             .what = QStringLiteral("el código iframe"),
             .done = QStringLiteral("Código iframe copiado")},
        before);
}

void AppModel::copy(Copy copy, const QString& before)
{
    m_services.pasteboard->setText(copy.text, [this, copy, before](bool isSet) {
        setRefusedCopy(isSet ? std::nullopt : std::optional(copy));
        setStatus(isSet ? copy.done
                        : before + QStringLiteral("El escritorio no ha dejado copiar %1: pulsa «Copiar».").arg(copy.what));
    });
}

void AppModel::copyAgain()
{
    if (m_refusedCopy)
        copy(*m_refusedCopy);
}

void AppModel::setRefusedCopy(std::optional<Copy> copy)
{
    const bool wasRefused = copyRefused();
    m_refusedCopy = std::move(copy);
    if (wasRefused != copyRefused())
        emit copyRefusedChanged();
}

void AppModel::showPublication()
{
    if (m_typedPolicy && m_typedPolicy->project == m_project->id) {
        const auto typed = *m_typedPolicy;
        setDomainText(typed.domains);
        setPublicLink(typed.isPublic);
        if (!typed.isUnderWay)
            m_typedPolicy.reset();
        return;
    }
    const auto& publication = m_project->publication;
    setDomainText(domainTextOf(publication));
    setPublicLink(publication && publication->publicLink);
}

bool AppModel::policyIsThatOf(const std::optional<Publication>& publication) const
{
    return m_domainText == domainTextOf(publication) && m_publicLink == (publication && publication->publicLink);
}

void AppModel::setDomainText(const QString& text)
{
    if (m_domainText == text)
        return;
    m_domainText = text;
    if (m_typedPolicy && m_project && m_typedPolicy->project == m_project->id)
        m_typedPolicy->domains = text;
    emit domainTextChanged();
}

void AppModel::setPublicLink(bool isPublic)
{
    if (m_publicLink == isPublic)
        return;
    m_publicLink = isPublic;
    if (m_typedPolicy && m_project && m_typedPolicy->project == m_project->id)
        m_typedPolicy->isPublic = isPublic;
    emit publicLinkChanged();
}

} // namespace orvo
