#include "TestSupport/SmallDisk.h"
#include "TestSupport/TemporaryFolder.h"
#include "VideoCore/CaptureSession.h"
#include "VideoCore/FileIO.h"
#include "VideoCore/PointerLog.h"
#include "VideoCore/RecordedProject.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvo {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

TEST(PointerLog, ReadsValidLinesAndSkipsTheRest)
{
    const std::string event =
        R"({"duration":2.5,"id":"00000000-0000-4000-8000-000000000001","kind":"click","scale":1.8,"time":1.25,"x":-0.1,"y":1})";
    struct Case {
        std::string log;
        std::size_t events;
    };
    const Case cases[]{
        {"", 0},
        {"\n\n\n", 0},
        {event, 1},
        {event + "\n" + event + "\n", 2},
        {event + "\r\n" + event, 2}, // JSON treats "\r" as white space.
        {event + "\nnull\n[]\n{}\n" + event.substr(0, event.size() - 1) + "\n" + event + "\n", 2},
        {event + event + "\n", 0},
        {std::string("\0\xFF\n", 3) + event, 1},
    };
    for (const auto& test : cases)
        EXPECT_THAT(PointerLog::eventsIn(test.log), SizeIs(test.events)) << test.log;
    const auto read = PointerLog::eventsIn(event).at(0);
    EXPECT_EQ(read.kind, PointerKind::click);
    EXPECT_EQ(read.time, 1.25);
    EXPECT_EQ(read.x, -0.1);
    EXPECT_EQ(read.id.text(), "00000000-0000-4000-8000-000000000001");
}

TEST(CaptureSession, AcceptsOnlyTheNumberOfOneProcess)
{
    struct Case {
        const char* session;
        std::optional<std::int32_t> process;
    };
    const Case cases[]{
        {R"({"pid": 4242, "more": [1]})", 4242},
        {R"({"pid": 2147483647})", 2147483647},
        {R"({"pid": 2147483648})", {}},
        {R"({"pid": 0})", {}},
        {R"({"pid": -1})", {}},
        {R"({"pid": 1.5})", {}},
        {R"({"pid": "4242"})", {}},
        {R"({"process": 4242})", {}},
        {R"([4242])", {}},
        {R"({"pid": 42)", {}},
        {"", {}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(CaptureSession::processIn(test.session), test.process) << test.session;
}

TEST(CaptureSession, ReportsEndedProcessesAsDead)
{
    EXPECT_FALSE(CaptureSession::isAlive({}, true));
    EXPECT_FALSE(CaptureSession::isAlive(::getpid(), false));
    EXPECT_TRUE(CaptureSession::isAlive(::getpid(), true));
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    EXPECT_TRUE(CaptureSession::isAlive(child, false));
    ::kill(child, SIGKILL);
    siginfo_t ended{};
    ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    EXPECT_FALSE(CaptureSession::isAlive(child, false)); // A zombie: its parent has not reaped it.
    ::waitpid(child, nullptr, 0);
    EXPECT_FALSE(CaptureSession::isAlive(child, false));
}

TEST(CaptureSession, IgnoresReusedProcessNumbers)
{
    const test::TemporaryFolder folder;
    const auto document = folder / ProjectStore::documentName;
    writeFileAtomically(document, "{}");
    const auto recorder = [&](std::int32_t number) {
        writeFileAtomically(folder / CaptureSession::fileName, CaptureSession::textFor(number));
        return CaptureSession::recordingProcess(folder.path());
    };
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    EXPECT_EQ(recorder(child), child);
    std::filesystem::last_write_time(document, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(recorder(child), std::nullopt) << "the process started an hour after the last write";
    EXPECT_EQ(recorder(::getpid()), ::getpid()) << "this process is never taken for another";
    std::filesystem::remove(document);
    EXPECT_EQ(recorder(child), child);

    std::atomic<pid_t> thread = 0;
    std::atomic<bool> ends = false;
    const std::jthread other([&] {
        thread = ::gettid();
        thread.notify_all();
        ends.wait(false);
    });
    thread.wait(0);
    EXPECT_EQ(recorder(thread), std::nullopt) << "a thread is not a recorder";
    ends = true;
    ends.notify_all();
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

std::vector<PointerEvent> someEvents(std::size_t count)
{
    std::vector<PointerEvent> events(count);
    for (std::size_t i = 0; i < count; ++i)
        events[i] = {.id = Uuid::random(), .time = static_cast<double>(i), .x = 0.25, .y = 0.75};
    return events;
}

TEST(RecordedProject, EndsEachKindInItsState)
{
    using Kind = RecordedProject::Kind;
    struct Case {
        Kind kind;
        bool staysMarked;
        std::function<void(RecordedProject&)> end;
        std::string_view state; ///< Empty: no project is left.
        std::size_t documentEvents;
    };
    const auto complete = [](RecordedProject& project) { project.complete(); };
    const auto interrupt = [](RecordedProject& project) { project.interrupt(); };
    const auto failStart = [](RecordedProject& project) { project.failStart(); };
    const auto discard = [](RecordedProject& project) { project.discard(); };
    const auto destroy = [](RecordedProject&) { };
    const Case cases[]{
        {Kind::capture, false, complete, "ready", 5},
        {Kind::capture, true, interrupt, "recoverable", 5},
        {Kind::capture, true, destroy, "recoverable", 5},
        {Kind::capture, false, failStart, "needs-recovery", 5},
        {Kind::tab, false, complete, "processing-tab", 0},
        {Kind::tab, true, interrupt, "recoverable-tab", 0},
        {Kind::tab, true, destroy, "recoverable-tab", 0},
        {Kind::tab, false, discard, "", 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.state));
        const test::TemporaryFolder library;
        const ProjectStore store(library.path());
        const auto events = someEvents(5);
        std::filesystem::path folder;
        {
            RecordedProject recorded(store, test.kind, VideoProject::make("Clase"));
            folder = recorded.folder();
            EXPECT_TRUE(CaptureSession::isMarkedRecording(store.load(recorded.id())));
            EXPECT_EQ(CaptureSession::recordingProcess(folder), ::getpid());
            recorded.add({events.begin(), events.begin() + 3});
            recorded.checkpoint(recorded.project());
            EXPECT_EQ(PointerLog::read(folder), std::vector(events.begin(), events.begin() + 3));
            recorded.add({events.begin() + 3, events.end()});
            test.end(recorded);
        }
        if (test.state.empty()) {
            EXPECT_THAT(test::namesIn(library.path()), IsEmpty());
            continue;
        }
        const auto projects = store.list();
        ASSERT_THAT(projects, SizeIs(1));
        EXPECT_EQ(projects[0].state, test.state);
        EXPECT_THAT(projects[0].edit.events, SizeIs(test.documentEvents));
        EXPECT_EQ(PointerLog::read(folder), events);
        EXPECT_EQ(CaptureSession::recordingProcess(folder).has_value(), test.staysMarked);
    }
}

/// The limit leaves room for the document, but not for the events.
TEST(RecordedProject, RepeatsAFailedCheckpoint)
{
    const test::TemporaryFolder library;
    const ProjectStore store(library.path());
    const auto events = someEvents(100);
    RecordedProject recorded(store, RecordedProject::Kind::tab, VideoProject::make("Clase"));
    recorded.add({events.front()});
    recorded.checkpoint(recorded.project());
    recorded.add({events.begin() + 1, events.end()});
    {
        const test::FileSizeLimit full(4000);
        const auto document = recorded.change([](VideoProject& project) { project.duration = 7; });
        EXPECT_THROW(recorded.checkpoint(document), std::filesystem::filesystem_error);
        EXPECT_EQ(store.load(recorded.id()).duration, 7) << "the document is saved anyway";
        EXPECT_THROW(recorded.complete(), std::filesystem::filesystem_error) << "only the log has the events";
        EXPECT_TRUE(CaptureSession::isMarkedRecording(store.load(recorded.id())));
        EXPECT_EQ(readFile(recorded.folder() / PointerLog::fileName), PointerLog::linesOf({&events.front(), 1}));
    }
    recorded.complete();
    EXPECT_EQ(PointerLog::read(recorded.folder()), events);
}

TEST(RecordedProject, LeavesNothingWhenItCannotBeCreated)
{
    const test::TemporaryFolder library;
    const ProjectStore store(library.path());
    const test::FileSizeLimit full(100); // Less than a document.
    EXPECT_THROW(RecordedProject(store, RecordedProject::Kind::capture, VideoProject::make("Clase")),
        std::filesystem::filesystem_error);
    EXPECT_THAT(test::namesIn(library.path()), IsEmpty());
}

} // namespace
} // namespace orvo
