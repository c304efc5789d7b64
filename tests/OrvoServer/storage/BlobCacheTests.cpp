#include "OrvoServer/storage/BlobCache.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/Waiting.h"
#include "VideoCore/FileIO.h"

#include <atomic>
#include <format>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>
#include <unistd.h>

namespace orvo::test {
namespace {

using namespace server;

/// A store whose first fetch blocks until it is cancelled.
class SlowStore final : public BlobStore {
public:
    std::string_view name() const noexcept override { return "slow"; }
    Status status() override { return {.isReady = true, .text = {}}; }
    void put(const std::string&, const std::filesystem::path&, const std::stop_token&) override { }
    void remove(const std::string&, const std::stop_token&) override { }
    void fetch(const std::string&, const std::filesystem::path& target, const std::stop_token& stop) override
    {
        const bool isFirst = ++fetches == 1;
        fetches.notify_all();
        if (isFirst) {
            EXPECT_TRUE(waitForStop(stop));
            throw Cancelled();
        }
        writeFileAtomically(target, "content");
    }

    std::atomic<int> fetches = 0;
};

/// Whether a thread of this process sleeps.
bool sleeps(pid_t thread)
{
    std::ifstream file(std::format("/proc/self/task/{}/stat", thread));
    const std::string text(std::istreambuf_iterator<char>(file), {});
    return text.contains(") S ");
}

TEST(BlobCacheTests, FetchesAgainForWaitersWhenAFetchIsCancelled)
{
    const TemporaryFolder folder;
    SlowStore store;
    Metrics metrics;
    BlobCache cache(store, folder / "cache", 1000, metrics);
    std::stop_source stop;
    const std::jthread first([&] { EXPECT_THROW(cache.open("key", 7, stop.get_token()), Cancelled); });
    store.fetches.wait(0);
    std::atomic<pid_t> waiter = 0;
    std::jthread second([&] {
        waiter = ::gettid();
        EXPECT_EQ(cache.open("key", 7, {})->size(), 7U);
    });
    EXPECT_TRUE(pollUntil([&] { return sleeps(waiter); }));
    const std::stop_source third;
    third.request_stop();
    EXPECT_THROW(cache.open("key", 7, third.get_token()), Cancelled) << "a waiting thread can be cancelled alone";
    stop.request_stop();
    second.join();
    EXPECT_EQ(store.fetches, 2);
    EXPECT_EQ(cache.usedBytes(), 7U);
}

} // namespace
} // namespace orvo::test
