#pragma once

#include "VideoCore/FileLock.h"
#include "VideoCore/ProjectStore.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/MediaProbe.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace orvo {

/// The folder "publication" of a project: the movie last rendered for publishing, its streaming package, and the
/// signature of their inputs, by which they are reused.
///
/// Locked while the object lives. Operations block; call them from any thread, one at a time.
class PublicationPackage {
public:
    /// Creates the folder if needed. `settings` give height and quality; the frame rate is the project's.
    ///
    /// Throws `captureError` while another program publishes the project, and file system errors unchanged.
    PublicationPackage(const VideoProject& project, const ProjectStore& store, const ExportSettings& settings);

    /// Whether there is a complete package of this project with these settings.
    bool isReady() const;

    /// Removes the old package and renders the movie. Throws as `ExportService::exportVideo`.
    void render(const MediaProbe& probe, const ProgressCallback& progress, const std::stop_token& stop);

    /// Packages the rendered movie; afterwards `isReady` returns true. Throws as `ExportService::hls`.
    void package(const ProgressCallback& progress, const std::stop_token& stop);

    /// Remarks on both for the user, in Spanish; empty if there are none.
    std::string remarks() const { return m_outcome.remarks(); }

    /// The folder of the streaming package.
    std::filesystem::path hls() const { return m_folder / "hls"; }

    /// The digest of all inputs of a render: the project, the height and the quality.
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
    FileLock m_lock; ///< On the folder.
};

} // namespace orvo
