#include "OrvoVideo/publishing/ProjectPublication.h"
#include "OrvoVideo/publishing/Sharing.h"
#include "VideoCore/CaptureSession.h"
#include "VideoMedia/FfprobeMediaProbe.h"
#include "cli/Command.h"
#include "cli/CommandGroups.h"
#include "cli/ExitStatus.h"
#include "cli/LongWork.h"
#include "cli/RenderOptions.h"
#include "cli/ServerAccess.h"
#include "cli/ShownValues.h"
#include "cli/TextColumns.h"

#include <format>
#include <memory>
#include <optional>
#include <utility>

namespace orvo::cli {

namespace {

struct PublishArguments {
    std::string project;
    std::vector<std::string> domains;
    bool noDomains = false;
    bool publicLink = false;
    bool privateLink = false;
    bool onlyAccess = false;
    std::string height;
    std::string quality;
};

/// The access policy: as requested, else as published, else nobody.
struct Access {
    std::vector<std::string> domains;
    bool publicLink = false;
};

Access accessOf(const PublishArguments& arguments, const VideoProject& project)
{
    if (arguments.publicLink && arguments.privateLink)
        throw UsageError("--public-link y --private-link no pueden ir juntas.");
    if (arguments.noDomains && !arguments.domains.empty())
        throw UsageError("--domain y --no-domains no pueden ir juntas.");
    Access access;
    if (project.publication)
        access = {.domains = project.publication->domains, .publicLink = project.publication->publicLink};
    if (!arguments.domains.empty() || arguments.noDomains)
        access.domains.clear();
    for (const auto& argument : arguments.domains) {
        for (auto& domain : authorisedDomains(argument))
            access.domains.push_back(std::move(domain));
    }
    access.publicLink = (access.publicLink || arguments.publicLink) && !arguments.privateLink;
    return access;
}

/// The publication of a project. Throws `captureError` when it is not published.
const Publication& requirePublished(const VideoProject& project)
{
    if (!project.publication)
        throw captureError(std::format("{} no está publicado.", inQuotes(shownTitle(project.title))));
    return *project.publication;
}

VideoProject store(Session& session, const std::string& reference, const std::optional<Publication>& publication)
{
    return session.library().edit(reference, [&](VideoProject& project) { project.publication = publication; });
}

void answerPublished(Session& session, const VideoProject& project, const Publication& publication, const std::string& verb)
{
    const std::string embed = embedCode(ServerAccess::address(), publication.videoID);
    if (session.json()) {
        JsonValue::Array domains(publication.domains.begin(), publication.domains.end());
        return session.answer(JsonValue::Object{{"id", project.id}, {"videoID", publication.videoID},
            {"url", publication.url}, {"embed", embed}, {"domains", domains}, {"publicLink", publication.publicLink}});
    }
    std::string domains;
    for (const auto& domain : publication.domains)
        domains += (domains.empty() ? "" : ", ") + domain;
    session.print(
        std::format("{} {}.\nEnlace: {} ({})\nDominios: {}\nIframe: {}\n", verb, inQuotes(shownTitle(project.title)),
            printable(publication.url), publication.publicLink ? "público" : "solo en los dominios autorizados",
            domains.empty() ? "ninguno; la incrustación está bloqueada" : printable(domains), printable(embed)));
}

std::string labelOf(ProjectPublication::Step step)
{
    switch (step) {
    case ProjectPublication::Step::connecting:
        return "Conectando";
    case ProjectPublication::Step::rendering:
        return "Preparando vídeo";
    case ProjectPublication::Step::packaging:
        return "Generando calidades";
    case ProjectPublication::Step::uploading:
        break;
    }
    return "Publicando";
}

Publication upload(Session& session, const VideoProject& project, const Access& access, const ExportSettings& settings)
{
    // Reports what is missing before the long work.
    auto publisher = runInterruptibly(
        "Conectando", [&](const ProgressCallback&, const std::stop_token& stop) { return ServerAccess::connect(stop); });
    ProjectPublication publication(
        project, session.library().store(), std::make_shared<FfprobeMediaProbe>(), settings, std::move(publisher));
    publication.setAccess(access.domains, access.publicLink);
    while (const auto step = publication.next()) {
        runInterruptibly(labelOf(*step),
            [&](const ProgressCallback& progress, const std::stop_token& stop) { publication.run(progress, stop); });
        if (const auto remarks = publication.remarks(); *step == ProjectPublication::Step::packaging && !remarks.empty())
            session.note(remarks);
    }
    return publication.publication();
}

void publish(Session& session, const PublishArguments& arguments)
{
    Library& library = session.library();
    const VideoProject project = library.load(arguments.project);
    if (CaptureSession::isMarkedRecording(project))
        throw captureError("Termina esta grabación antes de publicarla.");
    const Access access = accessOf(arguments, project);
    if (arguments.onlyAccess) {
        Publication publication = requirePublished(project);
        runInterruptibly("Actualizando", [&](const ProgressCallback&, const std::stop_token& stop) {
            ServerAccess::connect(stop)->updatePolicy(publication.videoID, access.domains, access.publicLink, stop);
        });
        publication.domains = access.domains;
        publication.publicLink = access.publicLink;
        return answerPublished(session, store(session, arguments.project, publication), publication, "Actualizado");
    }
    const auto publication = upload(session, project, access, renderSettings(arguments.height, arguments.quality));
    answerPublished(session, store(session, arguments.project, publication), publication, "Publicado");
}

struct UnpublishArguments {
    std::string project;
};

void unpublish(Session& session, const UnpublishArguments& arguments)
{
    const VideoProject project = session.library().load(arguments.project);
    const Publication& publication = requirePublished(project);
    runInterruptibly("Retirando", [&](const ProgressCallback&, const std::stop_token& stop) {
        ServerAccess::connect(stop)->withdraw(publication.videoID, stop);
    });
    store(session, arguments.project, std::nullopt);
    if (session.json())
        return session.answer(JsonValue::Object{{"id", project.id}, {"videoID", publication.videoID}});
    session.print(std::format("Retirada la publicación de {}.\n", inQuotes(shownTitle(project.title))));
}

} // namespace

void addPublishCommands(CLI::App& app, Session& session)
{
    addCommand<PublishArguments>(
        app, session,
        {"publish", "Resultado",
            "Publica el vídeo en tu servidor.\nLo prepara, lo sube y responde con su enlace y su código iframe. Si se "
            "interrumpe, "
            "la próxima vez sigue por donde iba. El servidor y la credencial se indican con orvo settings."},
        [](Command& command, PublishArguments& arguments) {
            command.project(arguments.project);
            command.options("--domain", "ORIGEN", arguments.domains,
                "Una web que puede incrustarlo, completa (https://www.ejemplo.es). Puede repetirse; si no se indica, las de "
                "antes.");
            command.flag("--no-domains", arguments.noDomains, "Ninguna web puede incrustarlo.");
            command.flag("--public-link", arguments.publicLink, "El enlace se puede abrir fuera de esas webs.");
            command.flag("--private-link", arguments.privateLink, "El enlace solo funciona en esas webs.");
            command.flag("--only-access", arguments.onlyAccess, "Cambia solo quién puede verlo; no sube nada.");
            addRenderOptions(command, arguments.height, arguments.quality);
        },
        publish);
    addCommand<UnpublishArguments>(
        app, session, {"unpublish", "Resultado", "Retira el vídeo de tu servidor.\nEl proyecto se queda como está."},
        [](Command& command, UnpublishArguments& arguments) { command.project(arguments.project); }, unpublish);
}

} // namespace orvo::cli
