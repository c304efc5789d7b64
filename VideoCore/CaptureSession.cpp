#include "OrvoVideo/CaptureSession.h"

#include "VideoCore/FileIO.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <csignal>
#include <limits>
#include <unistd.h>

namespace orvo::CaptureSession {

std::optional<std::int32_t> recordingProcess(const std::filesystem::path& projectFolder)
{
    std::string text;
    try {
        text = readFile(projectFolder / fileName);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    const auto value = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object().value(QLatin1String("pid"));
    const double number = value.toDouble(0);
    // 0 and negative numbers would stand for whole groups of processes.
    if (!(number >= 1) || number > std::numeric_limits<std::int32_t>::max() || number != std::trunc(number))
        return std::nullopt;
    return static_cast<std::int32_t>(number);
}

bool isMarkedRecording(const VideoProject& project)
{
    return project.state.starts_with(ProjectState::recording);
}

bool isAlive(std::optional<std::int32_t> process, bool thisProcessRecords)
{
    if (!process || ::kill(*process, 0) != 0)
        return false;
    return *process != ::getpid() || thisProcessRecords;
}

std::string_view interruptedState(std::string_view state)
{
    return state == ProjectState::recordingTab ? ProjectState::recoverableTab : ProjectState::needsRecovery;
}

} // namespace orvo::CaptureSession
