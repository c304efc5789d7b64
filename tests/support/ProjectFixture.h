#pragma once

#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace orvo::test {

/// A private library with one project, for tests that add real media.
class ProjectFixture : public testing::Test {
protected:
    explicit ProjectFixture(const std::string& libraryName = "library", double duration = 4)
        : store(folder / libraryName)
        , project(emptyProject(duration))
    {
        project.width = 320;
        project.height = 180;
        store.create(project);
    }

    /// Adds a track and returns the path of its file. A negative duration stands for that of the project. Seconds.
    std::filesystem::path addTrack(TrackKind kind, const std::string& name, double start = 0, double duration = -1)
    {
        project.tracks.edit().push_back(track(kind, "media/" + name, start, duration < 0 ? project.duration : duration));
        return store.directory(project.id) / "media" / name;
    }

    /// The names in the project's folder, except the document, the media and the list of finished films.
    std::vector<std::string> leftovers() const
    {
        auto names = namesIn(store.directory(project.id));
        std::erase_if(names, [](const auto& name) {
            return name == ProjectStore::documentName || name == ProjectStore::mediaName || name == "films.txt";
        });
        return names;
    }

    TemporaryFolder folder;
    ProjectStore store;
    VideoProject project;
};

} // namespace orvo::test
