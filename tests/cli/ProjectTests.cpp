#include "CliFixture.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;

class Projects : public CliFixture {
protected:
    Projects()
    {
        // The trash must be on the same disk as the library.
        setup.environment["HOME"] = folder.path();
        setup.environment["XDG_DATA_HOME"] = folder / "data";
        project.title = "Clase";
        project.tracks = {track(TrackKind::screen, "media/parte/screen.mov", 0, 10)};
        project.publication = Publication{.videoID = "v", .url = "https://example.org/v"};
        project.edit.cuts = {{1, 2}};
        store.save(project);
        fs::create_directories(media(project.id) / "parte");
        std::ofstream(media(project.id) / "parte/screen.mov") << "frames";
        fs::create_directories(store.directory(project.id) / ("render-" + fixedId(5).text()));
    }

    fs::path media(const Uuid& of) const { return store.directory(of) / ProjectStore::mediaName; }
    fs::path inTrash() const { return folder / "data/Trash/files" / id; }
};

TEST_F(Projects, DuplicatesFilesAndEditButNotThePublication)
{
    const Uuid copy = *Uuid::parse(answer({"duplicate", id})["id"].text());
    const VideoProject made = store.load(copy);
    EXPECT_EQ(made.title, "Clase (copia)");
    EXPECT_FALSE(made.publication);
    EXPECT_EQ(made.edit, project.edit);
    EXPECT_EQ(made.tracks, project.tracks);
    EXPECT_EQ(readFile(media(copy) / "parte/screen.mov"), "frames");
    EXPECT_EQ(std::ranges::distance(fs::directory_iterator(store.directory(copy))), 2) << "no work folders";
    EXPECT_EQ(stored(), project);
    EXPECT_EQ(answer({"duplicate", id, "--title", "Otra"})["title"].text(), "Otra");

    // A failed copy leaves no project behind.
    fs::remove_all(media(project.id));
    EXPECT_EQ(orvo({"duplicate", id}).status, 1);
    EXPECT_EQ(store.list().size(), 3);
}

TEST_F(Projects, DeletesToTheTrashAndConfirmsPublishedOnes)
{
    const std::string copy = answer({"duplicate", id})["id"].text();
    expectFailure({"delete", copy, id}, 1, "«Clase» está publicado");
    EXPECT_EQ(store.list().size(), 2) << "one refusal keeps all of them";

    setup.inputTerminal = setup.errorTerminal = true;
    setup.input = "n\n";
    EXPECT_EQ(orvo({"delete", id}).status, 1);
    EXPECT_EQ(store.list().size(), 2);
    setup.input = "s\n";
    EXPECT_EQ(orvo({"delete", id}).status, 0);
    EXPECT_EQ(readFile(inTrash() / "media/parte/screen.mov"), "frames");
    EXPECT_TRUE(fs::exists(folder / "data/Trash/info" / (id + ".trashinfo"))) << "it can be put back";

    setup.inputTerminal = setup.errorTerminal = false;
    EXPECT_EQ(answer({"delete", copy})["deleted"][0].text(), copy);
    EXPECT_TRUE(store.list().empty());
    EXPECT_EQ(orvo({"delete", copy}).status, 3);
    EXPECT_EQ(orvo({"delete"}).status, 2);
}

} // namespace

} // namespace orvo::test
