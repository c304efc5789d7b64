#include "VideoMedia/WorkFolder.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Uuid.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

TEST(WorkFolder, RemovesItselfAndAbandonedFoldersOnly)
{
    const TemporaryFolder folder;
    const fs::path project = folder / "project";
    const fs::path abandoned = project / ("render-" + Uuid::random().text());
    const fs::path others = project / "render-notes";
    const fs::path otherPurpose = project / ("package-" + Uuid::random().text());
    for (const auto& path : {abandoned, others, otherPurpose})
        fs::create_directories(path);
    writeFileAtomically(abandoned / "mixed.wav", "audio");
    fs::create_directory_symlink(others, project / ("render-" + Uuid::random().text()));

    std::optional<WorkFolder> first(std::in_place, project, "render");
    EXPECT_TRUE(fs::is_directory(first->path()));
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_TRUE(fs::exists(others)) << "links are not followed";
    EXPECT_TRUE(fs::exists(otherPurpose));

    writeFileAtomically(*first / "filters.txt", "null");
    {
        const WorkFolder second(project, "render");
        EXPECT_TRUE(fs::exists(*first / "filters.txt")) << "a folder in use is not abandoned";
    }
    const fs::path path = first->path();
    first.reset();
    EXPECT_FALSE(fs::exists(path));
}

TEST(WorkFolder, KeepsFoldersInUseByOtherThreads)
{
    const TemporaryFolder folder;
    const fs::path project = folder / "project";
    fs::create_directories(project);
    std::atomic<int> lost = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                for (int n = 0; n < 200; ++n) {
                    const WorkFolder work(project, "render");
                    if (std::ofstream file(work / "filters.txt"); !(file << "null"))
                        ++lost;
                }
            });
        }
    }
    EXPECT_EQ(lost, 0);
    EXPECT_TRUE(fs::is_empty(project));
}

} // namespace

} // namespace orvo::test
