#include "ModelFixture.h"
#include "OrvoVideo/model/Workers.h"
#include "TestSupport/Waiting.h"

#include <QCoreApplication>
#include <QThread>
#include <latch>

namespace orvo::test {
namespace {

using testing::ElementsAre;

/// Awaits a piece of work and records its outcome.
template <typename Runner, typename Call>
QCoro::Task<> note(Runner& runner, WorkControl control, Call call, std::vector<std::string>& ends)
{
    try {
        ends.push_back(co_await runner.run(std::move(control), std::move(call)));
    } catch (const Cancelled&) {
        ends.emplace_back("cancelled");
    } catch (const std::exception& error) {
        ends.emplace_back(error.what());
    }
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        ends.emplace_back("on the wrong thread");
}

TEST(WorkersTests, DeliversProgressAndTheLastValue)
{
    Workers workers;
    std::vector<std::string> ends;
    std::vector<double> seen;
    const auto task = note(
        workers, {.progress = [&](double value) { seen.push_back(value); }},
        [](const std::stop_token&, const ProgressCallback& progress) {
            for (int i = 1; i <= 100'000; ++i)
                progress(i / 100'000.0);
            return std::string("done");
        },
        ends);
    ASSERT_TRUE(waitUntil([&] { return task.isReady(); }));
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_EQ(seen.back(), 1);
    EXPECT_THAT(ends, ElementsAre("done"));
}

TEST(WorkersTests, FailsTheWorkWhenNoThreadStarts)
{
    struct : WorkRunner {
        void begin(Work&) override { throw std::system_error(EAGAIN, std::generic_category()); }
        void ended(Work&) override { }
        using WorkRunner::underWay;
    } full;
    std::vector<std::string> ends;
    const auto task = note(full, {}, [] { return std::string("done"); }, ends);
    EXPECT_TRUE(task.isReady());
    EXPECT_THAT(ends, ElementsAre(std::system_error(EAGAIN, std::generic_category()).what()));
    EXPECT_TRUE(full.underWay().empty());
}

TEST(WorkersTests, EndsEveryCoroutineOnShutDown)
{
    std::vector<std::string> ends;
    std::vector<QCoro::Task<>> tasks;
    {
        Workers workers;
        for (int i = 0; i < 8; ++i) {
            tasks.push_back(note(
                workers, {},
                [](const std::stop_token& token) {
                    EXPECT_TRUE(waitForStop(token));
                    return std::string("stopped");
                },
                ends));
        }
        // This work ends before its coroutine resumes.
        tasks.push_back(note(workers, {}, [] { return std::string("ended"); }, ends));
    }
    EXPECT_TRUE(std::ranges::all_of(tasks, [](const auto& task) { return task.isReady(); }));
    EXPECT_EQ(ends, std::vector<std::string>(9, "cancelled"));
}

TEST(SerialWorkerTests, KeepsTheOrderAndCompletesAllTasks)
{
    std::vector<int> order;
    std::vector<std::string> ends;
    {
        SerialWorker worker;
        for (int i = 0; i < 1000; ++i)
            worker.post([&, i] { order.push_back(i); });
        worker.wait();
        EXPECT_EQ(order.size(), 1000U);
        const auto task = note(worker, {}, [&] { return std::to_string(order.size()); }, ends);
        ASSERT_TRUE(waitUntil([&] { return task.isReady(); }));
        for (int i = 1000; i < 2000; ++i)
            worker.post([&, i] { order.push_back(i); });
    }
    EXPECT_EQ(order.size(), 2000U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_THAT(ends, ElementsAre("1000"));
}

} // namespace
} // namespace orvo::test
