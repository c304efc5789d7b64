#include "VideoCore/ProjectStore.h"

#include "TestSupport/OrdinaryUser.h"
#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/DocumentCodec.h"
#include "VideoCore/FileIO.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace orvo {
namespace {

namespace fs = std::filesystem;

using test::emptyProject;
using test::fixedId;
using test::namesIn;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

fs::perms modeOf(const fs::path& path)
{
    return fs::status(path).permissions();
}

VideoProject numbered(std::uint64_t number)
{
    auto project = emptyProject();
    project.id = fixedId(number);
    return project;
}

class ProjectStoreTest : public testing::Test {
protected:
    /// The identifiers of the listed projects.
    std::vector<Uuid> listed() const
    {
        std::vector<Uuid> ids;
        for (const auto& project : store.list())
            ids.push_back(project.id);
        return ids;
    }

    fs::path documentOf(const VideoProject& project) const
    {
        return store.directory(project.id) / ProjectStore::documentName;
    }

    TemporaryFolder folder;
    ProjectStore store{folder / "Library"};
};

TEST_F(ProjectStoreTest, LaysOutTheLibrary)
{
    const auto project = test::fullProject();
    store.create(project);
    EXPECT_EQ(store.root(), folder / "Library");
    EXPECT_EQ(modeOf(store.root()), fs::perms::owner_all);
    EXPECT_THAT(namesIn(store.root()), ElementsAre("00000000-0000-4000-8000-000000000001"));
    EXPECT_EQ(store.directory(project.id), store.root() / "00000000-0000-4000-8000-000000000001");
    EXPECT_THAT(namesIn(store.directory(project.id)), UnorderedElementsAre("project.json", "media"));
    EXPECT_EQ(readFile(documentOf(project)), encodeDocument(project));
    EXPECT_EQ(store.load(project.id), project);

    writeFileAtomically(store.directory(project.id) / "media" / "screen.mov", "bytes");
    store.create(project);
    EXPECT_TRUE(fs::exists(store.directory(project.id) / "media" / "screen.mov")) << "an existing folder is not an error";
    EXPECT_THROW(store.save(numbered(2)), fs::filesystem_error) << "saving does not create a folder";
    EXPECT_THAT(listed(), ElementsAre(project.id));
}

TEST_F(ProjectStoreTest, RestrictsAccessToTheRootOnly)
{
    const fs::path root = folder / "a" / "b";
    const ProjectStore made(root);
    EXPECT_EQ(modeOf(root), fs::perms::owner_all);
    EXPECT_EQ(modeOf(folder / "a"), fs::perms(0755)) << "parent folders have the usual mode";
    fs::permissions(root, fs::perms(0755));
    const ProjectStore again(root / "");
    EXPECT_EQ(modeOf(root), fs::perms::owner_all);
    EXPECT_EQ(again.root(), root);

    writeFileAtomically(folder / "file", "");
    EXPECT_THROW(ProjectStore{folder / "file"}, fs::filesystem_error);
    EXPECT_THROW(ProjectStore{folder / "file" / "in"}, fs::filesystem_error);
    EXPECT_EQ(modeOf(folder / "file"), fs::perms(0644));
}

TEST_F(ProjectStoreTest, UsesTheDataFolderOfTheUserByDefault)
{
    const auto rootWith = [](const char* data, const fs::path& home) {
        data ? setenv("XDG_DATA_HOME", data, 1) : unsetenv("XDG_DATA_HOME");
        setenv("HOME", home.c_str(), 1);
        return ProjectStore().root();
    };
    const fs::path data = folder / "data";
    EXPECT_EQ(rootWith(data.c_str(), folder.path()), data / "OrvoVideo/Projects");
    for (const char* unusable : {static_cast<const char*>(nullptr), "", "relative/data"})
        EXPECT_EQ(rootWith(unusable, folder.path()), folder / ".local/share/OrvoVideo/Projects");
}

TEST_F(ProjectStoreTest, SkipsUnreadableProjects)
{
    const auto good = numbered(1);
    store.create(good);
    const std::string document = encodeDocument(good);

    fs::create_directory(store.root() / "notes");
    fs::create_directory(store.root() / (good.id.text() + " copia"));
    fs::create_directory(store.root() / "notes" / numbered(2).id.text());
    writeFileAtomically(store.root() / numbered(3).id.text(), document);
    fs::create_directory(store.directory(fixedId(4)));
    fs::create_directories(store.directory(fixedId(5)) / "project.json");
    fs::create_directory(store.directory(fixedId(6)));
    ASSERT_EQ(mkfifo((store.directory(fixedId(6)) / "project.json").c_str(), 0600), 0);
    fs::create_directory(store.directory(fixedId(7)));
    fs::create_symlink("/dev/zero", store.directory(fixedId(7)) / "project.json");
    fs::create_symlink(folder / "nothing", store.directory(fixedId(8)));
    std::uint64_t number = 9;
    for (const std::string& text : {std::string(), document.substr(0, 100), std::string("no es un proyecto")}) {
        const fs::path directory = store.directory(fixedId(number++));
        fs::create_directory(directory);
        writeFileAtomically(directory / "project.json", text);
    }
    fs::create_directory(store.directory(fixedId(20)));
    writeFileAtomically(store.directory(fixedId(20)) / "project.json", "");
    fs::resize_file(store.directory(fixedId(20)) / "project.json", std::uintmax_t{1} << 40);
    // The same identifier in lower case names the same project, which is listed once.
    const auto letters = numbered(0xABCDEF);
    store.create(letters);
    fs::create_directory(store.root() / "00000000-0000-4000-8000-000000abcdef");

    const auto before = namesIn(store.root());
    EXPECT_THAT(listed(), UnorderedElementsAre(good.id, letters.id));
    EXPECT_EQ(namesIn(store.root()), before) << "no folder is removed";
    for (std::uint64_t i = 2; i <= 20; ++i)
        EXPECT_ANY_THROW(store.load(fixedId(i))) << i;
}

TEST_F(ProjectStoreTest, ConfinesMediaToTheProject)
{
    const auto project = numbered(1);
    store.create(project);
    const fs::path home = store.directory(project.id);
    const fs::path outside = folder / "outside";
    fs::create_directory(outside);
    writeFileAtomically(outside / "secret", "");
    writeFileAtomically(home / "media" / "screen.mov", "");
    fs::create_directory(store.root() / (project.id.text() + "-evil"));

    fs::create_symlink(outside, home / "media" / "out");
    fs::create_symlink("../../../outside/secret", home / "media" / "secret.mov");
    fs::create_symlink(outside / "not yet there", home / "media" / "new.mov");
    fs::create_symlink("new.mov", home / "media" / "chain.mov");
    fs::create_symlink("missing/../../../../outside/x", home / "media" / "twisted.mov");
    fs::create_symlink("loop", home / "media" / "loop");
    fs::create_symlink("media/screen.mov", home / "inside.mov");
    fs::create_symlink(home / "media", home / "absolute");
    fs::create_symlink("../" + project.id.text() + "/media", home / "around");
    fs::create_symlink(home, home / "itself");

    struct Case {
        std::string_view file;
        std::string_view resolved; ///< Relative to the project's folder.
    };
    for (const auto& [file, resolved] : std::initializer_list<Case>{
             {"media/screen.mov", "media/screen.mov"},
             {"media/none.mov", "media/none.mov"},
             {"none/none.mov", "none/none.mov"},
             {"none/../media/screen.mov", "media/screen.mov"},
             {"./media//./screen.mov", "media/screen.mov"},
             {"media", "media"},
             {"media/", "media"},
             {"media/out/../screen.mov", "media/screen.mov"},
             {"media/screen.mov/x", "media/screen.mov/x"},
             {"inside.mov", "media/screen.mov"},
             {"absolute/screen.mov", "media/screen.mov"},
             {"around/none.mov", "media/none.mov"},
             {"itself/media/screen.mov", "media/screen.mov"},
             {"...", "..."},
             {"-y", "-y"},
             {"media/a:b 'c' \"d\" \\e 🎬\n.mov", "media/a:b 'c' \"d\" \\e 🎬\n.mov"},
         })
        EXPECT_EQ(store.mediaURL(project, file), home / resolved) << file;

    using namespace std::string_view_literals;
    for (const std::string_view file : {""sv, "."sv, "./"sv, ".."sv, "../x.mov"sv, "media/.."sv, "media/../.."sv,
             "../../outside/secret"sv, "/tmp/x.mov"sv, "/"sv, "//x"sv, "media/../../x.mov"sv, "media/out"sv,
             "media/out/secret"sv, "media/out/new/x.mov"sv, "media/secret.mov"sv, "media/new.mov"sv, "media/chain.mov"sv,
             "media/twisted.mov"sv, "media/loop"sv, "media/loop/x"sv, "itself"sv, "itself/../x"sv, "media/a\0b"sv, "\0"sv}) {
        // The path is normalised before links are followed, so ".." after a link stays inside.
        if (file == "itself/../x") {
            EXPECT_EQ(store.mediaURL(project, file), home / "x");
            continue;
        }
        EXPECT_THROW(store.mediaURL(project, file), fs::filesystem_error) << file;
    }
    EXPECT_THROW(store.mediaURL(project, "../" + project.id.text() + "-evil/x"), fs::filesystem_error);
    EXPECT_THROW(store.mediaURL(project, "media/" + std::string(300, 'x')), fs::filesystem_error);
    EXPECT_EQ(store.mediaURL(numbered(2), "media/x"), store.directory(fixedId(2)) / "media/x") << "needs no folder";
}

TEST_F(ProjectStoreTest, ResolvesLinksToTheLibraryAndToProjects)
{
    fs::create_symlink(store.root(), folder / "link");
    const ProjectStore linked(folder / "link");
    const auto project = numbered(1);
    linked.create(project);
    EXPECT_EQ(linked.mediaURL(project, "media/x"), store.directory(project.id) / "media/x");

    fs::rename(store.directory(project.id), folder / "elsewhere");
    fs::create_symlink(folder / "elsewhere", store.directory(project.id));
    EXPECT_EQ(store.mediaURL(project, "media/x"), folder / "elsewhere/media/x")
        << "the author moved the project to another disk";
    EXPECT_EQ(store.load(project.id), project);
}

TEST_F(ProjectStoreTest, KeepsTheDocumentWhenTheFolderIsReadOnly)
{
    const auto project = numbered(1);
    store.create(project);
    for (const fs::path& path : {folder.path(), store.root(), store.directory(project.id)})
        fs::permissions(path, fs::perms(0555));
    fs::permissions(documentOf(project), fs::perms(0644));
    {
        const test::OrdinaryUser user;
        auto changed = project;
        changed.title = "Otro";
        EXPECT_THROW(store.save(changed), fs::filesystem_error);
        EXPECT_THROW(store.create(numbered(2)), fs::filesystem_error);
        EXPECT_EQ(store.load(project.id), project);
        EXPECT_THAT(listed(), ElementsAre(project.id));
    }
    fs::permissions(store.root(), fs::perms::owner_all);
    EXPECT_THAT(namesIn(store.directory(project.id)), UnorderedElementsAre("project.json", "media"));
}

} // namespace
} // namespace orvo
