#pragma once

#include "OrvoBridge/Messages.h"
#include "OrvoBridge/TabRecording.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::bridge {

/// The conversation with one browser: takes messages, records, and answers. Trusts nothing that comes in.
class BridgeSession {
public:
    /// Takes one answer for the browser.
    using Answer = std::function<void(const std::string&)>;
    /// Tells the applications of the session, see Notifications.h.
    using Notify = std::function<void(std::string_view name)>;

    /// Opens the library when the first recording begins, in `libraryRoot` or in its usual place.
    BridgeSession(std::optional<std::filesystem::path> libraryRoot, Answer answer, Notify notify);
    ~BridgeSession();

    /// Deals with one message; everything that goes wrong is answered. Never throws.
    void receive(std::string_view message) noexcept;

    /// Brings the recording's document up to date. To be called every two seconds.
    void tick() noexcept;

    /// The browser is gone or speaks nonsense: what is recorded by now is kept. Nothing more may be called.
    void end() noexcept;

    bool isRecording() const noexcept { return m_recording.has_value(); }

private:
    void handle(const Hello& hello);
    void handle(const Start& start);
    void handle(const Chunk& chunk);
    void handle(const Starts& starts);
    void handle(Pointer pointer);
    void handle(const Progress& progress);
    void handle(const Stop& stop);

    void requireRoom() const;
    TabRecording& recording();
    void give(Failure failure, std::string_view detail) noexcept;
    void interrupt() noexcept;
    void guarded(const std::function<void()>& action) noexcept;

    std::optional<std::filesystem::path> m_libraryRoot;
    Answer m_answer;
    Notify m_notify;
    std::optional<ProjectStore> m_store;
    std::optional<TabRecording> m_recording;
};

} // namespace orvo::bridge
