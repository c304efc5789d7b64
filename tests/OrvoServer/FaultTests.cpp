#include "S3Gateway.h"
#include "ServerProgram.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <format>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using namespace server;
using testing::HasSubstr;

/// A server with a folder on a small disk.
class FullDisk : public ServerProgram {
protected:
    void SetUp() override
    {
        const auto user = ::geteuid();
        if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
            GTEST_SKIP() << "no file system can be mounted here";
        if (user != 0) {
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << std::format("{} {} 1", user, user);
        }
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    }
    ~FullDisk() override
    {
        program.reset();
        if (!disk.empty())
            ::umount2(disk.c_str(), MNT_DETACH);
    }

    void mountAt(const std::string& where, std::uint64_t bytes)
    {
        disk = folder / where;
        fs::create_directories(disk);
        ASSERT_EQ(::mount("small", disk.c_str(), "tmpfs", 0, std::format("size={},mode=700", bytes).c_str()), 0) << errno;
    }
    void resize(std::uint64_t bytes) const
    {
        ASSERT_EQ(::mount("small", disk.c_str(), "tmpfs", MS_REMOUNT, std::format("size={}", bytes).c_str()), 0) << errno;
    }
    std::uint64_t used() const
    {
        struct statvfs status{};
        ::statvfs(disk.c_str(), &status);
        return (status.f_blocks - status.f_bfree) * status.f_frsize;
    }

    Reply announce(std::string_view title) const { return api("POST", "videos", announcement(title, "[]", true)); }
    /// Registers a revision and sends its other files. Returns the revision and the upload of the segment.
    std::pair<std::string, std::string> registered(const Files& others = {{"hls/master.m3u8", "#EXTM3U\n"}}) const
    {
        Files files = others;
        files["hls/480/00000.ts"] = segment;
        EXPECT_EQ(announce("T").status, 200U);
        const auto revision = PublishingClient::registered(files);
        for (const auto& [path, content] : others)
            EXPECT_EQ(put(revision.uploads.at(path), content, 0).status, 200U);
        return {revision.id, revision.uploads.at("hls/480/00000.ts")};
    }
    Reply put(const std::string& upload, std::string_view content, std::uint64_t begin) const
    {
        return PublishingClient::put(upload, content.substr(begin), begin, content.size());
    }
    /// Starts storing and waits for the end. Returns the error of a file, or empty.
    std::string stored(const std::string& revision) const
    {
        EXPECT_EQ(api("POST", std::format("revisions/{}/retry", revision)).status, 204U);
        return PublishingClient::stored(revision);
    }
    void expectShown(const std::string& revision) const
    {
        EXPECT_EQ(api("POST", std::format("revisions/{}/publish", revision)).status, 200U);
        expectShown();
    }
    void expectShown() const { EXPECT_EQ(get("480/00000.ts").body, segment); }
    /// The response to a new viewer.
    Reply get(const std::string& path) const { return ask(port(), "GET", media("watch", "document") + path); }

    const std::string segment = std::string(3'000'000, 's') + "the end";
    fs::path disk;
};

TEST_F(FullDisk, ResumesUploadsWhenSpaceReturns)
{
    mountAt("data/uploads", 1'000'000);
    start();
    const auto [revision, upload] = registered();
    const auto reply = put(upload, segment, 0);
    EXPECT_EQ(reply.status, 507U);
    EXPECT_THAT(reply.body, HasSubstr("lleno"));
    const auto held = offset(upload);
    EXPECT_GT(held, 0U);
    EXPECT_LT(held, 1'000'000U);
    resize(10'000'000);
    EXPECT_EQ(put(upload, segment, held).status, 200U);
    EXPECT_EQ(stored(revision), "");
    expectShown(revision);
}

TEST_F(FullDisk, RetriesStoringWhenSpaceReturns)
{
    mountAt("data/files", 1'000'000);
    start();
    const auto [revision, upload] = registered();
    EXPECT_EQ(put(upload, segment, 0).status, 200U);
    EXPECT_THAT(stored(revision), HasSubstr("lleno"));
    EXPECT_EQ(api("POST", std::format("revisions/{}/publish", revision)).status, 409U);
    EXPECT_EQ(offset(upload), segment.size());
    resize(10'000'000);
    EXPECT_EQ(stored(revision), "");
    expectShown(revision);
}

TEST_F(FullDisk, KeepsPublishedVideosWhenTheDatabaseIsFull)
{
    constexpr std::uint64_t ample = 2'000'000'000; // The server registers no revision with less than 1 GB free.
    mountAt("small", ample);
    place = "small/data";
    init();
    start();
    const auto [revision, upload] = registered();
    EXPECT_EQ(put(upload, segment, 0).status, 200U);
    EXPECT_EQ(stored(revision), "");
    expectShown(revision);
    resize(used() + 40'000);
    Reply reply{.status = 200};
    for (int i = 0; reply.status == 200 && i < 2000; ++i)
        reply = announce(std::string(4000, 't') + std::to_string(i));
    EXPECT_EQ(reply.status, 507U);
    EXPECT_THAT(reply.body, HasSubstr("lleno"));
    EXPECT_EQ(api("POST", std::format("videos/{}/revisions", video), R"({"files":[]})").status, 507U);
    EXPECT_EQ(ask(port(), "GET", "/healthz").status, 200U);
    expectShown();
    const auto copied = run({"backup", "--data", data(), (folder / "small/backup").string()}, setup);
    EXPECT_EQ(copied.status, 1);
    EXPECT_THAT(copied.err, testing::AnyOf(HasSubstr("lleno"), HasSubstr("No space")));
    resize(ample);
    EXPECT_EQ(announce("T").status, 200U);
}

TEST_F(FullDisk, EvictsCachedFilesWhenTheCacheDiskIsFull)
{
    if (!S3Gateway::program())
        GTEST_SKIP() << "no S3 server is installed (versitygw)";
    const S3Gateway s3(folder / "s3");
    setup.environment["ORVO_S3_SECRET_KEY"] = S3Gateway::secretKey;
    std::ofstream(fs::path(data()) / "orvo-server.conf", std::ios::app) << s3.configuration();
    mountAt("data/cache", 5'000'000); // The configured limit exceeds the disk.
    start();
    const std::string other(2'500'000, 'o');
    const auto [revision, upload] = registered({{"hls/master.m3u8", "#EXTM3U\n"}, {"hls/480/00001.ts", other}});
    EXPECT_EQ(put(upload, segment, 0).status, 200U);
    EXPECT_EQ(stored(revision), "");
    expectShown(revision);
    for (int times = 0; times < 3; ++times) {
        EXPECT_TRUE(get("480/00000.ts").body == segment);
        EXPECT_TRUE(get("480/00001.ts").body == other);
    }
    // A foreign file fills the disk, so one of the two no longer fits.
    {
        std::ofstream(disk / "foreign") << std::string(2'200'000, 'f');
    }
    const auto full = get("480/00000.ts");
    EXPECT_EQ(full.status, 507U);
    EXPECT_THAT(full.body.substr(0, 1000), HasSubstr("lleno"));
    EXPECT_TRUE(get("480/00001.ts").body == other);
    EXPECT_EQ(get("master.m3u8").body, "#EXTM3U\n");
    fs::remove(disk / "foreign");
    expectShown();
}

// Root owns the /proc files of a process that is not dumpable.
TEST_F(ServerProgram, LeavesNoSecretsInCoreDumps)
{
    if (::geteuid() == 0) {
        // Another user may have no access to the build folder.
        const fs::path copy = folder / "orvo-server";
        fs::copy_file(setup.executable, copy);
        setup.executable = copy;
        setup.user = 65534;
        ASSERT_EQ(std::system(std::format("chown -R 65534 {}", folder.path().string()).c_str()), 0);
    }
    start();
    struct stat status{};
    ASSERT_EQ(::stat(std::format("/proc/{}/environ", program->pid()).c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
}

} // namespace

} // namespace orvo::test
