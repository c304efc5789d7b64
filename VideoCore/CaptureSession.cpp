#include "VideoCore/CaptureSession.h"

#include "VideoCore/FileIO.h"

#include <chrono>
#include <csignal>
#include <format>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <unistd.h>
#include <yyjson.h>

namespace orvo::CaptureSession {

void mark(const std::filesystem::path& projectFolder)
{
    writeFileAtomically(projectFolder / fileName, textFor(::getpid()));
}

void unmark(const std::filesystem::path& projectFolder) noexcept
{
    std::error_code ignored;
    std::filesystem::remove(projectFolder / fileName, ignored);
}

bool hasRoom(const std::filesystem::path& folder) noexcept
{
    constexpr std::uintmax_t leastRoom = std::uintmax_t{48} << 20; // Bytes.
    std::error_code error;
    const auto space = std::filesystem::space(folder, error);
    return error || space.available >= leastRoom;
}

namespace {

/// What the system tells of a process.
struct ProcessState {
    char state = 0; ///< 'Z' and 'X' of one that has ended and only waits for its parent to ask how.
    std::chrono::duration<double> age{}; ///< Since it began.

    /// Nothing where the system tells nothing, as of a process that is not there.
    static std::optional<ProcessState> of(std::int32_t process)
    {
        std::ifstream file(std::format("/proc/{}/stat", process));
        const std::string stat{std::istreambuf_iterator<char>(file), {}};
        // The others follow the name, which is in parentheses and may hold some itself: the state first, nineteen numbers
        // behind it the beginning, in ticks since the machine was started.
        const auto name = stat.rfind(')');
        if (name == std::string::npos)
            return std::nullopt;
        std::istringstream fields(stat.substr(name + 1));
        ProcessState result;
        std::string skipped;
        double began = 0;
        fields >> result.state;
        for (int i = 0; i < 18; ++i)
            fields >> skipped;
        timespec now{};
        if (!(fields >> began) || ::clock_gettime(CLOCK_BOOTTIME, &now) != 0)
            return std::nullopt;
        const double seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
        result.age = std::chrono::duration<double>(seconds - began / static_cast<double>(::sysconf(_SC_CLK_TCK)));
        return result;
    }

    bool hasEnded() const { return state == 'Z' || state == 'X'; }
};

/// Whether the number is that of a thread of some process.
bool isThread(std::int32_t number)
{
    std::ifstream status(std::format("/proc/{}/status", number));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Tgid:"))
            return line.substr(line.find_first_of("123456789")) != std::to_string(number);
    }
    return false;
}

/// Whether somebody else has the number of a recorder that was cut off, as after a start of the machine: a thread, or
/// a process that began when nothing was written to the recording any more. Who records writes every two seconds.
bool isSomebodyElse(std::int32_t process, const std::filesystem::path& projectFolder)
{
    constexpr std::chrono::seconds tolerance(10);
    if (process == ::getpid())
        return false;
    if (isThread(process))
        return true;
    const auto facts = ProcessState::of(process);
    std::error_code unknown;
    const auto written = std::filesystem::last_write_time(projectFolder / ProjectStore::documentName, unknown);
    return facts && !unknown && std::filesystem::file_time_type::clock::now() - written > facts->age + tolerance;
}

} // namespace

std::optional<std::int32_t> recordingProcess(const std::filesystem::path& projectFolder)
{
    try {
        const auto process = processIn(readFile(projectFolder / fileName));
        return process && isSomebodyElse(*process, projectFolder) ? std::nullopt : process;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<std::int32_t> processIn(std::string_view session)
{
    const std::unique_ptr<yyjson_doc, void (*)(yyjson_doc*)> parsed(
        yyjson_read(session.data(), session.size(), 0), yyjson_doc_free);
    yyjson_val* number = yyjson_obj_get(yyjson_doc_get_root(parsed.get()), "pid");
    if (!yyjson_is_uint(number))
        return std::nullopt;
    const std::uint64_t process = yyjson_get_uint(number);
    if (process == 0 || process > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return static_cast<std::int32_t>(process);
}

std::string textFor(std::int32_t process)
{
    return std::format("{{\"pid\":{}}}\n", process);
}

bool isMarkedRecording(const VideoProject& project)
{
    return project.state.starts_with(ProjectState::recording);
}

bool isAlive(std::optional<std::int32_t> process, bool thisProcessRecords)
{
    if (!process || ::kill(*process, 0) != 0)
        return false;
    if (const auto facts = ProcessState::of(*process); facts && facts->hasEnded())
        return false;
    return *process != ::getpid() || thisProcessRecords;
}

std::string_view interruptedState(std::string_view state)
{
    return state == ProjectState::recordingTab ? ProjectState::recoverableTab : ProjectState::needsRecovery;
}

} // namespace orvo::CaptureSession
