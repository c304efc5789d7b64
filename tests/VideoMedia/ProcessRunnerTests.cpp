#include "VideoMedia/ProcessRunner.h"

#include "TestSupport/Failure.h"
#include "TestSupport/TemporaryFolder.h"
#include "TestSupport/Waiting.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

std::string shell(
    const std::string& script, const ProgressCallback& progress = {}, double duration = 0, std::stop_token stop = {})
{
    return ProcessRunner::run("/bin/sh", {"-c", script}, progress, duration, stop);
}

std::string failure(const std::string& script)
{
    return failureOf([&] { shell(script); });
}

TEST(ProcessRunner, ReturnsBothStreamsInOrder)
{
    EXPECT_EQ(shell("echo uno; echo dos >&2; echo 'tres áé'"), "uno\ndos\ntres áé\n");
    EXPECT_EQ(ProcessRunner::run("/bin/echo", {"a b", "", "'$HOME'"}), "a b  '$HOME'\n") << "arguments pass unchanged";
    EXPECT_EQ(shell("printf '\\377'"), "") << "output that is not UTF-8 counts as empty";
}

TEST(ProcessRunner, KeepsTheEndOfLongOutput)
{
    const auto output = shell("head -c 3000000 /dev/zero | tr '\\0' x; printf end");
    EXPECT_GE(output.size(), 1'000'000U);
    EXPECT_LE(output.size(), 2'000'000U);
    EXPECT_THAT(output, EndsWith("xxxend"));
}

TEST(ProcessRunner, ReportsTheEndOfTheOutputOfFailures)
{
    const std::string prefix = "El proceso de vídeo falló: ";
    EXPECT_EQ(failure("printf corto; exit 1"), prefix + "corto");
    EXPECT_EQ(failure("exit 3"), prefix);
    EXPECT_EQ(failure("head -c 5000 /dev/zero | tr '\\0' a; printf FIN; exit 1"), prefix + std::string(1797, 'a') + "FIN");
    EXPECT_EQ(failure("for i in $(seq 2000); do printf ñ; done; exit 1").size(), prefix.size() + 2 * 1800)
        << "characters, not bytes";
    EXPECT_EQ(failure("printf medio; kill -9 $$"), prefix + "medio");
    EXPECT_EQ(failureOf([] { ProcessRunner::run("/no/such/program", {}); }), "«/no/such/program»: no existe");
}

TEST(ProcessRunner, ReportsProgress)
{
    const auto reported = [](const std::string& script, double duration) {
        std::vector<double> values;
        shell(script, [&](double value) { values.push_back(value); }, duration);
        return values;
    };
    EXPECT_THAT(reported("printf 'frame=1\\nout_time_us=30000000\\nprogress=continue\\n'", 60), ElementsAre(0.5));
    EXPECT_THAT(reported("printf 'out_time_us=30000000\\n'", 20), ElementsAre(1.0));
    EXPECT_THAT(reported("printf 'out_time_us=-500000\\n'", 10), ElementsAre(-0.05));
    EXPECT_THAT(reported("printf 'out_time_us=N/A\\nxout_time_us=5\\nout_time_ms=5\\n'", 10), IsEmpty());
    EXPECT_THAT(reported("printf 'out_time_us=30000000\\n'", 0), IsEmpty());
}

TEST(ProcessRunner, LeavesNoChildWhenACallbackThrows)
{
    EXPECT_THROW(shell("echo out_time_us=1; exec sleep 600", [](double) { throw captureError("basta"); }, 1), Error);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "every child is reaped";
}

TEST(ProcessRunner, StopsUnwillingChildren)
{
    for (const std::string script :
        {"echo out_time_us=1; exec sleep 600", "trap '' TERM; echo out_time_us=1; while :; do sleep 0.05; done",
            "sleep 600 & echo out_time_us=1; wait", "(trap '' TERM; sleep 600) & echo out_time_us=1; wait"}) {
        std::stop_source stop;
        EXPECT_THROW(shell(script, [&](double) { stop.request_stop(); }, 1, stop.get_token()), Cancelled) << script;
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    }
    const std::stop_source already;
    already.request_stop();
    EXPECT_THROW(shell("true", {}, 0, already.get_token()), Cancelled);
}

TEST(ProcessRunner, ReportsFailuresWhenChildSignalsAreIgnored)
{
    struct sigaction before{};
    struct sigaction ignored{};
    ignored.sa_handler = SIG_IGN;
    ::sigaction(SIGCHLD, &ignored, &before);
    EXPECT_THAT(failure("printf no; exit 3"), EndsWith("no"));
    EXPECT_EQ(shell("echo yes"), "yes\n");
    ::sigaction(SIGCHLD, &before, nullptr);
}

TEST(ProcessRunner, EndsChildrenWhenTheParentCrashes)
{
    const TemporaryFolder folder;
    const auto started = folder / "started";
    const pid_t parent = ::fork();
    ASSERT_GE(parent, 0);
    if (parent == 0) {
        shell("echo $$ >" + (folder / "number").string() + "; mv " + (folder / "number").string() + " " + started.string()
            + "; exec sleep 600");
        ::_exit(0);
    }
    ASSERT_TRUE(pollUntil([&] { return fs::exists(started); }));
    const auto stat = fs::path("/proc") / std::to_string(std::stoi(readFile(started))) / "stat";
    EXPECT_TRUE(fs::exists(stat));
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    EXPECT_TRUE(pollUntil([&] {
        std::ifstream file(stat);
        const std::string state{std::istreambuf_iterator<char>(file), {}};
        return state.empty() || state.contains(") Z ");
    }));
}

TEST(ProcessRunner, StartsChildrenWithOrdinarySignals)
{
    sigset_t block;
    sigset_t before;
    sigemptyset(&block);
    sigaddset(&block, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &block, &before);
    const std::string output = shell("grep -E 'SigBlk|SigIgn' /proc/self/status");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_THAT(output, StartsWith("SigBlk:\t0000000000000000\n"));
}

TEST(ProcessRunner, RejectsOldAndForeignPrograms)
{
    const TemporaryFolder folder;
    const auto program = [&](const std::string& name, const std::string& says) {
        writeFileAtomically(folder / name, "#!/bin/sh\ncat <<'END'\n" + says + "\nEND\n");
        fs::permissions(folder / name, fs::perms::owner_all);
        return folder / name;
    };
    const std::pair<std::string, bool> cases[] = {
        {"ffmpeg version 5.1.6-0+deb12u1\nlibavfilter     8. 44.100 /  8. 44.100", false},
        {"ffmpeg version N-113000-gabc\nlibavfilter    10.  1.100 / 10.  1.100", true},
        {"ffmpeg version 8.0\nlibavfilter    11.  0.100 / 11.  0.100", true},
        {"hello", false},
    };
    for (const auto& [says, usable] : cases) {
        const auto file = program("ffmpeg", says);
        if (usable)
            EXPECT_NO_THROW(ProcessRunner::requireUsable(file)) << says;
        else
            EXPECT_THROW(ProcessRunner::requireUsable(file), Error) << says;
    }
}

} // namespace

} // namespace orvo::test
