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

/// Reports changes by other programs in the library: project folders that appear or disappear, and written documents. Main
/// thread only. Misses changes on file systems that do not report them, such as most network ones.
class LibraryWatch : public QObject {
    Q_OBJECT
public:
    /// Watches the library in this folder, and projects that are added to it.
    explicit LibraryWatch(const std::filesystem::path& library);

    /// Returns a function that starts to watch all present projects. Call it on any thread (thousands take milliseconds),
    /// before reading the projects.
    std::function<void()> watchingProjects() const;

signals:
    /// Emitted shortly after projects have changed. Includes the program's own writes.
    void changed(const std::set<orvo::Uuid>& projects);

private:
    /// The watched project folders. Any thread.
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
        std::map<int, Uuid> m_byWatch; ///< Has each watch before its first event is read.
    };

    void read();

    const std::shared_ptr<Projects> m_projects;
    std::unique_ptr<QSocketNotifier> m_notifier;
    int m_libraryWatch = -1;
    std::set<Uuid> m_changed; ///< Not reported yet.
    QTimer m_settling; ///< Runs from a change until it is reported: a write may come in several parts.
};

} // namespace orvo
