#pragma once

#include "VideoCore/UniqueFd.h"
#include "VideoCore/Uuid.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

namespace orvo {

/// Notices what other programs change in the library: folders of projects that come and go, and documents that are written.
/// Main thread only. A file system that reports no changes, as most network ones do, has none to notice.
class LibraryWatch : public QObject {
    Q_OBJECT
public:
    /// Watches the library in this folder from now on.
    explicit LibraryWatch(std::filesystem::path library);

signals:
    /// Some projects have changed, a moment ago. The program's own writes are reported too.
    void changed(const std::set<orvo::Uuid>& projects);

private:
    void watchProjects();
    void watchProject(const Uuid& id);
    void read();

    const std::filesystem::path m_library;
    UniqueFd m_inotify;
    std::unique_ptr<QSocketNotifier> m_notifier;
    int m_libraryWatch = -1;
    std::map<int, Uuid> m_projects; ///< By watch.
    std::set<Uuid> m_changed; ///< Not reported yet.
    QTimer m_settling; ///< Runs from a change until it is reported: a write may come in several parts.
};

} // namespace orvo
