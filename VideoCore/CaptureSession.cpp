#include "VideoCore/CaptureSession.h"

#include "VideoCore/FileIO.h"

#include <csignal>
#include <format>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
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

std::optional<std::int32_t> recordingProcess(const std::filesystem::path& projectFolder)
{
    try {
        return processIn(readFile(projectFolder / fileName));
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

namespace {

/// Whether a process has ended and only waits for its parent to ask how.
bool hasEnded(std::int32_t process)
{
    std::ifstream file(std::format("/proc/{}/stat", process));
    const std::string stat{std::istreambuf_iterator<char>(file), {}};
    // The state follows the name, which is in parentheses and may hold some itself.
    const auto name = stat.rfind(')');
    return name != std::string::npos && name + 2 < stat.size() && (stat[name + 2] == 'Z' || stat[name + 2] == 'X');
}

} // namespace

bool isAlive(std::optional<std::int32_t> process, bool thisProcessRecords)
{
    if (!process || ::kill(*process, 0) != 0 || hasEnded(*process))
        return false;
    return *process != ::getpid() || thisProcessRecords;
}

std::string_view interruptedState(std::string_view state)
{
    return state == ProjectState::recordingTab ? ProjectState::recoverableTab : ProjectState::needsRecovery;
}

} // namespace orvo::CaptureSession
