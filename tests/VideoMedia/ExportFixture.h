#pragma once

#include "TestSupport/Failure.h"
#include "TestSupport/Media.h"
#include "TestSupport/ProjectFixture.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ExportService.h"
#include "VideoMedia/FfprobeMediaProbe.h"

#include <cstdlib>

namespace orvo::test {

/// A project of small media, rendered by the real ffmpeg, with a cache of its own.
class ExportFixture : public ProjectFixture {
protected:
    explicit ExportFixture(const std::string& libraryName = "library", double duration = 4)
        : ProjectFixture(libraryName, duration)
    {
        ::setenv("XDG_CACHE_HOME", cacheHome().c_str(), 1);
    }
    ~ExportFixture() override { ::unsetenv("XDG_CACHE_HOME"); }

    std::filesystem::path cacheHome() const { return caches / "home"; }

    /// Disables fades, marks and audio filters, so that exports show the tracks unchanged.
    void makePlain()
    {
        project.edit.fade = 0;
        project.edit.noiseReduction = false;
        project.edit.normalizeVoice = false;
        project.edit.pointerHighlight = false;
        project.edit.clickHalo = false;
    }

    std::filesystem::path render(const ExportSettings& settings = {}, std::stop_token stop = {})
    {
        const auto destination = folder / "out.mp4";
        ExportService::exportVideo(project, store, destination, settings, probeService, progress, stop);
        return destination;
    }

    /// The error text of a failed export.
    std::string failure(const std::filesystem::path& destination)
    {
        return failureOf([&] { ExportService::exportVideo(project, store, destination, {}, probeService); });
    }

    TemporaryFolder caches; ///< Also holds the font cache.
    FfprobeMediaProbe probeService;
    ProgressCallback progress;
};

} // namespace orvo::test
