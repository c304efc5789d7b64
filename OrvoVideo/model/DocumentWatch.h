#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <filesystem>

namespace orvo {

/// Notices when another program changes the document of a project. Main thread only.
class DocumentWatch : public QObject {
    Q_OBJECT
public:
    DocumentWatch();

    /// Watches the document in this folder and nothing else. A document that is replaced is no longer watched, so this is
    /// called after each save.
    void watch(const std::filesystem::path& projectFolder);

signals:
    /// Something has changed, a moment ago: a write may come in several parts. The program's own writes are reported too.
    void changed();

private:
    QTimer m_settling; ///< Runs from a change until it is reported.
    QFileSystemWatcher m_watcher;
};

} // namespace orvo
