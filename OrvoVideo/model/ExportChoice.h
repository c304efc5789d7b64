#pragma once

#include "VideoMedia/ExportService.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// What the user wants of the subtitles of an export. Remembered between runs. Main thread.
class ExportChoice : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString subtitles READ subtitles WRITE setSubtitles NOTIFY changed)
    Q_PROPERTY(bool burnIn READ burnIn WRITE setBurnIn NOTIFY changed)

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

    /// Puts both into the settings of an export.
    void apply(ExportSettings& settings) const;

signals:
    void changed();

private:
    void setAndStore(SubtitleCues subtitles, bool burnIn);

    SubtitleCues m_subtitles = SubtitleCues::words;
    bool m_burnIn = false;
};

} // namespace orvo
