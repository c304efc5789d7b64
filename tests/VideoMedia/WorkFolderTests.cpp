#include "VideoMedia/WorkFolder.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/Uuid.h"

#include <gtest/gtest.h>
#include <optional>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

TEST(WorkFolder, IsGoneAtTheEndAndRemovesOnlyWhatWasAbandoned)
{
    const TemporaryFolder folder;
    const fs::path project = folder / "project";
    const fs::path abandoned = project / ("render-" + Uuid::random().text());
    const fs::path others = project / "render-notes";
    const fs::path otherPurpose = project / ("package-" + Uuid::random().text());
    for (const auto& path : {abandoned, others, otherPurpose})
        fs::create_directories(path);
    writeFileAtomically(abandoned / "mixed.wav", "sound");
    fs::create_directory_symlink(others, project / ("render-" + Uuid::random().text()));

    std::optional<WorkFolder> first(std::in_place, project, "render");
    EXPECT_TRUE(fs::is_directory(first->path()));
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_TRUE(fs::exists(others)) << "also through a link";
    EXPECT_TRUE(fs::exists(otherPurpose));

    writeFileAtomically(*first / "filters.txt", "null");
    {
        const WorkFolder second(project, "render");
        EXPECT_TRUE(fs::exists(*first / "filters.txt")) << "one in use is not abandoned";
    }
    const fs::path path = first->path();
    first.reset();
    EXPECT_FALSE(fs::exists(path));
}

} // namespace

} // namespace orvo::test
