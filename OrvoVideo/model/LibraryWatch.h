#pragma once

#include "VideoCore/UniqueFd.h"
#include "VideoCore/Uuid.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

namespace orvo {

/// Notices what other programs change in the library: folders of projects that come and go, and documents that are written.
/// Main thread only. A file system that reports no changes, as most network ones do, has none to notice.
class LibraryWatch : public QObject {
    Q_OBJECT
public:
    /// Watches the library in this folder from now on, and projects that come into it.
    explicit LibraryWatch(const std::filesystem::path& library);

    /// Has the projects watched that are there when it is called. Thousands take milliseconds: call it on any thread, before
    /// they are read.
    std::function<void()> watchingProjects() const;

signals:
    /// Some projects have changed, a moment ago. The program's own writes are reported too.
    void changed(const std::set<orvo::Uuid>& projects);

private:
    /// The folders of projects that are watched. Any thread.
    class Projects {
    public:
        explicit Projects(std::filesystem::path library);

        int inotify() const { return m_inotify.get(); }
        void add(const Uuid& id);
        void addAll();
        std::optional<Uuid> watchedBy(int watch) const;
        void forget(int watch);

    private:
        const std::filesystem::path m_library;
        const UniqueFd m_inotify;
        mutable std::mutex m_mutex;
        std::map<int, Uuid> m_byWatch; ///< Holds each watch before its first event is read.
    };

    void read();

    const std::shared_ptr<Projects> m_projects;
    std::unique_ptr<QSocketNotifier> m_notifier;
    int m_libraryWatch = -1;
    std::set<Uuid> m_changed; ///< Not reported yet.
    QTimer m_settling; ///< Runs from a change until it is reported: a write may come in several parts.
};

} // namespace orvo
