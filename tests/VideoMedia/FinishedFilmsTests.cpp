#include "VideoMedia/FinishedFilms.h"

#include "ExportFixture.h"
#include "VideoCore/FileIO.h"

#include <chrono>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class FinishedFilmsTests : public ExportFixture {
protected:
    FinishedFilmsTests()
    {
        makePlain();
        project.edit.words = {word("Hola", 1, 2)};
        makeVideo(addTrack(TrackKind::screen, "screen.mov"), "testsrc2=size=320x180:rate=30:duration=4");
    }

    std::optional<fs::path> found(const VideoProject& of, const ExportSettings& settings = {}) const
    {
        return FinishedFilms::find(of, store, FinishedFilms::signature(of, store, settings));
    }
};

TEST_F(FinishedFilmsTests, FindsFilmsOfTheSameEditOnly)
{
    const auto film = render();
    EXPECT_EQ(found(project), film);
    auto same = project;
    same.title = "Otro";
    same.edit.words = {word("Adiós", 1, 2)};
    same.publication = Publication{};
    EXPECT_EQ(found(same), film) << "none of this is visible in the film";
    EXPECT_EQ(found(project, {.height = 2160}), film) << "films are never larger than the project";

    auto other = project;
    other.edit.cuts = {{1, 2}};
    EXPECT_EQ(found(other), std::nullopt);
    for (const ExportSettings& settings : {ExportSettings{.height = 90}, ExportSettings{.fps = 25},
             ExportSettings{.quality = ExportQuality::high}, ExportSettings{.burnIn = true}})
        EXPECT_EQ(found(project, settings), std::nullopt);
    const auto screen = store.directory(project.id) / "media/screen.mov";
    fs::last_write_time(screen, fs::last_write_time(screen) - std::chrono::seconds(1));
    EXPECT_EQ(found(project), std::nullopt) << "the file may be another recording";
}

TEST_F(FinishedFilmsTests, CopiesFilmsUnlessTheyChanged)
{
    const auto film = render();
    // Marks the film without changing its size and time, so that a copy can be recognised.
    const auto time = fs::last_write_time(film);
    std::string marked = readFile(film);
    marked.back() ^= 1;
    fs::remove(film);
    writeFileAtomically(film, marked);
    fs::last_write_time(film, time);
    const auto again = folder / "again.mp4";
    ExportService::exportVideo(project, store, again, {}, probeService);
    EXPECT_EQ(readFile(again), marked);
    EXPECT_TRUE(fs::exists(folder / "again.srt"));

    for (const auto& file : {film, again})
        writeFileAtomically(file, "not a film");
    EXPECT_EQ(found(project), std::nullopt);
    ExportService::exportVideo(project, store, again, {}, probeService);
    EXPECT_NEAR(probe(again).videoDuration, 4, 0.1);
}

TEST_F(FinishedFilmsTests, IgnoresADamagedList)
{
    const auto film = render();
    writeFileAtomically(store.directory(project.id) / "films.txt", "\n \nx\nx y\n" + std::string(1000, '\0'));
    EXPECT_EQ(found(project), std::nullopt);
    render();
    EXPECT_EQ(found(project), film);
}

} // namespace

} // namespace orvo::test
