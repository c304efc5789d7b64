#include "OrvoVideo/publishing/ProjectPublication.h"

#include <utility>

namespace orvo {

ProjectPublication::ProjectPublication(VideoProject project, ProjectStore store, std::shared_ptr<const MediaProbe> probe,
    const ExportSettings& settings, std::shared_ptr<Publisher> publisher)
    : m_project(std::move(project))
    , m_store(std::move(store))
    , m_probe(std::move(probe))
    , m_settings(settings)
    , m_publisher(std::move(publisher))
{
}

void ProjectPublication::run(const ProgressCallback& progress, const std::stop_token& stop, const Activity& activity)
{
    const auto step = std::exchange(m_next, std::nullopt);
    if (!step)
        return;
    switch (*step) {
    case Step::connecting:
        m_server = m_publisher->requireStorage(stop);
        m_package.emplace(m_project, m_store, m_settings);
        m_next = m_package->isReady() ? Step::uploading : Step::rendering;
        break;
    case Step::rendering:
        m_package->render(*m_probe, progress, stop);
        m_next = Step::packaging;
        break;
    case Step::packaging:
        m_package->package(progress, stop);
        m_next = Step::uploading;
        break;
    case Step::uploading:
        m_publication = m_publisher->publish(
            m_project, m_store, m_package->hls(), m_domains, m_publicLink,
            [&](const std::string& text, double fraction) {
                if (activity)
                    activity(text);
                if (progress)
                    progress(fraction);
            },
            stop);
        break;
    }
}

void ProjectPublication::setAccess(std::vector<std::string> domains, bool publicLink)
{
    m_domains = std::move(domains);
    m_publicLink = publicLink;
}

} // namespace orvo
