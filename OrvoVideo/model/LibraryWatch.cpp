#include "OrvoVideo/model/LibraryWatch.h"

#include "VideoCore/ProjectStore.h"

#include <array>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace orvo {

namespace fs = std::filesystem;

namespace {

std::optional<Uuid> projectNamed(std::string_view name)
{
    const auto id = Uuid::parse(name);
    return id && id->text() == name ? id : std::nullopt;
}

} // namespace

LibraryWatch::Projects::Projects(fs::path library)
    : m_library(std::move(library))
    , m_inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
}

void LibraryWatch::Projects::add(const Uuid& id)
{
    const auto folder = m_library / id.text();
    const std::scoped_lock lock(m_mutex);
    const int watch = ::inotify_add_watch(
        m_inotify.get(), folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR);
    if (watch >= 0)
        m_byWatch.insert_or_assign(watch, id);
}

void LibraryWatch::Projects::addAll()
{
    std::error_code error;
    for (fs::directory_iterator entry(m_library, error), end; !error && entry != end; entry.increment(error)) {
        if (const auto id = projectNamed(entry->path().filename().native()))
            add(*id);
    }
}

std::optional<Uuid> LibraryWatch::Projects::watchedBy(int watch) const
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_byWatch.find(watch);
    return found == m_byWatch.end() ? std::nullopt : std::optional(found->second);
}

void LibraryWatch::Projects::forget(int watch)
{
    const std::scoped_lock lock(m_mutex);
    m_byWatch.erase(watch);
}

LibraryWatch::LibraryWatch(const fs::path& library)
    : m_projects(std::make_shared<Projects>(library))
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(200);
    connect(&m_settling, &QTimer::timeout, this, [this] { emit changed(std::exchange(m_changed, {})); });
    const int inotify = m_projects->inotify();
    if (inotify < 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(inotify, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &LibraryWatch::read);
    m_libraryWatch =
        ::inotify_add_watch(inotify, library.c_str(), IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR);
}

std::function<void()> LibraryWatch::watchingProjects() const
{
    return [projects = m_projects] { projects->addAll(); };
}

void LibraryWatch::read()
{
    alignas(inotify_event) std::array<char, std::size_t{16} * 1024> buffer{};
    for (;;) {
        const ssize_t got = ::read(m_projects->inotify(), buffer.data(), buffer.size());
        if (got <= 0)
            break;
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += sizeof(inotify_event) + event->len;
            const std::string_view name = event->len > 0 ? std::string_view(event->name) : std::string_view();
            if ((event->mask & IN_IGNORED) != 0) {
                m_projects->forget(event->wd);
            } else if (event->wd == m_libraryWatch) {
                const auto id = projectNamed(name);
                if (!id)
                    continue;
                if ((event->mask & (IN_CREATE | IN_MOVED_TO)) != 0)
                    m_projects->add(*id);
                m_changed.insert(*id);
            } else if (name == ProjectStore::documentName) {
                if (const auto project = m_projects->watchedBy(event->wd))
                    m_changed.insert(*project);
            }
        }
    }
    if (!m_changed.empty())
        m_settling.start();
}

} // namespace orvo
