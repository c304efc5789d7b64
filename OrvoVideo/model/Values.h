#pragma once

#include "OrvoVideo/capture/CaptureOptions.h"
#include "OrvoVideo/playback/PreviewPlayer.h"
#include "VideoCore/VideoProject.h"
#include "VideoMedia/ExportQuality.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

struct ExportSettings;

/// Lets QML name the type of the model's players.
struct PreviewPlayerForQml {
    Q_GADGET
    QML_FOREIGN(orvo::PreviewPlayer)
    QML_NAMED_ELEMENT(PreviewPlayer)
    QML_UNCREATABLE("Belongs to the model")
};

/// A `TimeSpan` of the recording timeline for QML, which needs a gadget; in seconds, neither ordered nor clamped.
struct Span {
    Q_GADGET
    QML_VALUE_TYPE(span)
    Q_PROPERTY(double start MEMBER start)
    Q_PROPERTY(double end MEMBER end)
    Q_PROPERTY(double duration READ duration)
public:
    double start = 0;
    double end = 0;

    double duration() const { return TimeSpan{start, end}.duration(); }

    friend bool operator==(const Span&, const Span&) = default;
};

/// The settings of the next recording. Exports use the height and frame rate too.
struct RecordingOptions {
    Q_GADGET
    QML_VALUE_TYPE(recordingOptions)
    Q_PROPERTY(int height MEMBER height)
    Q_PROPERTY(int fps MEMBER fps)
    Q_PROPERTY(bool microphone MEMBER microphone)
    Q_PROPERTY(bool systemAudio MEMBER systemAudio)
    Q_PROPERTY(bool camera MEMBER camera)
    Q_PROPERTY(QString microphoneDevice MEMBER microphoneDevice)
    Q_PROPERTY(QString systemAudioDevice MEMBER systemAudioDevice)
    Q_PROPERTY(QString cameraDevice MEMBER cameraDevice)
public:
    int height = 1080; ///< Maximum height in pixels; never scales up.
    int fps = 30; ///< Maximum frames per second.
    bool microphone = true;
    bool systemAudio = true; ///< The audio output of the computer.
    bool camera = false;
    QString microphoneDevice; ///< Identifier of a device; empty for the default.
    QString systemAudioDevice;
    QString cameraDevice;

    CaptureOptions capture() const;

    friend bool operator==(const RecordingOptions&, const RecordingOptions&) = default;
};

/// The settings for recordings and exports of this run.
struct RunSettings {
    RecordingOptions options;
    ExportQuality exportQuality = ExportQuality::balanced;

    ExportSettings exports() const;
};

/// The facts of the open project that the windows show, besides its lists. All empty without an open project.
struct ProjectFacts {
    Q_GADGET
    QML_VALUE_TYPE(projectFacts)
    Q_PROPERTY(QString projectId MEMBER projectId)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString state MEMBER state)
    Q_PROPERTY(QString stateText MEMBER stateText)
    Q_PROPERTY(bool recoverable MEMBER recoverable)
    Q_PROPERTY(QDateTime createdAt MEMBER createdAt)
    Q_PROPERTY(QDateTime updatedAt MEMBER updatedAt)
    Q_PROPERTY(double duration MEMBER duration)
    Q_PROPERTY(double playableDuration MEMBER playableDuration)
    Q_PROPERTY(int width MEMBER width)
    Q_PROPERTY(int height MEMBER height)
    Q_PROPERTY(int fps MEMBER fps)
    Q_PROPERTY(bool hasCamera MEMBER hasCamera)
    Q_PROPERTY(bool published MEMBER published)
    Q_PROPERTY(double cameraX MEMBER cameraX)
    Q_PROPERTY(double cameraY MEMBER cameraY)
    Q_PROPERTY(double cameraWidth MEMBER cameraWidth)
    Q_PROPERTY(bool cameraVisible MEMBER cameraVisible)
    Q_PROPERTY(bool clickHalo MEMBER clickHalo)
    Q_PROPERTY(bool pointerHighlight MEMBER pointerHighlight)
    Q_PROPERTY(bool noiseReduction MEMBER noiseReduction)
    Q_PROPERTY(bool normalizeVoice MEMBER normalizeVoice)
    Q_PROPERTY(bool sharpen MEMBER sharpen)
    Q_PROPERTY(double fade MEMBER fade)
public:
    QString projectId;
    QString title;
    QString state; ///< As in the document.
    QString stateText; ///< In Spanish.
    bool recoverable = false; ///< Whether to offer "Recuperar grabación".
    QDateTime createdAt;
    QDateTime updatedAt;
    double duration = 0; ///< Seconds, before cuts.
    double playableDuration = 0; ///< Seconds, after cuts.
    int width = 0;
    int height = 0;
    int fps = 0;
    bool hasCamera = false;
    bool published = false;
    double cameraX = 0; ///< This and the following: the fields of `EditState`.
    double cameraY = 0;
    double cameraWidth = 0;
    bool cameraVisible = false;
    bool clickHalo = false;
    bool pointerHighlight = false;
    bool noiseReduction = false;
    bool normalizeVoice = false;
    bool sharpen = false;
    double fade = 0;

    /// Takes `playableDuration` of the project as an argument because computing it walks through all cuts.
    static ProjectFacts of(const VideoProject& project, double playableDuration);
};

} // namespace orvo
