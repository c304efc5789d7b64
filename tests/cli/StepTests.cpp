#include "CliFixture.h"
#include "OrvoVideo/library/DocumentSteps.h"
#include "OrvoVideo/library/LibrarySpace.h"

#include <fstream>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::SizeIs;

class Steps : public CliFixture {
protected:
    fs::path steps() const { return store.directory(project.id) / DocumentSteps::folderName; }
    std::size_t files() const { return namesIn(steps()).size(); }
};

TEST_F(Steps, UndoesAndRedoesEveryKindOfChange)
{
    EXPECT_EQ(orvo({"undo", id}).status, 1) << "orvo has changed nothing";
    EXPECT_EQ(orvo({"redo", id}).status, 1);
    EXPECT_FALSE(fs::exists(steps()));

    std::vector<EditState> versions{stored().edit};
    const auto change = [&](std::vector<std::string> arguments) {
        answer(std::move(arguments));
        versions.push_back(stored().edit);
    };
    change({"cut", id, "2", "4"});
    change({"text", id, "8", "Hola"});
    change({"zoom", id, "1"});
    change({"set", id, "fade", "0"});
    answer({"set", id, "fade", "0"}); // Creates no step, because nothing changes.

    const std::vector<std::string> names{"cortar 2,0 s", "añadir un texto", "añadir un zoom", "quitar el fundido"};
    for (std::size_t left = names.size(); left-- > 0;) {
        const JsonAnswer undone = answer({"undo", id});
        EXPECT_EQ(undone["step"].text(), names[left]);
        EXPECT_EQ(undone["undoable"].number(), static_cast<double>(left));
        EXPECT_EQ(undone["redoable"].number(), static_cast<double>(names.size() - left));
        EXPECT_EQ(stored().edit, versions[left]);
    }
    EXPECT_THAT(orvo({"undo", id}).err, HasSubstr("No hay nada más que deshacer."));
    for (std::size_t done = 0; done < names.size(); ++done) {
        EXPECT_EQ(answer({"redo", id})["step"].text(), names[done]);
        EXPECT_EQ(stored().edit, versions[done + 1]);
    }
    EXPECT_EQ(orvo({"redo", id}).status, 1);

    answer({"undo", id});
    answer({"undo", id});
    EXPECT_EQ(orvo({"undo", id}).out, "Deshecho: añadir un texto. Quedan 0:08 de 0:10.\n");
    answer({"set", id, "title", "Otra"}); // Discards the redo steps.
    EXPECT_EQ(orvo({"redo", id}).status, 1);
    answer({"undo", id});
    EXPECT_EQ(stored().title, project.title);
    EXPECT_EQ(stored().edit, versions[1]);
}

TEST_F(Steps, RefusesToUndoAfterChangesByOtherPrograms)
{
    answer({"cut", id, "2", "4"});
    VideoProject other = stored();
    other.title = "De otro programa";
    store.save(other);
    const std::string before = document();
    for (const std::string command : {"undo", "redo"}) {
        expectFailure({command, id}, 1, "ha cambiado desde la última orden de orvo");
        EXPECT_EQ(document(), before);
    }
    answer({"cut", id, "6", "7"});
    EXPECT_EQ(answer({"undo", id})["undoable"].number(), 0) << "starts a new history";
    EXPECT_EQ(stored().edit, other.edit);
    EXPECT_EQ(stored().title, other.title);

    // Damaged versions are rejected, and the document stays unchanged.
    answer({"cut", id, "6", "7"});
    std::ofstream(steps() / "0.json") << "{";
    EXPECT_EQ(orvo({"undo", id}).status, 1);
    EXPECT_THAT(stored().edit.cuts, SizeIs(2));
    std::ofstream(steps() / "present") << "1";
    EXPECT_EQ(orvo({"undo", id}).status, 1);
    EXPECT_EQ(orvo({"cut", id, "8", "9"}).status, 0);
    EXPECT_EQ(orvo({"undo", id}).status, 0);
    EXPECT_THAT(stored().edit.cuts, SizeIs(2));
}

TEST_F(Steps, KeepsThePublicationAndTheMediaFiles)
{
    project.edit.overlays = {{.id = fixedId(7), .kind = Overlay::Kind::image, .content = "media/logo.png", .end = 1}};
    store.save(project);
    std::ofstream(store.directory(project.id) / "media/logo.png") << "image";
    answer({"remove", id, fixedId(7).text()});
    VideoProject published = stored();
    published.publication = Publication{.videoID = "v", .url = "https://example.org/v"};
    DocumentSteps::save(store, stored(), published);
    EXPECT_EQ(LibrarySpace::measure(store, project.id).freeable[1], 0) << "an undo needs the image";
    EXPECT_EQ(answer({"undo", id})["step"].text(), "quitar una imagen");
    EXPECT_THAT(stored().edit.overlays, SizeIs(1));
    EXPECT_EQ(stored().publication, published.publication);

    const Uuid copy = *Uuid::parse(answer({"duplicate", id})["id"].text());
    EXPECT_FALSE(fs::exists(store.directory(copy) / DocumentSteps::folderName));
}

TEST_F(Steps, RemovesTheOldestStepsBeyondTheLimit)
{
    constexpr std::size_t count = DocumentSteps::maxSteps + 5;
    for (std::size_t i = 1; i <= count; ++i) {
        VideoProject changed = stored();
        changed.title = std::to_string(i);
        DocumentSteps::save(store, stored(), changed);
    }
    EXPECT_EQ(files(), DocumentSteps::maxSteps + 1) << "the versions and `present`";
    std::size_t undone = 1;
    while (DocumentSteps::undo(store, project.id).undoable > 0)
        ++undone;
    EXPECT_EQ(undone, DocumentSteps::maxSteps);
    EXPECT_EQ(stored().title, "5");
}

} // namespace

} // namespace orvo::test
