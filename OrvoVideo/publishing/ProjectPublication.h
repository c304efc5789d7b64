#pragma once

#include "OrvoVideo/publishing/PublicationPackage.h"
#include "OrvoVideo/publishing/Publisher.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace orvo {

/// The publication of a project, step by step. The caller runs one step after the other and shows which one it is:
///
///     while (const auto step = publication.next())
///         publication.run(progress, stop);
///
/// Steps block. Call from any thread, one call at a time. The project's package is locked while the object lives.
class ProjectPublication {
public:
    /// In their order. A project whose package is complete is neither rendered nor packaged.
    enum class Step : std::uint8_t {
        connecting, ///< Asks whether the server can store videos: rendering takes minutes.
        rendering,
        packaging,
        uploading,
    };

    /// Does nothing yet. `settings` as for `PublicationPackage`.
    ProjectPublication(VideoProject project, ProjectStore store, std::shared_ptr<const MediaProbe> probe,
        const ExportSettings& settings, std::shared_ptr<Publisher> publisher);

    /// The step that `run` does; nullopt when the project is published.
    std::optional<Step> next() const noexcept { return m_next; }

    /// Receives the current activity of an upload, in Spanish. Called on the working thread.
    using Activity = std::function<void(const std::string&)>;

    /// Runs the next step. `progress` receives its fraction done.
    ///
    /// Throws what `Publisher::requireStorage`, `PublicationPackage` and `Publisher::publish` throw. Then the publication
    /// has ended; another one resumes where it stopped.
    void run(const ProgressCallback& progress, const std::stop_token& stop, const Activity& activity = {});

    /// Sets who may see the video, as for `Publisher::publish`. Call it before the upload; the default is nobody.
    void setAccess(std::vector<std::string> domains, bool publicLink);

    /// The state that the server reported; empty before `connecting` has run.
    const ServerStatus& server() const noexcept { return m_server; }
    /// Remarks on the rendering for the user, in Spanish; empty if there are none.
    std::string remarks() const { return m_package ? m_package->remarks() : std::string(); }
    /// The published video; empty before it is published.
    const Publication& publication() const noexcept { return m_publication; }

private:
    VideoProject m_project;
    ProjectStore m_store;
    std::shared_ptr<const MediaProbe> m_probe;
    ExportSettings m_settings;
    std::shared_ptr<Publisher> m_publisher;
    std::optional<Step> m_next = Step::connecting;
    ServerStatus m_server;
    std::optional<PublicationPackage> m_package;
    std::vector<std::string> m_domains;
    bool m_publicLink = false;
    Publication m_publication;
};

} // namespace orvo
