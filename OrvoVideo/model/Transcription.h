#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/WorkQueue.h"
#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/transcription/SpeechModels.h"
#include "OrvoVideo/transcription/TranscriptionService.h"
#include "VideoCore/WordConfidence.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvo {

/// Recognises the speech of the open project, on this machine. Main thread only.
class Transcription : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY settingsChanged)
    Q_PROPERTY(QString speechModel READ speechModel WRITE setSpeechModel NOTIFY settingsChanged)
    Q_PROPERTY(bool careful READ careful WRITE setCareful NOTIFY settingsChanged)
    Q_PROPERTY(bool asksForModel READ asksForModel WRITE setAsksForModel NOTIFY settingsChanged)
public:
    /// The collaborators of the transcription; all outlive this object.
    struct Parts {
        const AppServices& services;
        OpenProject& open;
        Saving& saving;
        ProjectLibrary& library;
        Operation& operation;
        WorkQueue& queue;
        Workers& workers;
    };
    explicit Transcription(const Parts& parts);

    /// Replaces the transcript by the recognised words, as one undo step, and generates the suggestions again: a job of the
    /// queue. Downloads a missing model. While `asksForModel`, only emits `modelWanted`.
    Q_INVOKABLE void transcribe();
    /// The user's answer to `modelWanted`: stores the model, does not ask again, and transcribes.
    Q_INVOKABLE void transcribeWith(const QString& model);

    /// Downloads a model of the catalogue, as a long operation. Emits `modelReady` on success.
    Q_INVOKABLE void downloadModel(const QString& model);

    /// Language of the speech, "es-ES" or "en-US".
    QString language() const { return m_language; }
    void setLanguage(const QString& language);
    /// The name of a speech model in `SpeechModels`.
    QString speechModel() const { return QString::fromStdString(m_options.model); }
    void setSpeechModel(const QString& model);
    /// The confidence of the recogniser in the words of the open project.
    const WordConfidence& confidence() const { return m_confidence; }

    /// Whether the recogniser takes more time to make fewer errors.
    bool careful() const { return m_options.decoding == SpeechRecognizer::Decoding::careful; }
    void setCareful(bool careful);
    /// Whether to ask the user for a model before the first transcription. False by default.
    bool asksForModel() const { return m_asksForModel; }
    void setAsksForModel(bool asks);

signals:
    /// The user has to choose a model; `transcribeWith` continues.
    void modelWanted();
    void modelReady();
    void settingsChanged();
    void confidenceChanged();

private:
    QCoro::Task<> readConfidence();
    void setConfidence(WordConfidence confidence);
    QCoro::Task<> transcribeProject(VideoProject project, WorkControl control);

    const Parts m_parts;
    QString m_language = QStringLiteral("es-ES");
    bool m_asksForModel = false;
    TranscriptionOptions m_options{.model = std::string(SpeechModels::usual)};
    WordConfidence m_confidence;
};

} // namespace orvo
