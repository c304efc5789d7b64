#include "OrvoVideo/model/SingleInstance.h"

#include "ModelFixture.h"

#include <QCoreApplication>
#include <QProcess>
#include <csignal>

namespace orvo::test {
namespace {

/// Another process of the application on a library. It prints "first", "handed over" or "no answer".
class OtherProcess : public QProcess {
public:
    explicit OtherProcess(const std::filesystem::path& library, const QStringList& arguments = {})
    {
        start(QCoreApplication::applicationFilePath(),
            QStringList{"--single-instance", QString::fromStdString(library.string())} + arguments);
    }
    ~OtherProcess() override
    {
        kill();
        waitForFinished();
    }

    QByteArray says()
    {
        waitUntil([this] { return canReadLine() || state() == QProcess::NotRunning; });
        return readLine().trimmed();
    }
};

TEST(SingleInstanceTests, ActivatesTheFirstProcessFromTheSecond)
{
    const TemporaryFolder library;
    SingleInstance first(library.path());
    ASSERT_TRUE(first.isFirst());
    QStringList arguments;
    QString token;
    QObject::connect(&first, &SingleInstance::activated, &first, [&](const QStringList& given, const QString& givenToken) {
        arguments = given;
        token = givenToken;
    });
    qputenv("XDG_ACTIVATION_TOKEN", "token-1");
    OtherProcess second(library.path(), {"/a película.mp4", "b"});
    EXPECT_EQ(second.says(), "handed over");
    ASSERT_TRUE(waitUntil([&] { return !arguments.isEmpty(); }));
    EXPECT_EQ(arguments, (QStringList{"/a película.mp4", "b"}));
    EXPECT_EQ(token, "token-1");

    // Another library has its own lock.
    const TemporaryFolder otherLibrary;
    OtherProcess elsewhere(otherLibrary.path());
    EXPECT_EQ(elsewhere.says(), "first");
}

TEST(SingleInstanceTests, WaitsForAStoppedProcessAndTakesOverFromAKilledOne)
{
    const TemporaryFolder library;
    OtherProcess first(library.path());
    ASSERT_EQ(first.says(), "first");
    EXPECT_FALSE(SingleInstance(library.path()).isFirst());
    ::kill(static_cast<pid_t>(first.processId()), SIGSTOP);
    EXPECT_FALSE(SingleInstance(library.path()).handOver({}, 300));
    ::kill(static_cast<pid_t>(first.processId()), SIGCONT);
    EXPECT_TRUE(SingleInstance(library.path()).handOver({}));
    first.kill();
    first.waitForFinished();
    const SingleInstance next(library.path());
    ASSERT_TRUE(next.isFirst());
    OtherProcess second(library.path());
    EXPECT_EQ(second.says(), "handed over");
}

TEST(SingleInstanceTests, ThrowsForAMissingLibrary)
{
    EXPECT_THROW(SingleInstance("/nowhere/at/all"), std::filesystem::filesystem_error);
}

} // namespace
} // namespace orvo::test
