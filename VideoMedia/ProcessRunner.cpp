#include "VideoMedia/ProcessRunner.h"

#include "VideoCore/Error.h"
#include "VideoCore/UniqueFd.h"
#include "VideoCore/Utf8.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <format>
#include <mutex>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX has programs declare it.

namespace orvo::ProcessRunner {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t outputLimit = 2'000'000;
constexpr std::size_t outputKept = 1'000'000;
constexpr std::size_t chunkSize = 16'384;
constexpr std::size_t failureTail = 1'800;
constexpr auto gracePeriod = std::chrono::seconds(2);

/// The last `count` characters of valid UTF-8.
std::string_view lastCharacters(std::string_view text, std::size_t count)
{
    std::size_t start = text.size();
    while (start > 0 && count > 0) {
        --start;
        if ((static_cast<unsigned char>(text[start]) & 0xC0) != 0x80)
            --count;
    }
    return text.substr(start);
}

/// Parses progress from a chunk of output and reports it.
void reportProgress(std::string_view chunk, double duration, const ProgressCallback& onProgress)
{
    constexpr std::string_view key = "out_time_us=";
    if (!isUtf8(chunk))
        return;
    while (!chunk.empty()) {
        const std::size_t lineEnd = std::min(chunk.find('\n'), chunk.size());
        const std::string_view line = chunk.substr(0, lineEnd);
        chunk.remove_prefix(std::min(lineEnd + 1, chunk.size()));
        if (!line.starts_with(key))
            continue;
        const std::string_view number = line.substr(key.size());
        double microseconds = 0;
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), microseconds);
        if (error == std::errc() && end == number.data() + number.size())
            onProgress(std::min(microseconds / 1'000'000 / duration, 1.0));
    }
}

/// Both ends of a pipe.
class Pipe {
public:
    Pipe()
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::system_error(errno, std::system_category(), "pipe");
        m_reading.reset(ends[0]);
        m_writing.reset(ends[1]);
    }

    int reading() const { return m_reading.get(); }
    int writing() const { return m_writing.get(); }
    void closeWriting() { m_writing.reset(); }

private:
    UniqueFd m_reading;
    UniqueFd m_writing;
};

/// The environment of a child: a copy of this one, with the size from which glibc's allocator returns free blocks to
/// the system at once.
///
/// For each word of a graph, ffmpeg allocates as much as the rest of the text. Between smaller live blocks the allocator
/// would not return this memory, and a graph with many cuts would take several times the memory that it needs.
class ChildEnvironment {
public:
    ChildEnvironment()
    {
        for (char** variable = environ; *variable; ++variable)
            m_pointers.push_back(*variable);
        if (!std::getenv("MALLOC_MMAP_THRESHOLD_"))
            m_pointers.push_back(m_threshold.data());
        m_pointers.push_back(nullptr);
    }

    char* const* pointers() const { return m_pointers.data(); }

private:
    std::string m_threshold = "MALLOC_MMAP_THRESHOLD_=16384";
    std::vector<char*> m_pointers;
};

/// Runs in the child between fork and exec: async-signal-safe calls only. Returns on failure, with `errno` set.
void becomeProgram(const char* executable, char* const* arguments, char* const* environment, int output, pid_t parent)
{
    // A process group of its own, so that a stop also reaches the children of a wrapper script.
    ::setpgid(0, 0);
    // The child must not outlive a crash of this program: a later export would have a second writer. The kernel sends
    // the signal when the forking thread ends; that thread waits for the child.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    // Resets signal handling: the child must not inherit blocked or ignored signals.
    struct sigaction ordinary{};
    ordinary.sa_handler = SIG_DFL; // NOLINT(cppcoreguidelines-pro-type-union-access)
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE, SIGQUIT, SIGHUP, SIGCHLD})
        ::sigaction(signal, &ordinary, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    // A child must not read from the terminal of this program.
    const int input = ::open("/dev/null", O_RDONLY);
    if (input < 0 || ::dup2(input, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0
        || ::dup2(output, STDERR_FILENO) < 0)
        return;
    if (input > STDERR_FILENO)
        ::close(input);
    ::execve(executable, arguments, environment);
}

pid_t spawn(const fs::path& executable, const std::vector<std::string>& arguments, const Pipe& output)
{
    std::vector<std::string> words{executable.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const ChildEnvironment environment;
    Pipe failure; // Closed by a successful exec.
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeProgram(executable.c_str(), pointers.data(), environment.pointers(), output.writing(), parent);
        const int error = errno;
        [[maybe_unused]] const auto written = ::write(failure.writing(), &error, sizeof error);
        ::_exit(127);
    }
    int error = child < 0 ? errno : 0;
    failure.closeWriting();
    if (child > 0) {
        ::setpgid(child, child); // Parent and child both set it; the first one wins.
        ssize_t got = 0;
        do
            got = ::read(failure.reading(), &error, sizeof error);
        while (got < 0 && errno == EINTR);
        if (got == sizeof error)
            ::waitpid(child, nullptr, 0);
        else
            error = 0;
    }
    if (error != 0)
        throw fs::filesystem_error("spawn", executable, std::error_code(error, std::system_category()));
    return child;
}

/// Stops ignoring SIGCHLD: while it is ignored, the exit status of children is lost.
void hearOfChildren()
{
    struct sigaction present{};
    if (::sigaction(SIGCHLD, nullptr, &present) != 0)
        return;
    const bool isIgnored = present.sa_handler == SIG_IGN; // NOLINT(cppcoreguidelines-pro-type-union-access)
    if (!isIgnored && !(present.sa_flags & SA_NOCLDWAIT))
        return;
    present.sa_flags &= ~SA_NOCLDWAIT;
    if (isIgnored)
        present.sa_handler = SIG_DFL; // NOLINT(cppcoreguidelines-pro-type-union-access)
    ::sigaction(SIGCHLD, &present, nullptr);
}

/// Ends a child and its descendants when a stop is requested: first by SIGTERM, after a while by SIGKILL.
class StopWatch {
public:
    StopWatch(pid_t child, const std::stop_token& stop)
        : m_child(child)
        , m_callback(stop, [this] { requested(); })
    {
    }
    ~StopWatch() { waited(); }
    StopWatch(const StopWatch&) = delete;
    StopWatch& operator=(const StopWatch&) = delete;

    /// Call before reaping the child: afterwards its pid may belong to another process.
    void waited()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_gone = true;
        }
        m_changed.notify_all();
        if (m_killer.joinable())
            m_killer.join();
    }

private:
    void requested()
    {
        const std::lock_guard lock(m_mutex);
        if (m_gone)
            return;
        ::kill(-m_child, SIGTERM);
        m_killer = std::thread([this] {
            std::unique_lock waiting(m_mutex);
            if (!m_changed.wait_for(waiting, gracePeriod, [this] { return m_gone; }))
                ::kill(-m_child, SIGKILL);
        });
    }

    pid_t m_child;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_gone = false;
    std::thread m_killer;
    std::stop_callback<std::function<void()>> m_callback;
};

/// Reads the output of a child and keeps its end.
std::string collect(int descriptor, const ProgressCallback& onProgress, double duration)
{
    std::string output;
    std::array<char, chunkSize> chunk{};
    for (;;) {
        const ssize_t got = ::read(descriptor, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return output;
        const std::string_view text(chunk.data(), static_cast<std::size_t>(got));
        output += text;
        if (output.size() > outputLimit)
            output.erase(0, output.size() - outputKept);
        if (onProgress && duration > 0)
            reportProgress(text, duration, onProgress);
    }
}

/// Waits until the child has ended without reaping it, so that its pid stays valid.
void waitForEnd(pid_t child)
{
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) { }
}

/// The exit status of the child; a failure if it cannot be determined.
int reap(pid_t child)
{
    int status = 0;
    pid_t reaped = 0;
    do
        reaped = ::waitpid(child, &status, 0);
    while (reaped < 0 && errno == EINTR);
    return reaped == child ? status : SIGKILL;
}

} // namespace

fs::path bundlePath()
{
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    for (fs::path folder = executable.parent_path(); folder.has_relative_path(); folder = folder.parent_path()) {
        if (folder.extension() == ".app")
            return folder;
    }
    return executable.parent_path().parent_path() / "OrvoVideo.app";
}

std::optional<fs::path> ffmpeg()
{
    const std::array candidates{
        bundlePath() / "Contents/Helpers/ffmpeg",
        fs::path("/opt/homebrew/opt/ffmpeg-full/bin/ffmpeg"),
        fs::path("/opt/homebrew/bin/ffmpeg"),
        fs::path("/usr/local/bin/ffmpeg"),
    };
    const auto executable = [](const fs::path& file) {
        std::error_code unseen; // Inaccessible files are skipped.
        return fs::is_regular_file(file, unseen) && ::access(file.c_str(), X_OK) == 0;
    };
    const auto found = std::ranges::find_if(candidates, executable);
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

fs::path requireFfmpeg()
{
    if (auto program = ffmpeg())
        return *program;
    throw captureError("FFmpeg no está instalado.");
}

std::string requireUsable(const fs::path& ffmpeg)
{
    // The version of libavfilter identifies the release even where the program's own version is the name of a build: 10
    // came with FFmpeg 7.
    constexpr int minFilterLibrary = 10;
    constexpr std::string_view library = "libavfilter";

    std::string about;
    try {
        about = run(ffmpeg, {"-version"});
    } catch (const std::system_error& error) {
        throw captureError(std::format("FFmpeg no se puede ejecutar. {}", describe(error)));
    }
    const std::size_t line = about.find(library);
    if (line == std::string::npos)
        throw captureError(std::format("«{}» no es FFmpeg. Instala FFmpeg 7 o posterior.", ffmpeg.string()));
    const std::size_t digits = about.find_first_not_of(' ', line + library.size());
    int version = 0;
    if (digits != std::string::npos)
        std::from_chars(about.data() + digits, about.data() + about.size(), version);
    if (version < minFilterLibrary)
        throw captureError("La versión de FFmpeg instalada es demasiado antigua. Instala FFmpeg 7 o posterior.");
    return about;
}

std::string run(const fs::path& executable, const std::vector<std::string>& arguments, const ProgressCallback& onProgress,
    double duration, const std::stop_token& stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    hearOfChildren();
    Pipe pipe;
    const pid_t child = spawn(executable, arguments, pipe);
    pipe.closeWriting();

    std::string output;
    int status = 0;
    {
        // A throwing callback must not leave the child behind.
        struct Reaper {
            pid_t child;
            int* status;
            bool finished = false;
            ~Reaper()
            {
                if (!finished)
                    ::kill(-child, SIGKILL);
                *status = reap(child);
            }
        };
        Reaper reaper{.child = child, .status = &status};
        StopWatch watch(child, stop);
        output = collect(pipe.reading(), onProgress, duration);
        waitForEnd(child);
        reaper.finished = true;
        watch.waited();
    }
    if (stop.stop_requested())
        throw Cancelled();
    if (!isUtf8(output))
        output.clear();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return output;
    throw captureError(std::format("El proceso de vídeo falló: {}", lastCharacters(output, failureTail)));
}

bool succeeds(const fs::path& executable, const std::vector<std::string>& arguments, const std::stop_token& stop)
{
    try {
        run(executable, arguments, {}, 0, stop);
        return true;
    } catch (const Error&) {
        return false;
    }
}

} // namespace orvo::ProcessRunner
