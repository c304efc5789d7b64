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

namespace {

/// What /proc reports about a process.
struct ProcessState {
    char state = 0; ///< 'Z' and 'X' are processes that have ended but are not reaped yet.
    std::chrono::duration<double> age{}; ///< Since it started.

    /// Returns nullopt for a process that does not exist.
    static std::optional<ProcessState> of(std::int32_t process)
    {
        std::ifstream file(std::format("/proc/{}/stat", process));
        const std::string stat{std::istreambuf_iterator<char>(file), {}};
        // The name is in parentheses and may contain some itself. The state follows it; nineteen fields later comes the
        // start time, in ticks since boot.
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

/// Whether the number is the ID of a thread that is not the main thread of its process.
bool isThread(std::int32_t number)
{
    std::ifstream status(std::format("/proc/{}/status", number));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Tgid:"))
            return line.substr(line.find_first_of("123456789")) != std::to_string(number);
    }
    return false;
}

/// Whether the number of a dead recorder now belongs to another process or thread, as after a reboot. A recorder writes
/// every two seconds, so a process that started after the last write cannot be it.
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
