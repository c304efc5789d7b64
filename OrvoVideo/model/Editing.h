#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Playback.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>
#include <filesystem>
#include <optional>

namespace orvo {

/// The edits that the windows offer. Each is one `OpenProject::update`. Main thread only.
///
/// Times are seconds on the recording timeline. Records are addressed by the text form of their identifier, as in the item
/// models. An unknown identifier changes nothing but still creates an undo step.
class Editing : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(orvo::SuggestionModel* suggestedPauses READ suggestedPauses CONSTANT)
    Q_PROPERTY(orvo::SuggestionModel* suggestedFillers READ suggestedFillers CONSTANT)
    Q_PROPERTY(orvo::SuggestionModel* suggestedZooms READ suggestedZooms CONSTANT)
    Q_PROPERTY(orvo::HistoryModel* steps READ steps CONSTANT)
    Q_PROPERTY(QString undoName READ undoName NOTIFY stepsChanged)
    Q_PROPERTY(QString redoName READ redoName NOTIFY stepsChanged)
public:
    /// The collaborators of editing; all outlive this object.
    struct Parts {
        const AppServices& services;
        OpenProject& open;
        Saving& saving;
        Playback& playback;
        Operation& operation;
        Workers& workers;
    };
    explicit Editing(const Parts& parts)
        : m_parts(parts)
    {
        connect(&parts.open, &OpenProject::historyChanged, this, &Editing::stepsChanged);
    }

    /// The suggestions of one kind; `AppModel::suggestions` has all of them.
    SuggestionModel* suggestedPauses() const { return &m_parts.open.suggestions(SuggestionKind::silence); }
    SuggestionModel* suggestedFillers() const { return &m_parts.open.suggestions(SuggestionKind::filler); }
    SuggestionModel* suggestedZooms() const { return &m_parts.open.suggestions(SuggestionKind::zoom); }

    /// The undo and redo steps of the open project.
    HistoryModel* steps() const { return &m_parts.open.steps(); }
    /// The names of the steps that `undo` and `redo` would take; empty without one.
    QString undoName() const { return QString::fromStdString(m_parts.open.undoName()); }
    QString redoName() const { return QString::fromStdString(m_parts.open.redoName()); }
    /// Undoes or redoes up to a row of `steps`; ignored if the row does not exist.
    Q_INVOKABLE void goToStep(int row) { m_parts.open.goToStep(row); }

    Q_INVOKABLE void rename(const QString& title);

    /// Set the start or the end of the selection to the playhead.
    Q_INVOKABLE void startSelectionHere();
    Q_INVOKABLE void endSelectionHere();
    /// Cuts the selection if it is longer than `Edits::minCut`.
    Q_INVOKABLE void cutSelection();
    /// Cuts words, as one step.
    Q_INVOKABLE void cutWords(const QStringList& wordIds);
    Q_INVOKABLE void cutWord(const QString& wordId) { cutWords({wordId}); }
    /// Removes every cut with exactly this start and end.
    Q_INVOKABLE void restoreCut(double start, double end);
    /// Changes the start and end of a cut.
    Q_INVOKABLE void moveCut(double start, double end, double newStart, double newEnd);
    Q_INVOKABLE void correctWord(const QString& wordId, const QString& text);

    /// Adds a text that starts at the playhead.
    Q_INVOKABLE void addText(const QString& text);
    /// Asks for an image, copies it into the project and adds it at the playhead. A failure goes to the error message.
    Q_INVOKABLE void addImage();
    /// As `addImage`, with a given file.
    Q_INVOKABLE void addImageFile(const QUrl& image);
    Q_INVOKABLE void removeOverlay(const QString& overlayId);
    /// Sets some of "start", "end", "x", "y", "width" as one step.
    Q_INVOKABLE void setOverlayValues(const QString& overlayId, const QVariantMap& values);
    Q_INVOKABLE void setOverlayValue(const QString& overlayId, const QString& key, double value)
    {
        setOverlayValues(overlayId, {{key, value}});
    }
    Q_INVOKABLE void setOverlayText(const QString& overlayId, const QString& text);

    /// Adds a zoom point at the playhead, in the centre of the frame.
    Q_INVOKABLE void addZoom();
    Q_INVOKABLE void removeEvent(const QString& eventId);
    /// Sets some of "time", "x", "y", "duration", "scale" as one step.
    Q_INVOKABLE void setEventValues(const QString& eventId, const QVariantMap& values);
    Q_INVOKABLE void setEventValue(const QString& eventId, const QString& key, double value)
    {
        setEventValues(eventId, {{key, value}});
    }

    /// Sets "cameraVisible", "clickHalo", "pointerHighlight", "noiseReduction", "normalizeVoice" or "sharpen".
    Q_INVOKABLE void setFlag(const QString& key, bool value);
    /// Sets some of "cameraX", "cameraY", "cameraWidth", "fade" as one step.
    Q_INVOKABLE void setValues(const QVariantMap& values);
    Q_INVOKABLE void setValue(const QString& key, double value) { setValues({{key, value}}); }
    /// Sets the linear gain of a track. Playback applies it at once.
    Q_INVOKABLE void setVolume(const QString& trackId, double value);

    /// Plays a suggestion as if it had been applied.
    Q_INVOKABLE void tryOut(const QString& suggestionId);
    /// Adds the zoom point of a suggestion or cuts its span, and removes the suggestion.
    void applySuggestion(const EditSuggestion& suggestion);
    Q_INVOKABLE void applySuggestion(const QString& suggestionId);
    /// Applies every offered suggestion of a kind ("silence", "filler", "zoom") as one step.
    Q_INVOKABLE void applySuggestions(const QString& kind);

signals:
    void stepsChanged();

private:
    std::optional<EditSuggestion> suggestionOf(const QString& suggestionId) const;
    QCoro::Task<> pickImage();
    QCoro::Task<> copyImage(std::filesystem::path image);

    const Parts m_parts;
};

} // namespace orvo
