#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/Operation.h"
#include "VideoCore/Error.h"

#include <QSignalSpy>
#include <gtest/gtest.h>
#include <stop_token>

namespace orvo::test {
namespace {

/// An operation that waits until it is told to end.
class OperationTests : public testing::Test {
protected:
    Operation::Work waiting()
    {
        return [this](WorkControl control) -> QCoro::Task<> {
            ++runs;
            stop = control.stop;
            control.progress(0.25);
            co_await go;
        };
    }

    Operation operation;
    Answer<int> go;
    int runs = 0;
    std::stop_token stop;
    QSignalSpy brokenOff{&operation, &Operation::brokenOff};
};

TEST_F(OperationTests, RunsOneAtATime)
{
    operation.perform(waiting());
    EXPECT_TRUE(operation.busy());
    EXPECT_FALSE(operation.idle());
    EXPECT_EQ(operation.progress(), 0.25);
    operation.perform(waiting());
    operation.performReserved(waiting());
    EXPECT_EQ(runs, 1);
    go.give(1);
    EXPECT_TRUE(operation.idle());
    EXPECT_EQ(operation.status(), "Listo para grabar");
    EXPECT_TRUE(brokenOff.isEmpty());
}

TEST_F(OperationTests, ReportsHowWorkEnds)
{
    const auto failing = [](WorkControl) -> QCoro::Task<> {
        throw captureError("El disco ha desaparecido.");
        co_return;
    };
    const auto cancelled = [](WorkControl) -> QCoro::Task<> {
        throw Cancelled();
        co_return;
    };
    operation.perform(failing);
    EXPECT_TRUE(operation.idle());
    EXPECT_EQ(operation.progress(), 0);
    EXPECT_EQ(operation.errorMessage(), "El disco ha desaparecido.");
    EXPECT_EQ(operation.status(), "No se ha completado la operación");
    EXPECT_EQ(brokenOff.size(), 1);

    operation.clearError();
    operation.perform(cancelled);
    EXPECT_EQ(operation.errorMessage(), "");
    EXPECT_EQ(operation.status(), "Operación cancelada");
    EXPECT_EQ(brokenOff.size(), 2);

    operation.perform(failing, {.failed = "a", .cancelled = "b"});
    EXPECT_EQ(operation.status(), "a");
    operation.perform(cancelled, {.failed = "a", .cancelled = "b"});
    EXPECT_EQ(operation.status(), "b");
}

TEST_F(OperationTests, AsksRunningWorkToStop)
{
    operation.cancel(); // Nothing runs.
    EXPECT_EQ(operation.status(), "Listo para grabar");
    operation.perform(waiting());
    operation.cancel();
    EXPECT_TRUE(stop.stop_requested());
    EXPECT_EQ(operation.status(), "Cancelando…");
    EXPECT_TRUE(operation.busy()) << "until the work has ended";
    go.give(1);
    EXPECT_TRUE(operation.idle());
}

TEST_F(OperationTests, RunsOnlyWorkOfTheRecordingWhileReserved)
{
    const QSignalSpy changes(&operation, &Operation::idleChanged);
    operation.setReserved(true);
    EXPECT_FALSE(operation.idle() || operation.busy());
    EXPECT_EQ(changes.size(), 1);
    operation.perform(waiting());
    EXPECT_EQ(runs, 0);
    operation.performReserved(waiting());
    EXPECT_EQ(runs, 1);
    go.give(1);
    EXPECT_FALSE(operation.idle());
    operation.setReserved(false);
    EXPECT_TRUE(operation.idle());
}

} // namespace
} // namespace orvo::test
