#pragma once

#include "Platform/portal/PortalSession.h"
#include "VideoCore/Geometry.h"
#include "VideoCore/UniqueFd.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// A display or window that the desktop shares; the user chooses it in the desktop's own picker. Main thread only.
///
///              open            granted
///     Closed ────────► Asking ─────────► Shared
///       ▲                │                 │
///       │  not granted,  │                 │
///       │   or close     │                 │ close, or the user ends it
///       └────────────────┴─────────────────┘
///
/// `open` closes first. `done` and `revoked` are called in the new state.
///
/// The source stays shared until `close`, the destructor, or until the user ends it in the desktop, which `revoked`
/// reports.
class ScreenCast final : public QObject {
    Q_OBJECT
public:
    enum class Kind : std::uint8_t { monitor = 1, window = 2 };

    /// The shared source.
    struct Stream {
        int remote = -1; ///< File descriptor of the PipeWire connection; owned by the `ScreenCast`, valid while the
                         ///< source is shared.
        std::uint32_t node = 0; ///< PipeWire node in that connection.
        Kind kind = Kind::monitor;
        Rect rect; ///< Position and size as reported by the desktop; 0 if unknown: then use the size of the first frame.
        bool placed = false; ///< Whether the desktop reported the position.
        /// Whether frames carry the pointer's position. Otherwise it is unknown.
        bool tellsPointer = false;
        /// Shares the same source again without asking, once. Empty when the desktop does not remember sources.
        QString restoreToken;
    };

    struct Outcome {
        std::optional<Stream> stream;
        /// Why there is no stream, in Spanish; empty when the user closed the picker.
        QString error;
    };

    explicit ScreenCast(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~ScreenCast() override;

    /// Asks the user for a source of this kind, or shares that of an earlier `restoreToken` at once. Calls `done` once,
    /// unless `open` or `close` is called first. Ends an earlier share.
    ///
    /// Frames do not contain the cursor.
    void open(Kind kind, const QString& restoreToken, std::function<void(Outcome)> done);

    /// Ends the share.
    void close();

    const std::optional<Stream>& stream() const noexcept { return m_stream; }

    /// The error text for a desktop that cannot share screens.
    static QString unavailableText();
    /// The error text for a source that the user stopped sharing.
    static QString revokedText();

signals:
    /// The desktop ended the share.
    void revoked();

private:
    struct Asked;

    void askFacts();
    void begin();
    void selectSources();
    void start();
    void openRemote(Stream stream);
    void end(Outcome outcome);
    void failWith(const Portal::Answer& answer);

    QDBusConnection m_bus;
    std::unique_ptr<Asked> m_asked; ///< Set while a request is pending.
    std::unique_ptr<PortalSession> m_session;
    UniqueFd m_remote; ///< The stream's PipeWire connection.
    std::optional<Stream> m_stream;
};

} // namespace orvo
