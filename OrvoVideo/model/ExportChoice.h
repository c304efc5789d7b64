#pragma once

#include "VideoMedia/ExportService.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// What the user wants of exports, besides the size, rate and quality of `RunSettings`. Remembered between runs. Main
/// thread.
class ExportChoice : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString subtitles READ subtitles WRITE setSubtitles NOTIFY changed)
    Q_PROPERTY(bool burnIn READ burnIn WRITE setBurnIn NOTIFY changed)
    Q_PROPERTY(QString preset READ preset WRITE setPreset NOTIFY changed)
    Q_PROPERTY(QVariantList presets READ presets CONSTANT)

public:
    /// As it was left by the run before.
    explicit ExportChoice(QObject* parent = nullptr);

    /// "words", "phrases" or "none".
    QString subtitles() const;
    /// Ignores any other word.
    void setSubtitles(const QString& subtitles);

    /// Whether they are also part of the frames.
    bool burnIn() const { return m_burnIn; }
    void setBurnIn(bool burnIn);

    /// What the export is for: the identifier of an `ExportPreset`, or empty for the user's own size, rate and quality.
    /// Ignores any other word.
    const QString& preset() const { return m_preset; }
    void setPreset(const QString& preset);
    /// All presets: "id", "name", "note" and "needsSpan".
    static QVariantList presets();

    /// Puts the subtitles into the settings of an export.
    void apply(ExportSettings& settings) const;
    /// The settings for a project; `own` has the user's own size, rate and quality.
    ExportSettings settings(const VideoProject& project, ExportSettings own) const;

signals:
    void changed();

private:
    void store();

    SubtitleCues m_subtitles = SubtitleCues::words;
    bool m_burnIn = false;
    QString m_preset;
};

} // namespace orvo
