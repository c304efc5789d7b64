#pragma once

#include "Platform/portal/PortalSession.h"
#include "VideoCore/Geometry.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orvo {

/// A display or a window that the desktop shares, chosen by the user in the desktop's own picker. Main thread only.
///
/// What is shared stays shared until `close`, the end of this object, or until the user ends it in the desktop, which is
/// told by `revoked`.
class ScreenCast final : public QObject {
    Q_OBJECT
public:
    enum class Kind : std::uint8_t { monitor = 1, window = 2 };

    /// What is shared.
    struct Stream {
        int remote = -1; ///< The connection to PipeWire; belongs to the `ScreenCast` and lives as long as the sharing.
        std::uint32_t node = 0; ///< In that connection.
        Kind kind = Kind::monitor;
        Rect rect; ///< Where it lies and its size as the desktop says, else 0: the first frame tells the size.
        bool placed = false; ///< Whether the desktop has said where it lies.
        /// Whether the places of the pointer come along with the frames. Otherwise nothing tells them.
        bool tellsPointer = false;
        /// Shares the same again without asking, once. Empty where the desktop does not remember.
        QString restoreToken;
    };

    struct Outcome {
        std::optional<Stream> stream;
        /// Why there is none; empty when the user has closed the picker.
        QString error;
    };

    explicit ScreenCast(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~ScreenCast() override;

    /// Has the user choose a source of this kind, or shares that of an earlier `restoreToken` at once. `done` is called
    /// once, unless `open` or `close` is called before. What was shared before is given up first.
    ///
    /// The cursor is not in the frames.
    void open(Kind kind, const QString& restoreToken, std::function<void(Outcome)> done);

    /// Ends the sharing.
    void close();

    const std::optional<Stream>& stream() const noexcept { return m_stream; }

    /// The text for a desktop that shares no screens.
    static QString unavailableText();
    /// The text for a source that the user has taken back while it was shared.
    static QString revokedText();

signals:
    /// The desktop has ended the sharing.
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
    std::unique_ptr<Asked> m_asked; ///< While the desktop has not answered.
    std::unique_ptr<PortalSession> m_session;
    std::optional<Stream> m_stream;
};

} // namespace orvo
