#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <filesystem>

namespace orvo {

/// Reports changes of a project document by other programs. Main thread only.
class DocumentWatch : public QObject {
    Q_OBJECT
public:
    DocumentWatch();

    /// Watches only the document in this folder. A replaced document is no longer watched, so call this after each save.
    void watch(const std::filesystem::path& projectFolder);

signals:
    /// Emitted shortly after a change, because a write may come in several parts. Includes the program's own writes.
    void changed();

private:
    QTimer m_settling; ///< Runs from a change until it is reported.
    QFileSystemWatcher m_watcher;
};

} // namespace orvo
