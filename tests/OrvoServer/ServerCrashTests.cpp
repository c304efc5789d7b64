#include "ServerProgram.h"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <format>
#include <functional>
#include <random>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using namespace server;

/// A publication during which the server is killed repeatedly.
class Crash : public ServerProgram {
protected:
    /// Checks that acknowledged data survives each failure and that viewers get complete revisions only. `fail` ends the
    /// server at a random moment, on another thread; `repair` prepares its restart.
    void publishThrough(int count, const std::function<void()>& fail, const std::function<void()>& repair);

    /// Responses after the power cut do not count: the file system may then report success for a lost write.
    std::atomic<bool> hasPower = true;
};

void Crash::publishThrough(int count, const std::function<void()>& fail, const std::function<void()>& repair)
{
    std::mt19937 random(20261101);
    std::string big(3'000'000, '\0');
    for (auto& byte : big)
        byte = static_cast<char>(random());
    const std::string master = "#EXTM3U\n";
    start();
    Revision revision;
    std::uint64_t acknowledged = 0;
    bool isPublished = false;
    int failures = 0;
    int rounds = 0;
    std::string refused; // The server's last response.
    while (failures < count || !isPublished) {
        ASSERT_LT(++rounds, 1000) << "not published: " << refused;
        // Each round runs the client until the server is killed.
        std::atomic<bool> isFailing = false;
        std::optional<std::jthread> killer;
        if (failures < count) {
            killer.emplace([&, delay = std::uniform_int_distribution(0, 20000)(random)] {
                std::this_thread::sleep_for(std::chrono::microseconds(delay));
                isFailing = true;
                fail();
            });
        }
        for (bool isAlive = true; isAlive && !(isPublished && !killer);) {
            if (revision.id.empty()) {
                const auto announced = api("POST", "videos", announcement("T", "[]", true));
                isAlive = announced.status == 200;
                const auto reply = api("POST", std::format("videos/{}/revisions", video),
                    manifest({{"hls/master.m3u8", master}, {"hls/480/00000.ts", big}}));
                isAlive = isAlive && reply.status == 201;
                if (!isAlive)
                    refused = std::format("{} {}, {} {}", announced.status, announced.body, reply.status, reply.body);
                isAlive = isAlive && hasPower;
                if (isAlive)
                    revision = revisionIn(reply);
                continue;
            }
            const auto& id = revision.uploads.at("hls/480/00000.ts");
            const auto upload = api("GET", "uploads/" + id);
            const auto held = JsonDocument(upload.body).root()["offset"].number();
            if (!held) {
                refused = std::format("{} {}", upload.status, upload.body);
                break;
            }
            ASSERT_GE(*held, acknowledged);
            if (*held < big.size()) {
                const auto chunk = std::string_view(big).substr(*held, 500'000);
                const auto reply = put(id, chunk, *held, big.size());
                isAlive = reply.status == 200 && hasPower;
                if (isAlive)
                    acknowledged = JsonDocument(reply.body).root()["offset"].number().value_or(0);
                continue;
            }
            put(revision.uploads.at("hls/master.m3u8"), master, 0, master.size());
            api("POST", std::format("revisions/{}/retry", revision.id));
            const auto published = api("POST", std::format("revisions/{}/publish", revision.id));
            isAlive = published.status != 0 && hasPower;
            isPublished = isPublished || (isAlive && published.status == 200);
            try {
                const auto where = media("watch", "document");
                if (isPublished && !isFailing) {
                    EXPECT_NE(where, "");
                }
                if (where.empty())
                    continue;
                const auto segment = ask(port(), "GET", where + "480/00000.ts");
                if (!isFailing) {
                    EXPECT_EQ(segment.status, 200U);
                }
                if (segment.status == 200) {
                    EXPECT_TRUE(segment.body == big);
                }
            } catch (const std::runtime_error&) {
                isAlive = false;
            }
        }
        if (killer) {
            killer->join();
            kill();
            ++failures;
            repair();
            start();
        }
    }
}

TEST_F(Crash, KeepsAcknowledgedDataWhenKilled)
{
    publishThrough(40, [this] { program->signal(SIGKILL); }, [] {});
}

/// A data folder on its own file system, whose power cut discards the journal. The image is sparse, because the server
/// registers no revision with less than 1 GB free.
class PowerCut : public Crash {
protected:
    void SetUp() override
    {
        if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0)
            GTEST_SKIP() << "no file system can be mounted here";
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        fs::create_directory(disk);
        if (!succeeds("truncate -s 3G {0} && mkfs.ext4 -q -F {0}") || !mountDisk())
            GTEST_SKIP() << "no file system can be mounted here";
        place = "disk/data";
        init();
    }
    void TearDown() override
    {
        program.reset();
        ::umount2(disk.c_str(), MNT_DETACH);
    }

    /// Runs a shell command: {0} is the image, {1} its mount point.
    bool succeeds(std::string_view command) const
    {
        const std::string file = image.string();
        const std::string where = disk.string();
        return std::system(std::vformat(command, std::make_format_args(file, where)).c_str()) == 0;
    }
    bool mountDisk() const { return succeeds("mount -o loop {0} {1} 2>/dev/null"); }

    void cut()
    {
        hasPower = false;
        constexpr unsigned long shutDown = 0x8004587D; // EXT4_IOC_SHUTDOWN
        std::uint32_t withoutJournal = 2; // EXT4_GOING_FLAGS_NOLOGFLUSH
        const int root = ::open(disk.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        EXPECT_EQ(::ioctl(root, shutDown, &withoutJournal), 0);
        ::close(root);
    }

    const fs::path disk = folder / "disk";
    const fs::path image = folder / "disk.ext4";
};

TEST_F(PowerCut, KeepsAcknowledgedData)
{
    publishThrough(
        20,
        [this] {
            cut();
            program->signal(SIGKILL);
        },
        [this] {
            ASSERT_EQ(::umount2(disk.c_str(), 0), 0);
            ASSERT_TRUE(mountDisk());
            hasPower = true;
        });
}

} // namespace

} // namespace orvo::test
