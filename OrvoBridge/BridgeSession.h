#pragma once

#include "OrvoBridge/Messages.h"
#include "OrvoBridge/TabRecording.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::bridge {

/// The session with one browser: handles messages, records, and replies. Trusts no input.
class BridgeSession {
public:
    /// Sends one reply to the browser.
    using Answer = std::function<void(const std::string&)>;
    /// Notifies the applications of the user's session; see Notifications.h.
    using Notify = std::function<void(std::string_view name)>;

    /// Starts the application on a project, or brings it to the front. Throws what the start throws.
    using OpenProject = std::function<void(const Uuid& project)>;

    /// `libraryRoot` replaces the default library. The library is opened when the first recording starts. Without
    /// `openProject`, none is opened.
    BridgeSession(
        std::optional<std::filesystem::path> libraryRoot, Answer answer, Notify notify, OpenProject openProject = {});
    ~BridgeSession();

    /// Handles one message. Replies with every error; never throws.
    void receive(std::string_view message) noexcept;

    /// When `tick` is due; nullopt while nothing is recorded.
    std::optional<std::chrono::steady_clock::time_point> nextTick() const noexcept;

    /// Makes a checkpoint of the recording, and ends it if the disk is nearly full.
    void tick() noexcept;

    /// The browser is gone or violates the protocol: keeps what is recorded. Call no other function afterwards.
    void end() noexcept;

private:
    void handle(const Hello& hello);
    void handle(const Start& start);
    void handle(const Chunk& chunk);
    void handle(const Starts& starts);
    void handle(Pointer pointer);
    void handle(const Progress& progress);
    void handle(const Stop& stop);
    void handle(const Open& open);

    void requireRoom() const;
    TabRecording& recording();
    void give(Failure failure, std::string_view detail) noexcept;
    void interrupt() noexcept;
    void guarded(const std::function<void()>& action) noexcept;

    std::optional<std::filesystem::path> m_libraryRoot;
    Answer m_answer;
    Notify m_notify;
    OpenProject m_openProject;
    std::optional<ProjectStore> m_store;
    std::optional<TabRecording> m_recording;
};

} // namespace orvo::bridge
