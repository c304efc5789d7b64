#include "VideoCore/FileIO.h"

#include "TestSupport/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace orvo {
namespace {

namespace fs = std::filesystem;

using test::namesIn;
using test::TemporaryFolder;

TEST(FileIO, ReplacesWholeFiles)
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

    std::string buffer = "longer than the file";
    writeFileAtomically(file, "text");
    readFile(file, buffer);
    EXPECT_EQ(buffer, "text");
    EXPECT_EQ(namesIn(folder.path()).size(), 1U);

    const fs::path longName = folder / std::string(255, 'n');
    writeFileAtomically(longName, "text");
    EXPECT_EQ(readFile(longName), "text");
}

TEST(FileIO, ReplacesLinksRatherThanTheirTargets)
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

TEST(FileIO, FailsWithoutLeavingFiles)
{
    const TemporaryFolder folder;
    fs::create_directory(folder / "folder");
    EXPECT_THROW(readFile(folder / "none"), fs::filesystem_error);
    EXPECT_THROW(readFile(folder / "folder"), fs::filesystem_error);
    EXPECT_THROW(writeFileAtomically(folder / "none" / "file", "text"), fs::filesystem_error);
    EXPECT_THROW(writeFileAtomically(folder / "folder", "text"), fs::filesystem_error);
    EXPECT_EQ(namesIn(folder.path()).size(), 1U);

    std::string buffer;
    writeFileAtomically(folder / "file", "12345");
    EXPECT_NO_THROW(readFile(folder / "file", buffer, 5));
    EXPECT_THROW(readFile(folder / "file", buffer, 4), fs::filesystem_error);
}

} // namespace
} // namespace orvo
