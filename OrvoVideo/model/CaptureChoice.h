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

/// What the next recording is to show: a display, a window, or a part of a display. Main thread only; nothing waits.
///
/// On X11 the sources are listed here. On Wayland the desktop's own picker chooses, so that there is one source once the
/// user has chosen, and none before.
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
    /// `pressesSeen`: whether presses of the pointer in other applications are noticed on this system.
    CaptureChoice(WindowSystem system, std::unique_ptr<ScreenCast> screenCast, bool pressesSeen, QObject* parent = nullptr);
    ~CaptureChoice() override;

    enum class Mode : std::uint8_t { screen, window, region, tab };

    /// The sources are those of the mode (a tab has none): `loadSources` lists them.
    Mode captureMode() const { return m_mode; }
    void setCaptureMode(Mode mode);

    /// As text: "screen", "window", "region" or "tab"; anything else is "screen".
    QString mode() const;
    void setMode(const QString& mode);

    SourceModel* sources() { return &m_sources; }

    /// The identifier of the chosen source; empty when there is none.
    QString sourceID() const { return m_sourceID; }
    void setSourceID(const QString& id);

    /// Why there are no sources; empty when they could be listed.
    QString sourceError() const { return m_sourceError; }

    /// Whether the desktop's own picker chooses the source.
    bool desktopChooses() const { return m_system == WindowSystem::wayland; }

    /// The label of what the desktop shares again, without asking, when nothing else is chosen before a recording. Empty
    /// when the desktop will ask.
    QString remembered() const;

    /// A frame of what the desktop shares, for people to recognise it. Null while nothing is shared or no frame came.
    const QImage& frame() const { return m_frame; }

    static QImage imageOf(const SourceFrame& taken);

    /// What of the pointer cannot be recorded here, for the user; empty when everything can.
    QString pointerNote() const;

    /// Lists the sources of the mode again. The chosen one stays while it is there, else the first is.
    Q_INVOKABLE void loadSources();

    /// Has the user choose in the desktop's picker, where that chooses.
    Q_INVOKABLE void choose();

    /// The chosen source for a recording that begins now, as it is now. Where the desktop chooses and nothing is chosen,
    /// it is asked: it shares what it shared last without asking the user, where it remembers. Nothing when there is none.
    /// Throws `Cancelled` when it was stopped meanwhile, which takes the question back.
    QCoro::Task<std::optional<CaptureSource>> sourceForRecording(std::stop_token stop = {});

    /// Ends what the desktop shares or is asked to share. A shared source can be recorded once.
    Q_INVOKABLE void release();

    /// Ends what is under way, and resumes who waits for it, with nothing. Nothing may be asked afterwards.
    void shutDown();

signals:
    void modeChanged();
    void sourceIDChanged();
    void sourceErrorChanged();
    void pointerNoteChanged();
    void rememberedChanged();
    /// The desktop has taken back what it shares.
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
    QImage m_frame; ///< Of the only source, where the desktop chooses.
    std::stop_source m_looking; ///< Ends the look at what is shared.
    std::uint64_t m_listing = 0; ///< Counts what replaces the sources, so that an overtaken listing ends.
    Answer<ScreenCast::Outcome> m_asking; ///< Of the question to the desktop that is open.
    Workers m_workers;
};

} // namespace orvo
