#pragma once

#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/MediaProbe.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// The folder "publication" of a project: the movie that was rendered last for publishing, its streaming package, and the
/// signature of what they were made from, by which they are used again.
///
/// It is locked for as long as the object lives. Everything blocks; any thread, one at a time.
class PublicationPackage {
public:
    /// Makes the folder when needed. `settings` give the height and the quality; the frame rate is the project's own.
    ///
    /// Throws `captureError` while another program publishes the project, file system errors unchanged.
    PublicationPackage(const VideoProject& project, const ProjectStore& store, const ExportSettings& settings);
    ~PublicationPackage();
    PublicationPackage(const PublicationPackage&) = delete;
    PublicationPackage& operator=(const PublicationPackage&) = delete;

    /// Whether there is a complete package of just this project with these settings.
    bool isReady() const;

    /// Renders the movie; what was packaged before is removed. Throws as `ExportService::exportVideo`.
    void render(const MediaProbe& probe, const ProgressCallback& progress, const std::stop_token& stop);

    /// Packages the rendered movie; `isReady` holds then. Throws as `ExportService::hls`.
    void package(const ProgressCallback& progress, const std::stop_token& stop);

    /// What the user should know about both, in Spanish; empty if there is nothing to say.
    std::string remarks() const { return m_outcome.remarks(); }

    /// The folder of the streaming package.
    std::filesystem::path hls() const { return m_folder / "hls"; }

    /// The digest of everything that a render depends on: the project, the height and the quality.
    static std::string signature(const VideoProject& project, const ExportSettings& settings);

private:
    std::filesystem::path movie() const { return m_folder / "video.mp4"; }
    std::filesystem::path signatureFile() const { return m_folder / "signature.txt"; }

    VideoProject m_project;
    ProjectStore m_store;
    ExportSettings m_settings;
    std::filesystem::path m_folder;
    std::string m_signature;
    ExportService::Outcome m_outcome;
    int m_lock = -1; ///< The open folder, locked.
};

} // namespace orvo
