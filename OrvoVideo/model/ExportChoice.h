#pragma once

#include "VideoMedia/ExportService.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// The user's export settings besides the size, rate and quality of `RunSettings`. Stored between runs. Main thread only.
class ExportChoice : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString subtitles READ subtitles WRITE setSubtitles NOTIFY changed)
    Q_PROPERTY(bool burnIn READ burnIn WRITE setBurnIn NOTIFY changed)
    Q_PROPERTY(QString preset READ preset WRITE setPreset NOTIFY changed)
    Q_PROPERTY(QVariantList presets READ presets CONSTANT)

public:
    /// Loads the stored settings.
    explicit ExportChoice(QObject* parent = nullptr);

    /// "words", "phrases" or "none".
    QString subtitles() const;
    /// Ignores any other word.
    void setSubtitles(const QString& subtitles);

    /// Whether the subtitles are also drawn into the frames.
    bool burnIn() const { return m_burnIn; }
    void setBurnIn(bool burnIn);

    /// The identifier of an `ExportPreset`, or empty for the user's own size, rate and quality. The setter ignores unknown
    /// identifiers.
    const QString& preset() const { return m_preset; }
    void setPreset(const QString& preset);
    /// All presets: "id", "name", "note" and "needsSpan".
    static QVariantList presets();

    /// Sets the subtitles in the settings of an export.
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
