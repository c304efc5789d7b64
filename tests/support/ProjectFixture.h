#pragma once

#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/ProjectStore.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace orvo::test {

/// A library of its own with one project, for tests that put real media into it.
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

    /// Where a new media file of the project goes; the track that names it covers the whole recording unless changed.
    std::filesystem::path addTrack(TrackKind kind, const std::string& name, double start = 0, double duration = -1)
    {
        project.tracks.edit().push_back(track(kind, "media/" + name, start, duration < 0 ? project.duration : duration));
        return store.directory(project.id) / "media" / name;
    }

    /// What lies in the project's folder besides the document, the media and the list of finished films.
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
