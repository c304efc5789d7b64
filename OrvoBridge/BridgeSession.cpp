#include "OrvoBridge/BridgeSession.h"

#include "Platform/notifications/Notifications.h"
#include "VideoCore/Error.h"
#include "VideoCore/ExtensionMark.h"
#include "VideoCore/RecordedProject.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace orvo::bridge {

namespace {

Failure failureOf(const std::system_error& error)
{
    const bool full = error.code() == std::errc::no_space_on_device || error.code().value() == EDQUOT
        || error.code() == std::errc::file_too_large;
    return full ? Failure::disk : Failure::library;
}

} // namespace

BridgeSession::BridgeSession(
    std::optional<std::filesystem::path> libraryRoot, Answer answer, Notify notify, OpenProject openProject)
    : m_libraryRoot(std::move(libraryRoot))
    , m_answer(std::move(answer))
    , m_notify(std::move(notify))
    , m_openProject(std::move(openProject))
{
}

BridgeSession::~BridgeSession()
{
    end();
}

void BridgeSession::receive(std::string_view message) noexcept
{
    guarded([&] { std::visit([this](auto&& what) { handle(std::forward<decltype(what)>(what)); }, parseMessage(message)); });
}

std::optional<std::chrono::steady_clock::time_point> BridgeSession::nextTick() const noexcept
{
    return m_recording ? std::optional(m_recording->nextCheckpoint()) : std::nullopt;
}

void BridgeSession::tick() noexcept
{
    guarded([this] {
        if (!m_recording)
            return;
        m_recording->checkpoint();
        requireRoom();
    });
}

void BridgeSession::end() noexcept
{
    interrupt();
}

void BridgeSession::handle(const Hello&)
{
    m_answer(answer::hello());
    if (ExtensionMark::leave())
        m_notify(notification::extensionConnected);
}

void BridgeSession::handle(const Start& start)
{
    if (m_recording) {
        give(Failure::busy, "Ya se está grabando una pestaña.");
        return;
    }
    if (!m_store)
        m_store.emplace(m_libraryRoot);
    requireRoom();
    m_recording.emplace(*m_store, start);
    m_answer(answer::started(m_recording->id()));
    m_notify(notification::tabStarted);
}

void BridgeSession::handle(const Chunk& chunk)
{
    recording().write(chunk);
    m_answer(answer::written(chunk.track, chunk.sequence));
}

void BridgeSession::handle(const Starts& starts)
{
    recording().setStarts(starts);
}

void BridgeSession::handle(Pointer pointer)
{
    recording().add(std::move(pointer));
}

void BridgeSession::handle(const Progress& progress)
{
    recording().setDuration(progress.seconds);
}

void BridgeSession::handle(const Stop& stop)
{
    recording().setDuration(stop.seconds);
    recording().finish();
    const Uuid id = m_recording->id();
    m_recording.reset();
    m_answer(answer::finished(id));
    m_notify(notification::tabFinished);
}

void BridgeSession::handle(const Open& open)
{
    // A project that cannot be opened must not end a recording.
    try {
        if (!m_store)
            m_store.emplace(m_libraryRoot);
        m_store->load(open.project);
        if (m_openProject)
            m_openProject(open.project);
    } catch (const std::exception& error) {
        give(Failure::library, describe(error));
        return;
    }
    m_answer(answer::opened(open.project));
}

void BridgeSession::requireRoom() const
{
    if (!RecordedProject::hasRoom(*m_store))
        throw std::system_error(std::make_error_code(std::errc::no_space_on_device));
}

TabRecording& BridgeSession::recording()
{
    if (!m_recording)
        throw ProtocolError("nothing is being recorded");
    return *m_recording;
}

void BridgeSession::give(Failure failure, std::string_view detail) noexcept
{
    try {
        m_answer(answer::failed(failure, detail));
    } catch (const std::exception&) {
        // The browser sees that the helper ends.
    }
}

void BridgeSession::interrupt() noexcept
{
    if (!m_recording)
        return;
    m_recording.reset();
    m_notify(notification::tabFinished);
}

/// Runs `action`. After any error, interrupts the recording, which keeps its data, and reports the failure.
void BridgeSession::guarded(const std::function<void()>& action) noexcept
{
    try {
        action();
    } catch (const ProtocolError& error) {
        interrupt();
        give(Failure::protocol, error.what());
    } catch (const std::system_error& error) {
        interrupt();
        give(failureOf(error), describe(error));
    } catch (const std::exception& error) {
        interrupt();
        give(Failure::library, describe(error));
    }
}

} // namespace orvo::bridge
