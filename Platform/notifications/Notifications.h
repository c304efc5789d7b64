#pragma once

#include <functional>
#include <memory>
#include <string_view>

/// Notifications between the programs of one user's session: a signal on the session bus that carries a name. Names hold
/// dots and hyphens, which members of the bus cannot; so there is one signal for all.
namespace orvo {

namespace notification {

inline constexpr std::string_view tabStarted = "es.orvo.video.tab-started";
inline constexpr std::string_view tabFinished = "es.orvo.video.tab-finished";

inline constexpr const char* path = "/es/orvo/video";
inline constexpr const char* interface = "es.orvo.video.Notifications";
inline constexpr const char* member = "Posted";

/// Tells everyone who listens. Blocks for a second at most; without a session bus nobody does. Needs no Qt.
void post(std::string_view name) noexcept;

} // namespace notification

/// Hears the notifications. An object of the main thread.
class NotificationObserver {
public:
    /// Calls `heard` on the main thread with the name of every notification. Without a session bus none comes.
    static std::unique_ptr<NotificationObserver> create(std::function<void(std::string_view)> heard);

    virtual ~NotificationObserver() = default;
};

} // namespace orvo
