#pragma once

#include <functional>
#include <memory>
#include <string_view>

/// Notifications between the programs of a user's session: one signal on the session bus that carries a name. Names
/// contain dots and hyphens, which D-Bus members may not, so all of them share one signal.
namespace orvo {

namespace notification {

inline constexpr std::string_view tabStarted = "es.orvo.video.tab-started";
inline constexpr std::string_view tabFinished = "es.orvo.video.tab-finished";
inline constexpr std::string_view extensionConnected = "es.orvo.video.extension-connected";

inline constexpr const char* path = "/es/orvo/video";
inline constexpr const char* interface = "es.orvo.video.Notifications";
inline constexpr const char* member = "Posted";

/// Sends a notification to all observers. Blocks for at most a second; does nothing without a session bus. Needs no Qt.
void post(std::string_view name) noexcept;

} // namespace notification

/// Receives the notifications. Main thread only.
class NotificationObserver {
public:
    /// Calls `heard` on the main thread with the name of every notification; never without a session bus.
    static std::unique_ptr<NotificationObserver> create(std::function<void(std::string_view)> heard);

    virtual ~NotificationObserver() = default;
};

} // namespace orvo
