#pragma once

#include "OrvoVideo/model/Answer.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/model/lists/SourceModel.h"
#include "Platform/desktop/WindowSystem.h"
#include "Platform/portal/ScreenCast.h"

#include <QCoroTask>
#include <QImage>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>

namespace orvo {

/// The source of the next recording: a display, a window or a region of a display. Main thread only; never blocks.
///
/// On X11 this lists the sources. On Wayland the user chooses in the desktop's own picker: there is no source before the
/// choice and one afterwards.
class CaptureChoice : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString mode READ mode WRITE setMode NOTIFY modeChanged)
    Q_PROPERTY(orvo::SourceModel* sources READ sources CONSTANT)
    Q_PROPERTY(QString sourceID READ sourceID WRITE setSourceID NOTIFY sourceIDChanged)
    Q_PROPERTY(QString sourceError READ sourceError NOTIFY sourceErrorChanged)
    Q_PROPERTY(bool desktopChooses READ desktopChooses CONSTANT)
    Q_PROPERTY(QString remembered READ remembered NOTIFY rememberedChanged)
    Q_PROPERTY(QString pointerNote READ pointerNote NOTIFY pointerNoteChanged)
public:
    /// `pressesSeen`: whether this system reports pointer presses in other applications.
    CaptureChoice(WindowSystem system, std::unique_ptr<ScreenCast> screenCast, bool pressesSeen, QObject* parent = nullptr);
    ~CaptureChoice() override;

    enum class Mode : std::uint8_t { screen, window, region, tab };

    /// The mode decides which sources `loadSources` lists (a tab has none).
    Mode captureMode() const { return m_mode; }
    void setCaptureMode(Mode mode);

    /// As text: "screen", "window", "region" or "tab"; anything else is "screen".
    QString mode() const;
    void setMode(const QString& mode);

    SourceModel* sources() { return &m_sources; }

    /// The identifier of the chosen source; empty without one.
    QString sourceID() const { return m_sourceID; }
    void setSourceID(const QString& id);

    /// The reason why there are no sources; empty if listing succeeded.
    QString sourceError() const { return m_sourceError; }

    /// Whether the desktop's own picker chooses the source.
    bool desktopChooses() const { return m_system == WindowSystem::wayland; }

    /// The label of the source that the desktop shares again without asking, unless the user chooses another. Empty if the
    /// desktop will ask.
    QString remembered() const;

    /// A frame of the shared source, so that the user recognises it. Null while nothing is shared or no frame has arrived.
    const QImage& frame() const { return m_frame; }

    static QImage imageOf(const SourceFrame& taken);

    /// Explains to the user what cannot be recorded of the pointer here; empty without limitations.
    QString pointerNote() const;

    /// Lists the sources of the mode again. Keeps the chosen source if it is still there, else chooses the first.
    Q_INVOKABLE void loadSources();

    /// Opens the desktop's picker, if `desktopChooses`.
    Q_INVOKABLE void choose();

    /// The chosen source in its present state, for a recording that begins now. If the desktop chooses and has shared
    /// nothing yet, asks the desktop, which shares the remembered source without asking the user. Returns nullopt without a
    /// source. Throws `Cancelled` when stopped, after withdrawing the request.
    QCoro::Task<std::optional<CaptureSource>> sourceForRecording(std::stop_token stop = {});

    /// Ends the sharing, or withdraws the request for it. A shared source can be recorded once.
    Q_INVOKABLE void release();

    /// Ends all pending work; `sourceForRecording` resumes with nullopt. Call nothing afterwards.
    void shutDown();

signals:
    void modeChanged();
    void sourceIDChanged();
    void sourceErrorChanged();
    void pointerNoteChanged();
    void rememberedChanged();
    /// The desktop has ended the sharing.
    void revoked();

private:
    enum class Remembered : std::uint8_t { used, ignored };

    QCoro::Task<> list();
    QCoro::Task<> ask(Remembered remembered);
    QCoro::Task<> measure(CaptureSource source, bool isMonitor);
    void remember(const QString& token, const QString& label);
    void show(std::vector<CaptureSource> sources, const QString& error, const QImage& frame = {});
    void setSourceError(const QString& error);

    const WindowSystem m_system;
    const std::unique_ptr<ScreenCast> m_screenCast;
    const bool m_pressesSeen;

    Mode m_mode = Mode::screen;
    SourceModel m_sources;
    QString m_sourceID;
    QString m_sourceError;
    QImage m_frame; ///< The first frame of the only source, if `desktopChooses`.
    std::stop_source m_looking; ///< Stops the wait for a first frame.
    std::uint64_t m_listing = 0; ///< Counts replacements of the sources, so that a superseded listing ends.
    Answer<ScreenCast::Outcome> m_asking; ///< The reply to the pending request to the desktop.
    Workers m_workers;
};

} // namespace orvo
