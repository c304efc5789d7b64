#include "OrvoVideo/model/DocumentWatch.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/ProjectStore.h"

#include <QStringList>

namespace orvo {

DocumentWatch::DocumentWatch()
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(200);
    connect(&m_settling, &QTimer::timeout, this, &DocumentWatch::changed);
    const auto settle = [this] { m_settling.start(); };
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, settle);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, settle);
}

void DocumentWatch::watch(const std::filesystem::path& projectFolder)
{
    const QStringList wanted{Text::from(projectFolder), Text::from(projectFolder / ProjectStore::documentName)};
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    for (const auto& path : watched) {
        if (!wanted.contains(path))
            m_watcher.removePath(path);
    }
    for (const auto& path : wanted) {
        if (!watched.contains(path))
            m_watcher.addPath(path);
    }
}

} // namespace orvo
