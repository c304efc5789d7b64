#include "OrvoVideo/AppModel.h"
#include "VideoCore/Error.h"
#include "VideoMedia/ProcessRunner.h"

namespace orvo {

bool AppModel::ffmpegAvailable() const
{
    return ProcessRunner::ffmpeg().has_value();
}

void AppModel::openProjectsFolder()
{
    m_services.workspace->openFolder(store().root());
}

void AppModel::openModelFolder()
{
    const auto folder = SpeechModels::folder();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        setErrorMessage(QString::fromStdString(describe(std::filesystem::filesystem_error("create", folder, error))));
    else
        m_services.workspace->openFolder(folder);
}

} // namespace orvo
