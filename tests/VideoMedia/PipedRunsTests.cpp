#include "VideoMedia/PipedRuns.h"

#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/Error.h"
#include "VideoCore/FileIO.h"
#include "VideoMedia/ProcessRunner.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// Two shell scripts that find the pipe as "$PIPE". The pipe is always removed.
class PipedScripts : public testing::Test {
protected:
    ~PipedScripts() override { EXPECT_FALSE(fs::exists(pipe)); }

    std::string failure(const std::string& write, const std::string& read, const std::stop_token& stop = {},
        const ProgressCallback& progress = {})
    {
        const auto script = [&](const std::string& text) {
            return std::vector<std::string>{"-c", "PIPE='" + pipe.string() + "'; " + text};
        };
        try {
            PipedRuns::run(
                pipe,
                [&](const std::stop_token& stopWriter) { ProcessRunner::run("/bin/sh", script(write), {}, 0, stopWriter); },
                [&](const std::stop_token& stopReader) {
                    ProcessRunner::run("/bin/sh", script(read), progress, 1, stopReader);
                },
                stop);
        } catch (const Cancelled&) {
            return "cancelled";
        } catch (const std::exception& error) {
            return describe(error);
        }
        return {};
    }

    const TemporaryFolder folder;
    const fs::path pipe = folder / "pipe";
    const std::string copy = "cat <\"$PIPE\" >'" + (folder / "copy").string() + "'";
    const std::string endless = "exec cat /dev/zero >\"$PIPE\"";
};

TEST_F(PipedScripts, PassesAllBytes)
{
    EXPECT_EQ(failure("head -c 1000000 /dev/zero >\"$PIPE\"", copy), "");
    EXPECT_EQ(fs::file_size(folder / "copy"), 1'000'000U);
    EXPECT_EQ(failure(endless, "head -c 1000 <\"$PIPE\" >/dev/null"), "") << "a reader that ends stops the writer";
}

TEST_F(PipedScripts, ReportsTheFailureOfEitherScript)
{
    struct Case {
        std::string write, read, expected;
    };
    const Case cases[] = {
        {"echo writer; exit 1", copy, "writer"}, // Before it opens the pipe.
        {"echo begin >\"$PIPE\"; echo writer; exit 1", copy, "writer"},
        {"echo begin >\"$PIPE\"; echo writer; exit 1", copy + "; exec sleep 600", "writer"},
        {endless, "echo reader; exit 1", "reader"}, // Before it opens the pipe.
        {endless, "head -c 1000 <\"$PIPE\" >/dev/null; echo reader; exit 1", "reader"},
        {"exec sleep 600", "echo reader; exit 1", "reader"},
    };
    for (const auto& [write, read, expected] : cases)
        EXPECT_THAT(failure(write, read), HasSubstr(expected)) << write << " | " << read;
}

TEST_F(PipedScripts, EndsBothScriptsWhenCancelled)
{
    for (const auto& write : {endless, std::string("exec sleep 600")}) {
        std::stop_source stop;
        EXPECT_EQ(
            failure(write, "echo out_time_us=1; exec sleep 600", stop.get_token(), [&](double) { stop.request_stop(); }),
            "cancelled");
    }
    const std::stop_source before;
    before.request_stop();
    EXPECT_EQ(failure(endless, copy, before.get_token()), "cancelled");
}

TEST_F(PipedScripts, NamesThePipeThatCannotBeCreated)
{
    writeFileAtomically(pipe, "in the way");
    EXPECT_THAT(failure("true", "true"), HasSubstr(pipe.string()));
    EXPECT_EQ(readFile(pipe), "in the way");
    fs::remove(pipe);
}

} // namespace

} // namespace orvo::test
