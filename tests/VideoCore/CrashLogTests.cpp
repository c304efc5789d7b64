#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/CrashLog.h"
#include "VideoCore/FileIO.h"

#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

using testing::HasSubstr;
using testing::KilledBySignal;

TEST(CrashLogTests, WritesTheLogOnlyWhenTheProgramCrashes)
{
    const TemporaryFolder folder;
    ::setenv("XDG_STATE_HOME", (folder / "state").c_str(), 1);
    EXPECT_EQ(CrashLog::file(), folder / "state/OrvoVideo/cierre.txt");
    for (const int signal : {SIGSEGV, SIGABRT}) {
        EXPECT_EXIT(
            {
                CrashLog::install("1.2.3");
                if (std::filesystem::exists(CrashLog::file()) && signal == SIGSEGV)
                    std::exit(1); // Too early.
                std::raise(signal);
            },
            KilledBySignal(signal), "")
            << "the signal still ends the program";
        const auto log = readFile(CrashLog::file());
        EXPECT_THAT(log, HasSubstr("Orvo Video 1.2.3\nSIG" + std::string(signal == SIGSEGV ? "SEGV" : "ABRT") + "\n"));
        EXPECT_THAT(log, HasSubstr("VideoCoreTests")) << "the log has the stack";
    }
    ::unsetenv("XDG_STATE_HOME");
}

} // namespace

} // namespace orvo::test
