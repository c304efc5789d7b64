#include "VideoCore/FileIO.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace orvo {
namespace {

namespace fs = std::filesystem;

using test::TemporaryFolder;

std::size_t entriesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(FileIO, replacesFilesWhole)
{
    const TemporaryFolder folder;
    const fs::path file = folder / "a 'b' \"c\"\n🎬";
    writeFileAtomically(file, "first");
    EXPECT_EQ(readFile(file), "first");
    fs::permissions(file, fs::perms(0640));
    const std::string large(3'000'000, 'x');
    writeFileAtomically(file, large);
    EXPECT_EQ(readFile(file), large);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640)) << "the mode is kept";
    writeFileAtomically(file, "");
    EXPECT_EQ(readFile(file), "");

    std::string buffer = "longer than what is read";
    writeFileAtomically(file, "text");
    readFile(file, buffer);
    EXPECT_EQ(buffer, "text");
    EXPECT_EQ(entriesIn(folder.path()), 1U);

    const fs::path longName = folder / std::string(255, 'n');
    writeFileAtomically(longName, "text");
    EXPECT_EQ(readFile(longName), "text");
}

TEST(FileIO, replacesALinkAndNotWhatItNames)
{
    const TemporaryFolder folder;
    writeFileAtomically(folder / "target", "untouched");
    fs::permissions(folder / "target", fs::perms(0444));
    fs::create_symlink(folder / "target", folder / "link");
    writeFileAtomically(folder / "link", "new");
    EXPECT_EQ(readFile(folder / "target"), "untouched");
    EXPECT_EQ(readFile(folder / "link"), "new");
    EXPECT_EQ(fs::symlink_status(folder / "link").type(), fs::file_type::regular);
    EXPECT_EQ(fs::status(folder / "link").permissions(), fs::perms(0644));
}

TEST(FileIO, failsCleanly)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "folder");
    EXPECT_THROW(readFile(folder / "none"), fs::filesystem_error);
    EXPECT_THROW(readFile(folder / "folder"), fs::filesystem_error);
    EXPECT_THROW(writeFileAtomically(folder / "none" / "file", "text"), fs::filesystem_error);
    EXPECT_THROW(writeFileAtomically(folder / "folder", "text"), fs::filesystem_error);
    EXPECT_EQ(entriesIn(folder.path()), 1U);

    std::string buffer;
    writeFileAtomically(folder / "file", "12345");
    EXPECT_NO_THROW(readFile(folder / "file", buffer, 5));
    EXPECT_THROW(readFile(folder / "file", buffer, 4), fs::filesystem_error);
}

TEST(Error, isDescribedInSpanish)
{
    using std::make_error_code;
    const auto described = [](std::errc code) {
        return describe(fs::filesystem_error("write", "/a/b", make_error_code(code)));
    };
    EXPECT_EQ(described(std::errc::no_space_on_device), "«/a/b»: no queda espacio en el disco");
    EXPECT_EQ(described(std::errc::read_only_file_system), "«/a/b»: el disco es de solo lectura");
    EXPECT_EQ(described(std::errc::permission_denied), "«/a/b»: no hay permiso");
    EXPECT_EQ(described(std::errc::no_such_file_or_directory), "«/a/b»: no existe");
    EXPECT_EQ(describe(std::system_error(ENOENT, std::system_category(), "execve")), "no existe");
    EXPECT_EQ(describe(std::bad_alloc()), "no queda memoria");
    EXPECT_EQ(describe(captureError("No hay ningún vídeo visible.")), "No hay ningún vídeo visible.");
    EXPECT_EQ(captureError("x").domain(), "OrvoVideo");
    EXPECT_EQ(captureError("x").code(), 1);
}

} // namespace
} // namespace orvo
