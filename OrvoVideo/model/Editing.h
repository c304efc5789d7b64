#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/Playback.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <filesystem>

namespace orvo {

/// The edits that the windows offer; each is one `OpenProject::update`. Main thread only.
///
/// Times are seconds on the recording timeline. Records are addressed by the text form of their identifier, as the item
/// models give it. An unknown identifier changes nothing but still creates an undo step.
class Editing {
public:
    /// What editing works with. All of it outlives this object.
    struct Parts {
        const AppServices& services;
        OpenProject& open;
        Saving& saving;
        const Playback& playback;
        Operation& operation;
        Workers& workers;
    };
    explicit Editing(const Parts& parts)
        : m_parts(parts)
    {
    }

    void rename(const QString& title);

    /// Set the beginning or the end of the selection to the playhead.
    void startSelectionHere();
    void endSelectionHere();
    /// Cuts the selection, unless it is no longer than `Edits::shortestCut`.
    void cutSelection();
    /// Cuts words, as one step.
    void cutWords(const QStringList& wordIds);
    /// Removes every cut with exactly this beginning and end.
    void restoreCut(double start, double end);
    /// Gives a cut another beginning and end.
    void moveCut(double start, double end, double newStart, double newEnd);
    void correctWord(const QString& wordId, const QString& text);

    /// Adds a text shown from the playhead on.
    void addText(const QString& text);
    /// Asks for an image, copies it into the project and shows it from the playhead on. A failure goes to the error message.
    void addImage();
    /// As `addImage`, with a file that is known already.
    void addImageFile(const std::filesystem::path& image);
    void removeOverlay(const QString& overlayId);
    /// Sets some of "start", "end", "x", "y", "width" as one step.
    void setOverlayValues(const QString& overlayId, const QVariantMap& values);
    void setOverlayText(const QString& overlayId, const QString& text);

    /// Adds a zoom point at the playhead, in the centre of the frame.
    void addZoom();
    void removeEvent(const QString& eventId);
    /// Sets some of "time", "x", "y", "duration", "scale" as one step.
    void setEventValues(const QString& eventId, const QVariantMap& values);

    /// Sets "cameraVisible", "clickHalo", "pointerHighlight", "noiseReduction", "normalizeVoice" or "sharpen".
    void setFlag(const QString& key, bool value);
    /// Sets some of "cameraX", "cameraY", "cameraWidth", "fade" as one step.
    void setValues(const QVariantMap& values);
    /// Sets the linear gain of a track. Heard at once.
    void setVolume(const QString& trackId, double value);

    /// Adds the zoom point of a suggestion or cuts its stretch, and drops it.
    void applySuggestion(const EditSuggestion& suggestion);
    void applySuggestion(const QString& suggestionId);
    /// Applies every suggestion of a kind ("silence", "filler", "zoom") that is offered, as one step.
    void applySuggestions(const QString& kind);

private:
    QCoro::Task<> pickImage();
    QCoro::Task<> copyImage(std::filesystem::path image);

    const Parts m_parts;
};

} // namespace orvo
