#include "TestSupport/Projects.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/ProjectStore.h"
#include "VideoCore/SharedList.h"

#include <atomic>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvo {
namespace {

using test::emptyProject;
using test::fixedId;
using test::TemporaryFolder;

/// One of two projects of very different lengths, so that a mixture of their documents cannot be valid.
VideoProject version(int number)
{
    auto project = emptyProject();
    project.title = number % 2 == 0 ? "Par" : "Impar";
    auto& events = project.edit.events.edit();
    for (int i = 0; i < (number % 2 == 0 ? 100 : 700); ++i)
        events.push_back({.id = fixedId(static_cast<std::uint64_t>(i)), .time = i / 12.0});
    return project;
}

TEST(SharedListThreads, KeepsCopiesOfThreadsApart)
{
    SharedList<int> shared(std::vector<int>(100));
    std::vector<SharedList<int>> results(4);
    std::vector<std::jthread> threads;
    for (int id = 0; id < 4; ++id) {
        threads.emplace_back([mine = shared, id, &results] mutable {
            for (int round = 0; round < 2000; ++round) {
                const auto undo = mine;
                for (int& item : mine.edit())
                    item += id;
                if (round % 2 == 1)
                    mine = undo;
            }
            results[static_cast<std::size_t>(id)] = mine;
        });
    }
    shared.edit()[0] = -1; // While the threads change their copies.
    threads.clear();
    for (int id = 0; id < 4; ++id)
        EXPECT_EQ(results[static_cast<std::size_t>(id)], SharedList(std::vector<int>(100, id * 1000)));
    EXPECT_EQ(shared[0], -1);
}

TEST(ProjectStoreThreads, ReadsWholeDocumentsWhileTheyAreReplaced)
{
    const TemporaryFolder folder;
    const ProjectStore store(folder / "Library");
    const VideoProject versions[]{version(0), version(1)};
    store.create(versions[0]);
    for (std::uint64_t i = 2; i < 6; ++i) {
        auto other = emptyProject();
        other.id = fixedId(i);
        store.create(other);
    }

    std::atomic<bool> done = false;
    std::atomic<int> reads = 0;
    {
        std::vector<std::jthread> readers;
        for (int i = 0; i < 2; ++i) {
            readers.emplace_back([&] {
                do {
                    const auto seen = store.load(versions[0].id);
                    EXPECT_TRUE(seen == versions[0] || seen == versions[1]);
                    ++reads;
                } while (!done);
            });
        }
        readers.emplace_back([&] {
            do
                EXPECT_EQ(store.list().size(), 5U);
            while (!done);
        });
        for (int i = 0; i < 500; ++i)
            store.save(versions[i % 2]);
        done = true;
    }
    EXPECT_GT(reads, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(store.directory(versions[0].id)), {}), 2);
}

} // namespace
} // namespace orvo
